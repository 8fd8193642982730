#include "Platform/Media/FFmpeg/AudioMixer.hpp"
#include "Platform/Media/MovieFixture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>

#include <gmock/gmock.h>

namespace platform::test {
namespace {

constexpr double rate = 48000;

/// A tone burst of 5 ms at each whole multiple of `period` seconds, silence between.
std::function<float(std::size_t)> clicks(double period, double sourceRate = rate) {
    return [period, sourceRate](std::size_t i) {
        const double time = static_cast<double>(i) / sourceRate;
        const double phase = time - period * std::floor(time / period);
        return phase < 0.005 ? static_cast<float>(0.8 * std::cos(2 * std::numbers::pi * 2000 * phase)) : 0.0F;
    };
}

float peak(const std::vector<float>& sound, double from, double to) {
    float highest = 0;
    for (auto i = static_cast<std::size_t>(from * rate); i < static_cast<std::size_t>(to * rate); ++i)
        highest = std::max(highest, std::abs(sound.at(i)));
    return highest;
}

void expectOnsets(const std::vector<float>& sound, const std::vector<double>& expected, double tolerance) {
    const auto found = onsets(sound);
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], tolerance) << i;
}

using SoundTest = MovieTest;

TEST_F(SoundTest, ComesBackWhereItWas) {
    for (const FileType type : {FileType::mpeg4, FileType::quickTimeMovie}) {
        writeSound(file("a.mov"), type, 5 * 48000, clicks(0.5), 2);
        const auto sound = readSound(file("a.mov"), 5);
        EXPECT_EQ(sound.size(), 5U * 48000);
        std::vector<double> expected{0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5};
        // Fragmented files fade in over one frame of the encoder, which swallows a click at their start.
        if (type == FileType::mpeg4) expected.insert(expected.begin(), 0);
        expectOnsets(sound, expected, 0.0005);
        const auto track = media->asset(file("a.mov"))->loadTracks(MediaType::audio).at(0);
        EXPECT_EQ(track.codec, "aac");
        EXPECT_EQ(track.sampleRate, 48000);
        EXPECT_EQ(track.channels, 2);
        EXPECT_NEAR(track.timeRange.start, 0, 0.0001);
        EXPECT_NEAR(track.timeRange.end, 5, 0.022);
    }
}

