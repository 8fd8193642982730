// The executable as a person at a terminal meets it, on a virtual desktop with a scene.
#include "Cobaltreel/CommandLine/Program.hpp"
#include "Rig/HostTime.hpp"

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

fs::path programs() { return std::getenv("COBALTREEL_RIG_PROGRAMS"); }
fs::path sessionsRoot() { return fs::path(std::getenv("XDG_DATA_HOME")) / "Cobaltreel" / "sessions"; }

class CommandLineTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        scene = startScene();
        // One take that several tests look at: three seconds, two clicks.
        Program recording(cobaltreel({"record", "--duration", "3.5", "--auto-zoom"}));
        ASSERT_TRUE(recording.readUntil([](const auto&) { return isRecording(); }));
        for (Click& click : clicks) {
            Program({"xdotool", "sleep", "0.5", "mousemove", click.x, click.y}).finish();
            click.time = rig::hostTime();
            Program({"xdotool", "mousedown", "1", "sleep", "0.08", "mouseup", "1"}).finish();
        }
        const auto result = recording.finish();
        ASSERT_EQ(result.status, 0) << result.err;
        session = firstLine(result.out);
    }
    static void TearDownTestSuite() { scene.reset(); }

    static std::unique_ptr<Program> startScene() {
        auto started = std::make_unique<Program>(std::vector{(programs() / "RigScene").string()});
        EXPECT_TRUE(
            started->readUntil([](const auto& said) { return said.out.find("ready") != std::string::npos; }));
        return started;
    }
    static json document(const fs::path& folder, const char* name) {
        return json::parse(std::ifstream(folder / name));
    }
    static std::set<fs::path> sessions() {
        return {fs::directory_iterator(sessionsRoot()), fs::directory_iterator()};
    }
    /// Whether some recording is under way whose screen has been seen.
    static bool isRecording() {
        return fs::exists(sessionsRoot()) && std::ranges::any_of(sessions(), [](const fs::path& folder) {
                   std::error_code error;
                   const bool isOpen = !fs::exists(folder / "events.json");
                   return isOpen && fs::file_size(folder / "screen.mov", error) > 2000 && !error;
               });
    }

    static fs::path videos() { return fs::path(std::getenv("COBALTREEL_RIG_VIDEOS")) / "Cobaltreel"; }
    /// A session folder of its own that shares the good take's movie.
    static fs::path copyOfSession(const std::string& name) {
        const fs::path copy = sessionsRoot() / name;
        fs::remove_all(copy);
        fs::create_directories(copy);
        for (const char* file : {"session.json", "events.json"})
            fs::copy_file(fs::path(session) / file, copy / file);
        fs::create_hard_link(fs::path(session) / "screen.mov", copy / "screen.mov");
        return copy;
    }

    /// Whether the countdown lies over the whole screen.
    static bool overlayIsUp() {
        const auto tree = Program({"xwininfo", "-root", "-tree"}).finish().out;
        return tree.find("cobaltreel") != std::string::npos && tree.find("1280x720+0+0") != std::string::npos;
    }

    static inline std::unique_ptr<Program> scene;
    struct Click {
        std::string x, y;
        double time;  // host time, a moment before
    };
    static inline std::array<Click, 2> clicks{{{"200", "300", 0}, {"900", "500", 0}}};
    static inline std::string session;
};

