#include "CobaltreelCore/SessionDocuments.hpp"

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

SessionMeta fullMeta() {
    SessionMeta meta = SessionMeta::makeDefault();
    meta.mode = CaptureMode::window;
    meta.displayID = 4294967295;
    meta.displayFramePoints = {-1440.5, 0, 1440, 900};
    meta.mainScreenHeightPoints = 1080;
    meta.windowID = 4294967294;
    meta.screenFirstPTS = 12345.678901234567;
    meta.cameraFirstPTS = 0.1;
    meta.recordingEndHostTime = 1e22;
    meta.cameraCorner = CameraCorner::topRight;
    meta.cameraStyle = CameraStyle::cutout;
    return meta;
}

constexpr std::string_view fullMetaJson = R"({
  "autoZoomEnabled": true,
  "bubbleSizeFraction": 0.24,
  "cameraCorner": "topRight",
  "cameraEnabled": true,
  "cameraFirstPTS": 0.1,
  "cameraStyle": "cutout",
  "captureHeightPx": 1080,
  "captureWidthPx": 1920,
  "displayFramePoints": {
    "h": 900,
    "w": 1440,
    "x": -1440.5,
    "y": 0
  },
  "displayID": 4294967295,
  "mainScreenHeightPoints": 1080,
  "mode": "window",
  "recordingEndHostTime": 1e+22,
  "scaleFactor": 2,
  "screenFirstPTS": 12345.678901234567,
  "systemAudioEnabled": false,
  "version": 1,
  "windowID": 4294967294
}
)";

/// The full document with one piece of its text replaced.
std::string edited(std::string_view piece, std::string_view by) {
    std::string json(fullMetaJson);
    const auto at = json.find(piece);
    EXPECT_NE(at, std::string::npos) << piece;
    return json.replace(at, piece.size(), by);
}

/// The key that decoding complains about; "read" when it does not.
template <typename Decode>
std::string faultyKey(Decode decode, std::string_view json) {
    try {
        decode(json);
    } catch (const DocumentError& error) {
        EXPECT_THAT(error.what(), HasSubstr(error.key()));
        return error.key();
    }
    return "read";
}

TEST(SessionMetaDocumentTest, IsThisByteForByte) {
    EXPECT_EQ(SessionDocuments::encode(fullMeta()), fullMetaJson);
    EXPECT_EQ(SessionDocuments::decodeSessionMeta(fullMetaJson), fullMeta());
}

TEST(SessionMetaDocumentTest, LeavesAbsentFieldsOut) {
    const SessionMeta meta = SessionMeta::makeDefault();
    const std::string json = SessionDocuments::encode(meta);
    for (const auto key : {"PTS", "recordingEndHostTime", "mainScreenHeightPoints", "cameraStyle", "null"})
        EXPECT_THAT(json, Not(HasSubstr(key)));
    const auto read = SessionDocuments::decodeSessionMeta(json);
    EXPECT_EQ(read, meta);
    EXPECT_EQ(read.resolvedCameraStyle(), CameraStyle::bubble);
}

TEST(SessionMetaDocumentTest, AcceptsWhatALaterOrAnotherWriterMayWrite) {
    SessionMeta withoutStyle = fullMeta();
    withoutStyle.cameraStyle.reset();
    SessionMeta withoutPTS = fullMeta();
    withoutPTS.screenFirstPTS.reset();
    SessionMeta fractional = fullMeta();
    fractional.scaleFactor = 2.0;
    const struct {
        std::string json;
        SessionMeta expected;
    } cases[]{
        {edited("  \"cameraStyle\": \"cutout\",\n", ""), withoutStyle},
        {edited("\"cutout\"", "null"), withoutStyle},
        {edited("12345.678901234567", "null"), withoutPTS},
        {edited("\"scaleFactor\": 2", "\"scaleFactor\": 2.0e0"), fractional},
        {edited("\"version\"", "\"later\": [[{\"x\": [1e5]}], \"\\ud83d\\ude00\"], \"version\""), fullMeta()},
        {edited("\"h\": 900", "\"depth\": {\"h\": 1}, \"h\": 900"), fullMeta()},
        {edited("\"autoZoomEnabled\"", "\"null\": null, \"autoZoomEnabled\""), fullMeta()},
        {"\xEF\xBB\xBF \n" + std::string(fullMetaJson), fullMeta()},
    };
    for (const auto& c : cases) EXPECT_EQ(SessionDocuments::decodeSessionMeta(c.json), c.expected) << c.json;
}