TEST_F(SoundTest, AMixPlacesCutsAndSumsItsSegments) {
    writeSound(file("clicks.mp4"), FileType::mpeg4, 6 * 48000, clicks(1), 1);
    writeSound(
        file("level.mp4"), FileType::mpeg4, 6 * 48000,
        [](std::size_t i) { return static_cast<float>(0.2 * std::sin(i * 0.05)); }, 2);
    const auto clickAsset = media->asset(file("clicks.mp4")), levelAsset = media->asset(file("level.mp4"));
    const auto clickTrack = clickAsset->loadTracks(MediaType::audio).at(0);
    const auto levelTrack = levelAsset->loadTracks(MediaType::audio).at(0);
    Composition composition;
    auto& first = composition.addMutableTrack(MediaType::audio);
    first.insertTimeRange({1.75, 3.25}, clickAsset, clickTrack, 0.5);  // clicks at 2 and 3: 0.75 and 1.75
    first.insertTimeRange({0.9, 1.5}, clickAsset, clickTrack, 4);      // a click at 1: 4.1
    composition.addMutableTrack(MediaType::audio).insertTimeRange({2, 3}, levelAsset, levelTrack, 2.5);
    EXPECT_EQ(composition.duration(), 4.6);

    std::vector<float> left, right;
    for (const auto both = readMix(composition); const float value : both)
        (left.size() == right.size() ? left : right).push_back(value);
    EXPECT_EQ(left.size(), 220'800U);
    expectOnsets(left, {0.75, 1.75, 4.1}, 0.0005);
    EXPECT_EQ(left, right);  // one channel goes to both sides at full level
    EXPECT_NEAR(peak(left, 0.7, 0.8), 0.8, 0.1);
    EXPECT_EQ(peak(left, 0, 0.49), 0);
    EXPECT_NEAR(peak(left, 2.6, 3.4), 0.2, 0.03);
    EXPECT_EQ(peak(left, 3.51, 3.99), 0);
}

TEST_F(SoundTest, AMixIsClippedAtFullScale) {
    writeSound(file("a.mp4"), FileType::mpeg4, 48000,
               [](std::size_t i) { return static_cast<float>(0.8 * std::sin(i * 0.05)); });
    const auto asset = media->asset(file("a.mp4"));
    Composition composition;
    for (int i = 0; i < 2; ++i)
        composition.addMutableTrack(MediaType::audio)
            .insertTimeRange({0, 1}, asset, asset->loadTracks(MediaType::audio).at(0), 0);
    const auto all = readMix(composition);
    EXPECT_EQ(*std::ranges::max_element(all), 1.0F);
    EXPECT_EQ(*std::ranges::min_element(all), -1.0F);
}

TEST_F(SoundTest, TheMixerGivesTheSameSoundFromAnyPlace) {
    for (const FileType type : {FileType::mpeg4, FileType::quickTimeMovie}) {
        writeSound(file("a.mov"), type, 20 * 48000, clicks(0.25));
        ffmpeg::AudioMixer mixer(composed(file("a.mov"), MediaType::audio, {0.3, 19.7}, 0.1));
        std::vector<float> whole(static_cast<std::size_t>(mixer.frameCount()) * 2);
        for (std::size_t at = 0; at < whole.size(); at += 2048)
            mixer.read(static_cast<std::int64_t>(at / 2),
                       std::span(whole).subspan(at, std::min<std::size_t>(2048, whole.size() - at)));
        for (const std::int64_t place : {900'000L, 0L, 480'123L, 100'000L, 101'000L, 150'000L, 3L}) {
            std::vector<float> part(2 * 9600);
            mixer.read(place, part);
            float worst = 0;
            for (std::size_t i = 0; i < part.size(); ++i)
                worst = std::max(worst, std::abs(part[i] - whole[static_cast<std::size_t>(2 * place) + i]));
            EXPECT_LT(worst, 0.001F) << place;
        }
    }
}

TEST_F(SoundTest, OtherRatesAndChannelCountsAreConverted) {
    if (std::system("command -v ffmpeg > /dev/null") != 0) GTEST_SKIP() << "ffmpeg is not installed";
    // Bursts at 1, 2, 3 s in 44.1 kHz, six channels, mono, uncompressed and late sound.
    const std::string source =
        "ffmpeg -v error -y -f lavfi -i \"aevalsrc='0.8*cos(2*PI*2000*mod(t,1))*lt(mod(t,1),0.005)*gte(t,0.5)"
        ":s=";
    struct Case {
        const char* name;
        const char* rate;
        const char* arguments;
        double shift;
    };
    for (const Case& c :
         {Case{"a.m4a", "44100", "-c:a aac -b:a 192k", 0}, Case{"b.mov", "44100", "-c:a pcm_s16le", 0},
          Case{"c.mov", "96000", "-c:a pcm_f32le -ac 6", 0}, Case{"d.mkv", "48000", "-c:a flac", 0},
          Case{"e.mov", "22050", "-c:a aac -output_ts_offset 0.4", 0.4}}) {
        const std::string made =
            outputOf(source + c.rate + ":d=3.5\" " + c.arguments + " " + file(c.name).string());
        ASSERT_EQ(made, "") << c.name;
        const auto sound = readSound(file(c.name), 3.9);
        const auto found = onsets(sound);
        ASSERT_EQ(found.size(), 3U) << c.name;
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(found[static_cast<std::size_t>(i)], 1 + i + c.shift, 0.001) << c.name;
    }
}

struct Capture {
    double time;
    std::size_t frames;
};

class CapturedSoundTest : public MovieTest {
  protected:
    /// Records runs whose content is a click at every `period` seconds of true time. The one in the first
    /// 21 ms of the file is lost in its fade. What the device tells of each run's time jitters.
    std::vector<float> record(const std::vector<Capture>& runs, const AudioFormat& format,
                              double sessionStart, double length, double period = 1, double jitter = 0) {
        const auto movie = begin(file("mic.mov"), FileType::quickTimeMovie, {},
                                 AudioSettings{48000, 1, 128000, true}, sessionStart);
        for (std::size_t r = 0; r < runs.size(); ++r) {
            const double told = runs[r].time + jitter * std::sin(static_cast<double>(r) * 12.9898);
            appendPatiently(*movie.audio, soundRun(told, runs[r].frames, format, [&](std::size_t i) {
                const double time = runs[r].time + static_cast<double>(i) / trueRate_;
                const double phase = time - period * std::floor(time / period + 1e-9);
                return phase < 0.005 ? static_cast<float>(0.8 * std::cos(2 * std::numbers::pi * 2000 * phase))
                                     : 0.0F;
            }));
        }
        EXPECT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed);
        return readSound(file("mic.mov"), length);
    }
    double trueRate_ = 48000;
};

TEST_F(CapturedSoundTest, GapsOverlapsAndFormatsKeepTheirPlace) {
    struct Case {
        const char* name;
        AudioFormat format;
        double from, to;      // a hole (or with to < from a repetition) in the sound
        double sessionStart;  // the sound begins at 10
        std::vector<double> expected;
    };
    for (const Case& c : {
             Case{"whole", {48000, 1, true}, 12, 12, 10, {1, 2, 3, 4}},
             Case{"integers of 44.1 kHz", {44100, 2, false}, 12, 12, 10, {1, 2, 3, 4}},
             Case{"headset", {16000, 1, false}, 12, 12, 10, {1, 2, 3, 4}},
             Case{"a hole", {48000, 1, true}, 11.5, 13.5, 10, {1, 4}},
             Case{"a repetition", {48000, 1, true}, 12.7, 12.3, 10, {1, 2, 3, 4}},
             Case{"begins before the session", {48000, 1, true}, 12, 12, 10.5, {0.5, 1.5, 2.5, 3.5}},
             Case{"begins after the session", {48000, 1, true}, 12, 12, 9.25, {1.75, 2.75, 3.75, 4.75}},
         }) {
        trueRate_ = c.format.sampleRate;
        std::vector<Capture> runs;
        const auto frames = static_cast<std::size_t>(c.format.sampleRate / 100);
        for (int i = 0; 10 + i * 0.01 < c.from - 1e-9; ++i) runs.push_back({10 + i * 0.01, frames});
        for (int i = 0; c.to + i * 0.01 < 15 - 1e-9; ++i) runs.push_back({c.to + i * 0.01, frames});
        const auto sound = record(runs, c.format, c.sessionStart, 15 - c.sessionStart);
        SCOPED_TRACE(c.name);
        expectOnsets(sound, c.expected, 0.001);
    }
}

TEST_F(CapturedSoundTest, WhatIsNoSoundCostsOnlyItself) {
    using Limits = std::numeric_limits<float>;
    for (const float wrong : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 1e30F}) {
        SCOPED_TRACE(wrong);
        const auto movie =
            begin(file("mic.mov"), FileType::quickTimeMovie, {}, AudioSettings{48000, 1, 128000, true});
        const auto click = clicks(1);
        for (std::size_t run = 0; run < 300; ++run)
            appendPatiently(*movie.audio, soundRun(static_cast<double>(run) / 100, 480, {48000, 1, true},
                                                   [&](std::size_t i) {
                                                       return run == 150 ? wrong : click(run * 480 + i);
                                                   }));
        ASSERT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed);
        expectOnsets(readSound(file("mic.mov"), 1.4), {1}, 0.001);
        const auto whole = readSound(file("mic.mov"), 3);
        EXPECT_GT(peak(whole, 2, 2.01), 0.5F);
        EXPECT_LT(peak(whole, 1.6, 1.9), 0.1F);
    }
}