TEST_F(CommandLineTest, ARecordingHoldsWhatHappened) {
    const json meta = document(session, "session.json"), events = document(session, "events.json");
    EXPECT_EQ(meta["mode"], "display");
    EXPECT_EQ(meta["captureWidthPx"], 1280);
    EXPECT_EQ(meta["captureHeightPx"], 720);
    EXPECT_EQ(meta["mainScreenHeightPoints"], 720);
    EXPECT_TRUE(meta["autoZoomEnabled"]);
    EXPECT_FALSE(meta["cameraEnabled"]);
    // The end is noted when the movie is complete, which takes a busy encoder a while.
    EXPECT_GE(meta["recordingEndHostTime"].get<double>() - meta["screenFirstPTS"].get<double>(), 3.4);
    EXPECT_GT(events["samples"].size(), 60U);
    EXPECT_TRUE(events["windowFrames"].empty());
    EXPECT_FALSE(fs::exists(fs::path(session) / "camera.mov")) << "there is neither camera nor microphone";

    // The clicks found in the log are those that the pointer made, at their times.
    const auto plan = json::parse(run({"inspect", session, "--json", "--at", "-0.3", "--at", "1.5"}).out);
    ASSERT_EQ(plan["clicks"].size(), clicks.size()) << plan.dump(2);
    for (std::size_t i = 0; i < clicks.size(); ++i) {
        const json& click = plan["clicks"][i];
        // A slow moment may lie between the press and its sample.
        EXPECT_NEAR(click["t"].get<double>(), clicks[i].time - meta["screenFirstPTS"].get<double>(), 0.5);
        EXPECT_NEAR(click["px"].get<double>(), std::stod(clicks[i].x), 0.01);
        EXPECT_NEAR(click["py"].get<double>(), std::stod(clicks[i].y), 0.01);
    }
    EXPECT_EQ(plan["meta"], meta);
    EXPECT_EQ(plan["output"]["width"], 1280);
    EXPECT_EQ(plan["output"]["fps"], 30);
    EXPECT_EQ(plan["output"]["frames"], std::floor(plan["output"]["duration"].get<double>() * 30));
    EXPECT_EQ(plan["moves"][0]["from"]["zoom"], 1);
    EXPECT_EQ(plan["moves"][0]["to"]["zoom"], 2);
    EXPECT_EQ(plan["states"][0]["crop"], (json{{"x", 0}, {"y", 0}, {"w", 1280}, {"h", 720}}));
    EXPECT_EQ(plan["states"].size(), 2U);
}

TEST_F(CommandLineTest, SourcesSessionsAndDoctorDescribeTheMachine) {
    const auto sources = json::parse(run({"sources", "--json"}).out);
    ASSERT_EQ(sources["displays"].size(), 1U);
    EXPECT_EQ(sources["displays"][0]["frame"]["w"], 1280);
    EXPECT_GE(sources["windows"].size(), 2U);
    EXPECT_TRUE(sources.contains("cameras") && sources.contains("microphones"));

    copyOfSession("broken");
    std::ofstream(sessionsRoot() / "broken" / "session.json") << "{";
    const auto sessions = json::parse(run({"sessions", "--json"}).out)["sessions"];
    std::map<std::string, std::string> states;
    for (const auto& row : sessions) states[row["name"]] = row["state"];
    EXPECT_EQ(states[fs::path(session).filename()], "complete");
    EXPECT_EQ(states["broken"], "unreadable");

    const auto doctor = run({"doctor", "--json"});
    const auto services = json::parse(doctor.out)["services"];
    const bool allThere =
        std::ranges::all_of(services, [](const json& row) { return row["available"].get<bool>(); });
    EXPECT_EQ(doctor.status, allThere ? 0 : 1);
    for (const auto& row : services) EXPECT_TRUE(row["service"] != "screen capture" || row["available"]);
}