TEST(SessionMetaDocumentTest, NamesTheKeyItCannotRead) {
    const struct {
        std::string_view piece, by, key;
    } cases[]{
        {"  \"cameraCorner\": \"topRight\",\n", "", "cameraCorner"},
        {"    \"x\": -1440.5,\n", "", "displayFramePoints.x"},
        {"\"window\"", "\"Window\"", "mode"},
        {"\"window\"", "null", "mode"},
        {"\"cutout\"", "\"\"", "cameraStyle"},
        {"\"displayID\": 4294967295", "\"displayID\": 4294967296", "displayID"},
        {"\"displayID\": 4294967295", "\"displayID\": -1", "displayID"},
        {"\"version\": 1", "\"version\": 1.0", "version"},
        {"\"version\": 1", "\"version\": 9223372036854775808", "version"},
        {"\"version\": 1", "\"version\": \"1\"", "version"},
        {"\"version\": 1", "\"version\": 1, \"version\": 1", "version"},
        {"\"scaleFactor\": 2", "\"scaleFactor\": \"2\"", "scaleFactor"},
        {"\"scaleFactor\": 2", "\"scaleFactor\": [2]", "scaleFactor"},
        {"\"scaleFactor\": 2", "\"scaleFactor\": 1e999", "scaleFactor"},
        {"\"scaleFactor\": 2", "\"scaleFactor\": NaN", "scaleFactor"},
        {"12345.678901234567", "{\"t\": 1}", "screenFirstPTS"},
        {"\"systemAudioEnabled\": false", "\"systemAudioEnabled\": 0", "systemAudioEnabled"},
        {"{\n    \"h\": 900,\n    \"w\": 1440,\n    \"x\": -1440.5,\n    \"y\": 0\n  }", "[0, 0, 1440, 900]",
         "displayFramePoints"},
        {"{\n    \"h\": 900,\n    \"w\": 1440,\n    \"x\": -1440.5,\n    \"y\": 0\n  }", "null",
         "displayFramePoints"},
        {"\"windowID\": 4294967294\n}", "\"windowID\": 42", "windowID"},
        {"\"windowID\": 4294967294\n}", "\"windowID\": 42} 7", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(faultyKey(SessionDocuments::decodeSessionMeta, edited(c.piece, c.by)), c.key)
            << c.piece << " -> " << c.by;
}

TEST(EventLogDocumentTest, IsCompact) {
    EventLog log;
    log.windowFrames = {{1, 2, 3, 4, 5.5}};
    EXPECT_EQ(SessionDocuments::encode(log),
              R"({"samples":[],"version":1,"windowFrames":[{"h":5.5,"t":1,"w":4,"x":2,"y":3}]})");
    EXPECT_EQ(SessionDocuments::encode(EventLog{}), R"({"samples":[],"version":1,"windowFrames":[]})");
}

TEST(EventLogDocumentTest, KeepsEveryBitOfEveryNumber) {
    std::mt19937_64 random(7);
    const auto anyDouble = [&] {
        double value;
        do value = std::bit_cast<double>(random());
        while (!std::isfinite(value));
        return value;
    };
    EventLog log;
    log.version = std::numeric_limits<std::int64_t>::min();
    log.samples = {{-0.0, 5e-324, 1.7976931348623157e308, std::numeric_limits<std::int64_t>::max()},
                   {9007199254740993.0, 18446744073709551616.0, -9223372036854775808.0, -1}};
    for (int i = 0; i < 5000; ++i) {
        log.samples.push_back({anyDouble(), anyDouble(), std::floor(std::ldexp(1.0, i % 70)),
                               static_cast<std::int64_t>(random())});
        log.windowFrames.push_back({anyDouble(), anyDouble(), anyDouble(), anyDouble(), i / 60.0});
    }
    const EventLog read = SessionDocuments::decodeEventLog(SessionDocuments::encode(log));
    EXPECT_EQ(read, log);
    EXPECT_TRUE(std::signbit(read.samples[0].t));
}

TEST(EventLogDocumentTest, KeepsMarkersAndReadsDocumentsWithoutAny) {
    EventLog log;
    log.markers = {{1.5, ""}, {2, "שלום \"x\" \\ \n\x01 🎬"}};
    const std::string json = SessionDocuments::encode(log);
    EXPECT_THAT(json, HasSubstr(R"({"markers":[{"t":1.5,"text":""},)"));
    EXPECT_EQ(SessionDocuments::decodeEventLog(json), log);
    EXPECT_TRUE(
        SessionDocuments::decodeEventLog(R"({"samples":[],"version":1,"windowFrames":[]})").markers.empty());
    log.markers = {{1, "\xff cut \xd7"}};
    EXPECT_THAT(SessionDocuments::decodeEventLog(SessionDocuments::encode(log)).markers[0].text,
                HasSubstr(" cut "))
        << "what is no UTF-8 costs no document";
}

TEST(EventLogDocumentTest, NamesTheElementItCannotRead) {
    const struct {
        std::string_view json, key;
    } cases[]{
        {R"({"samples":[{"t":1,"x":0,"y":0,"buttons":0},{"x":0,"y":0,"buttons":0}],"version":1,"windowFrames":[]})",
         "samples[1].t"},
        {R"({"samples":[{"t":1,"x":0,"y":0,"buttons":0.5}],"version":1,"windowFrames":[]})",
         "samples[0].buttons"},
        {R"({"samples":[{"t":1,"x":0,"y":0,"buttons":0},7],"version":1,"windowFrames":[]})", "samples[1]"},
        {R"({"samples":{},"version":1,"windowFrames":[]})", "samples"},
        {R"({"samples":[],"version":1,"windowFrames":null})", "windowFrames"},
        {R"({"samples":[],"samples":[],"version":1,"windowFrames":[]})", "samples"},
        {R"({"samples":[],"version":1})", "windowFrames"},
        {R"({"windowFrames":[{"t":1,"x":2,"y":3,"w":4,"h":5},{"t":1,"x":2,"y":3,"w":1e400,"h":5}]})",
         "windowFrames[1].w"},
        {R"({"markers":[{"t":1,"text":""},{"t":1,"text":7}]})", "markers[1].text"},
        {R"({"markers":[{"text":""}]})", "markers[0].t"},
        {R"({"samples":[{"t":1,"x":2)", "samples[0].x"},
        {"", ""},
        {"null", ""},
        {"[]", ""},
        {"{\"samples\"\xff:", "samples"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(faultyKey(SessionDocuments::decodeEventLog, c.json), c.key) << c.json;
}

TEST(EventLogDocumentTest, DeepNestingIsRefusedWhereverItStands) {
    const std::string brackets(1'000'000, '[');
    std::string objects;
    for (int i = 0; i < 1'000'000; ++i) objects += "{\"a\":";
    for (const std::string& deep : {brackets, objects})
        for (const std::string& json : {deep, "{\"samples\":" + deep, "{\"unknown\":" + deep})
            EXPECT_THROW(SessionDocuments::decodeEventLog(json), DocumentError) << json.substr(0, 20);
}

}  // namespace
}  // namespace cobaltreel