TEST_F(CapturedSoundTest, WhatEndsALongSilenceIsKept) {
    // Nothing is captured while nothing plays. What then begins arrives in real time, while the encoder still
    // has the silence before it to get through: none of it may be refused.
    constexpr double silence = 300;
    const auto movie =
        begin(file("system.mov"), FileType::quickTimeMovie, {}, AudioSettings{48000, 2, 128000, true});
    const auto tone = [](std::size_t) { return 0.25F; };
    ASSERT_TRUE(movie.audio->append(soundRun(0, 480, {48000, 2, true}, tone)));
    int refused = 0;
    for (int i = 0; i < 1000; ++i)
        refused += !movie.audio->append(soundRun(silence + i * 0.01, 480, {48000, 2, true}, tone));
    EXPECT_EQ(refused, 0);
    movie.writer->cancelWriting();
}

TEST_F(CapturedSoundTest, AClockThatRunsFastIsFollowedForTenMinutes) {
    // The microphone makes 48004.8 frames a second of the host's clock; its runs' times jitter by 3 ms.
    for (const double ppm : {100.0, -100.0}) {
        trueRate_ = 48000 * (1 + ppm * 1e-6);
        std::vector<Capture> runs;
        constexpr std::size_t run = 4800;
        constexpr double length = 599;
        for (std::size_t i = 0; static_cast<double>(i * run) / trueRate_ < length; ++i)
            runs.push_back({static_cast<double>(i * run) / trueRate_, run});
        const auto found = onsets(record(runs, {48000, 1, true}, 0, length, 60, 0.003));
        ASSERT_EQ(found.size(), 9U);
        double worst = 0;
        for (std::size_t i = 0; i < found.size(); ++i)
            worst = std::max(worst, std::abs(found[i] - 60.0 * static_cast<double>(i + 1)));
        EXPECT_LT(worst, 0.005);
        std::printf("a clock %+.0f ppm off: worst %.2f ms\n", ppm, worst * 1e3);
    }
}