TEST_F(CommandLineTest, MarkersOfARunningRecordingBecomeChapters) {
    EXPECT_EQ(run({"status"}).status, 4);
    EXPECT_THAT(run({"mark", "too early"}).err, HasSubstr("nothing is being recorded"));
    Program recording(cobaltreel({"record"}));
    ASSERT_TRUE(recording.readUntil([](const auto&) { return run({"status"}).status == 0; }));
    EXPECT_EQ(run({"mark", "first", "step"}).out, "marker 1: first step\n");
    // Once the screen surely has been seen, and as far from the first as another chapter has to be.
    ASSERT_TRUE(recording.readUntil([](const auto&) {
        return json::parse(run({"status", "--json"}).out)["elapsed"].get<double>() >= 2;
    }));
    EXPECT_EQ(run({"mark", "ארוך" + std::string(10'000, 'x')}).status, 0);
    const auto status = json::parse(run({"status", "--json"}).out);
    EXPECT_EQ(status["state"], "recording");
    EXPECT_EQ(status["markers"], 2);
    recording.signal(SIGINT);
    const auto result = recording.finish();
    EXPECT_EQ(result.status, 0) << result.err;
    const std::string movie = firstLine(run({"export", firstLine(result.out), "--name", "chapters"}).out);
    const auto probed = json::parse(
        Program({"ffprobe", "-v", "error", "-show_chapters", "-of", "json", movie}).finish().out)["chapters"];
    ASSERT_GE(probed.size(), 2U) << probed;
    EXPECT_EQ(probed[probed.size() - 1]["tags"]["title"].get<std::string>().substr(0, 8), "ארוך");
    EXPECT_EQ(probed[0]["start"], 0);
}

TEST_F(CommandLineTest, ExportsWithTheOptionsThatWereAsked) {
    const struct {
        std::vector<std::string> options;
        const char* file;
        const char* begin;
        const char* probed;
        const char* says = "";
    } cases[]{
        {{"--format", "gif", "--name", "short"},
         "short.gif",
         "GIF89a",
         "gif,1280,720,"},  // its rate is guessed from what moves
        {{"--output", "wide.webm", "--size", "640p", "--fps", "10"},
         "wide.webm",
         "\x1A\x45\xDF\xA3",
         "vp9,1138,640,10/1\n"},
        {{"--size", "640x640", "--fps", "24", "--name", "הדרכה"},
         "הדרכה.mp4",
         "",
         "h264,640,360,24/1\n",
         "cobaltreel: the movie is 640x360, which has the shape of the recording\n"},
        {{"--quality", "p720", "--name", "הדרכה"}, "הדרכה-2.mp4", "", "h264,1280,720,30/1\n"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> words{"export", session, "--trim-end", "1", "--zoom-timing", "anticipating"};
        for (const auto& word : c.options)
            words.push_back(word == "wide.webm" ? (videos() / word).string() : word);
        const auto result = run(words);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(firstLine(result.out), (videos() / c.file).string());
        EXPECT_EQ(result.err, c.says) << "no progress bar where there is no terminal";
        std::ifstream stream(videos() / c.file, std::ios::binary);
        std::string head(std::char_traits<char>::length(c.begin), '\0');
        stream.read(head.data(), static_cast<std::streamsize>(head.size()));
        EXPECT_EQ(head, c.begin);
        Program probe({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                       "stream=codec_name,width,height,r_frame_rate", "-of", "csv=p=0",
                       (videos() / c.file).string()});
        EXPECT_THAT(probe.finish().out, ::testing::StartsWith(c.probed));
    }
}

TEST_F(CommandLineTest, BadInputIsRefusedWithTheRemedy) {
    const fs::path empty = copyOfSession("empty"), hostile = copyOfSession("hostile"),
                   noMovie = copyOfSession("nomovie");
    std::ofstream(empty / "session.json").close();
    auto meta = document(hostile, "session.json");
    meta["captureWidthPx"] = -4;
    std::ofstream(hostile / "session.json") << meta;
    fs::remove(noMovie / "screen.mov");
    const fs::path linked = videos() / "linked.mp4";
    fs::create_symlink(fs::path(session) / "screen.mov", linked);

    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* says;
    };
    const Case cases[]{
        {{"recrod"}, 2, "recrod"},
        {{"record", "--duration", "nan"}, 2, "--duration"},
        {{"record", "--duration", "-1"}, 2, "--duration"},
        {{"record", "--display", "99"}, 1, "no display 99"},
        {{"record", "--window", "4242"}, 1, "no window 4242"},
        {{"record", "--display", "1", "--window", "2"}, 2, "excludes"},
        {{"record", "--corner", "middle"}, 2, "--corner"},
        {{"inspect", "no-such-session"}, 1, "no-such-session"},
        {{"inspect", empty.string()}, 1, "session.json"},
        {{"inspect", hostile.string()}, 1, "captureWidthPx"},
        {{"inspect", session, "--at", "inf"}, 2, "--at"},
        {{"export", noMovie.string()}, 1, "screen.mov"},
        {{"export", session, "--trim-start", "2", "--trim-end", "1"}, 2, "--trim-start 2"},
        {{"export", session, "--trim-start", "-1"}, 2, "before the beginning"},
        {{"export", session, "--trim-end", "99"}, 2, "after the end"},
        {{"export", session, "--trim-start", "nan"}, 2, "not a number"},
        {{"export", session, "--quality", "p4320"}, 2, "--quality: p4320 is none of full, p1080, p720;"},
        {{"export", session, "--output", "movie.avi"}, 2, "must end in .mp4"},
        {{"export", session, "--format", "avi"}, 2, "avi is none of gif, mp4, webm"},
        {{"export", session, "--format", "gif", "--output", "a.mp4"}, 2, "does not fit --format gif"},
        {{"export", session, "--format", "webm", "--output", "a"}, 2, "must end in .webm"},
        {{"export", session, "--format", "gif", "--fps", "60"}, 2, "at most 50"},
        {{"export", session, "--format", "gif", "--size", "4320p", "--fps", "50"}, 1, "repeat with --force"},
        {{"export", session, "--output", "/no/such/folder/out.gif"}, 1, "/no/such/folder"},
        {{"export", session, "--zoom-timing", "early"}, 2, "early is none of anticipating, on-click"},
        {{"export", session, "--fps", "0"}, 2, "--fps"},
        {{"export", session, "--fps", "29.97"}, 2, "--fps"},
        {{"export", session, "--size", "1281x720"}, 2, "1281x720 has an odd side"},
        {{"export", session, "--size", "0x0"}, 2, "too small"},
        {{"export", session, "--size", "100000x100000"}, 2, "too large"},
        {{"export", session, "--size", "99999999999999999999p"}, 2, "is no size"},
        {{"export", session, "--size", "720p", "--quality", "full"}, 2, "excludes"},
        {{"export", session, "--output", "/"}, 2, "folder"},
        {{"export", session, "--output", session + "/session.json/out.mp4"}, 1, "out.mp4"},
        {{"export", session, "--output", (fs::path(session) / "screen.mov").string()}, 2, "own folder"},
        {{"export", session, "--output", "/dev/null"}, 2, "not a file"},
        {{"export", session, "--output", (fs::path(noMovie) / "camera.mov").string()}, 2, "of a session"},
        {{"export", session, "--output", linked.string()}, 2, "own folder"},
        {{"export", session, "--output", "/no/such/folder/out.mp4"}, 1, "no folder /no/such/folder"},
        {{"export", session, "--name", "a", "--output", "b"}, 2, "excludes"},
    };
    for (const Case& c : cases) {
        const auto result = run(c.arguments);
        std::string shown;
        for (const auto& word : c.arguments) shown += word + " ";
        EXPECT_EQ(result.status, c.status) << shown << result.err;
        EXPECT_THAT(result.err, HasSubstr(c.says)) << shown;
        EXPECT_THAT(result.out, IsEmpty()) << shown;
    }
}

TEST_F(CommandLineTest, WhereTooFewFilesMayBeOpenItSaysSoAtOnce) {
    const std::string program = COBALTREEL_PROGRAM;
    for (const std::string limit : {"24", "48"})
        for (const std::string& command :
             std::vector<std::string>{"", " record --duration 1", " export " + session, " doctor"}) {
            const auto result =
                Program({"sh", "-c", "ulimit -n " + limit + "; exec " + program + command}).finish();
            EXPECT_EQ(result.status, 1) << limit << command;
            EXPECT_THAT(result.err, HasSubstr("Only " + limit + " files")) << command;
        }
    // What the process may raise itself, it does.
    EXPECT_EQ(
        Program({"sh", "-c", "ulimit -S -n 48; exec " + program + " inspect " + session}).finish().status, 0);
}

TEST_F(CommandLineTest, WithoutADisplayRecordingSaysSoAndExportingWorks) {
    for (const auto& arguments : {std::vector<std::string>{"record", "--duration", "1"}, {"sources"}, {}}) {
        const auto result = Program(cobaltreel(arguments), {"DISPLAY"}).finish();
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("DISPLAY"));
    }
    const std::string output = (videos() / "headless.mp4").string();
    const auto exported =
        Program(cobaltreel({"export", session, "--trim-end", "0.3", "--output", output}), {"DISPLAY"})
            .finish();
    EXPECT_EQ(exported.status, 0) << exported.err;
}

TEST_F(CommandLineTest, CtrlCEndsARecordingAndKeepsIt) {
    const auto before = sessions();
    Program counting(cobaltreel({"record", "--countdown"}));
    ASSERT_TRUE(counting.readUntil([](const auto&) { return overlayIsUp(); }));
    counting.signal(SIGINT);
    const auto stopped = counting.finish();
    EXPECT_EQ(stopped.status, 130) << stopped.err;
    EXPECT_THAT(stopped.err, HasSubstr("before the recording began"));
    EXPECT_EQ(sessions(), before) << "nothing is left of a recording that did not begin";

    Program recording(cobaltreel({"record"}));
    ASSERT_TRUE(recording.readUntil([](const auto&) { return isRecording(); }));
    recording.signal(SIGINT);
    recording.signal(SIGINT);
    const auto result = recording.finish();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(document(firstLine(result.out), "session.json").contains("recordingEndHostTime"));
}

TEST_F(CommandLineTest, WithoutACommandTheApplicationRunsOnceAndFinishesItsRecordingWhenAskedToEnd) {
    const auto isPanelShown = [](const auto&) {
        return !Program({"xdotool", "search", "--onlyvisible", "--name", "^Cobaltreel$"})
                    .finish()
                    .out.empty();
    };
    // What earlier tests left would be offered in an alert.
    fs::rename(sessionsRoot(), sessionsRoot().string() + "-aside");
    fs::create_directories(sessionsRoot());
    Program application(cobaltreel({}));
    ASSERT_TRUE(application.readUntil(isPanelShown)) << "without a tray the panel is a window";
    EXPECT_EQ(run({}).status, 0) << "a second start shows the panel of the first";

    Program({"xdotool", "key", "alt+super+2"}).finish();
    ASSERT_TRUE(application.readUntil([](const auto&) { return isRecording(); }));
    application.signal(SIGTERM);
    application.signal(SIGTERM);
    EXPECT_EQ(application.finish().status, 0);
    ASSERT_EQ(sessions().size(), 1U);
    EXPECT_TRUE(document(*sessions().begin(), "session.json").contains("recordingEndHostTime"));
    EXPECT_TRUE(fs::exists(*sessions().begin() / "events.json"));
    fs::remove_all(sessionsRoot());
    fs::rename(sessionsRoot().string() + "-aside", sessionsRoot());
}

TEST_F(CommandLineTest, CtrlCCancelsAnExportAndRemovesThePartialFile) {
    // A recording said to last very long: its last frame stays, the export would run for minutes.
    const fs::path endless = copyOfSession("endless");
    auto meta = document(endless, "session.json");
    meta["recordingEndHostTime"] = meta["screenFirstPTS"].get<double>() + 3600;
    std::ofstream(endless / "session.json") << meta;
    const fs::path output = videos() / "cancelled.mp4";
    Program exporting(cobaltreel({"export", endless.string(), "--output", output.string()}));
    ASSERT_TRUE(exporting.readUntil([&](const auto&) {
        std::error_code error;
        return fs::exists(output.parent_path() / ".cancelled.mp4.part", error);
    }));
    exporting.signal(SIGINT);
    const auto result = exporting.finish();
    EXPECT_EQ(result.status, 130) << result.err;
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(CommandLineTest, AWindowIsFollowedAndItsClosingEndsTheTakeNotTheRecording) {
    auto window = startScene();
    const auto sources = json::parse(run({"sources", "--json"}).out)["windows"];
    // The front-most moving window belongs to the scene that was started last.
    const auto moving = std::ranges::find_if(sources, [](const json& row) {
        return row["title"].get<std::string>().find("Moving") != std::string::npos;
    });
    ASSERT_NE(moving, sources.end()) << sources.dump(2);
    const std::string id = (*moving)["id"].dump();
    Program recording(cobaltreel({"record", "--window", id, "--duration", "20"}));
    ASSERT_TRUE(recording.readUntil([](const auto&) { return isRecording(); }));
    window.reset();
    const auto result = recording.finish();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("window"));
    EXPECT_FALSE(document(firstLine(result.out), "events.json")["windowFrames"].empty());
    const json meta = document(firstLine(result.out), "session.json");
    EXPECT_EQ(meta["mode"], "window");
    EXPECT_EQ(meta["captureWidthPx"].get<int>() % 2, 0);
    EXPECT_EQ(run({"export", firstLine(result.out)}).status, 0);
}

}  // namespace
}  // namespace cobaltreel