TEST_F(SoundTest, DamagedSoundBecomesSilence) {
    writeSound(file("a.mp4"), FileType::mpeg4, 4 * 48000, clicks(0.5));
    std::filesystem::resize_file(file("a.mp4"), std::filesystem::file_size(file("a.mp4")) / 2);
    const auto sound = readSound(file("a.mp4"), 4);
    EXPECT_EQ(sound.size(), 4U * 48000);
    EXPECT_GE(onsets(sound).size(), 2U);
    EXPECT_LE(onsets(sound).size(), 6U);
}

TEST_F(SoundTest, AMixOfAMissingFileDoesNotStart) {
    writeSound(file("a.mp4"), FileType::mpeg4, 4800, clicks(0.5));
    const auto composition = composed(file("a.mp4"), MediaType::audio, {0, 0.1});
    std::filesystem::remove(file("a.mp4"));
    const auto reader = media->makeAudioMixReader(composition);
    EXPECT_FALSE(reader->startReading());
    EXPECT_EQ(reader->status(), AssetReader::Status::failed);
    EXPECT_THAT(reader->error()->description(), testing::HasSubstr("a.mp4"));
    EXPECT_FALSE(reader->copyNextSampleBuffer());
}

TEST(CompositionOfTracksTest, RefusesSpansThatMakeNoSense) {
    AssetTrack sound, picture;
    sound.type = MediaType::audio;
    const struct {
        TimeRange source;
        AssetTrack track;
        double at;
    } cases[] = {{{1, 1}, sound, 0},
                 {{2, 1}, sound, 0},
                 {{-1, 1}, sound, 0},
                 {{0, 1}, sound, -0.1},
                 {{0, 1}, picture, 0}};
    Composition composition;
    auto& track = composition.addMutableTrack(MediaType::audio);
    for (const auto& c : cases)
        EXPECT_THROW(track.insertTimeRange(c.source, nullptr, c.track, c.at), PlatformError);
    EXPECT_EQ(composition.duration(), 0);
}

}  // namespace
}  // namespace platform::test
