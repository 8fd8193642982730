// What befalls a recording from outside: the real program is killed, stopped, starved of disk, of its display
// and of its devices; what is left is then opened, offered and exported. Runs inside the rig's desktop and
// media server.
//
//   FaultTest [--long] [--runs N] [--seed N] [--gtest_...]
#include "Cobaltreel/CommandLine/Program.hpp"
#include "Cobaltreel/Shell/OrphanSessions.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/PrivateServer.hpp"
#include "Rig/ChildProcess.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/HostTime.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;

struct Arguments {
    bool isLong = false;
    int runs = 0;  // 0: as many as the form of the test asks for
    unsigned seed = std::random_device()();
};
Arguments arguments;

int runsOf(int shortForm, int longForm) {
    return arguments.runs > 0 ? arguments.runs : arguments.isLong ? longForm : shortForm;
}

void pass(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

using platform::eventually;

class FaultTest : public testing::Test {
  protected:
    FaultTest() : home_(fs::path(std::getenv("COBALTREEL_RIG_ROOT")) / "faults") {
        fs::create_directories(home_);
        setenv("XDG_DATA_HOME", home_.c_str(), 1);
    }
    static void SetUpTestSuite() {
        scene = std::make_unique<rig::ChildProcess>(std::vector{(programs() / "RigScene").string()});
        EXPECT_NE(scene->readLine(), "");
        for (std::size_t kind = 0; kind < devices.size(); ++kind) plugIn(kind);
    }
    static void TearDownTestSuite() {
        scene.reset();
        for (auto& device : devices) device.reset();
    }
    /// A camera, a microphone, and a program that plays.
    static void plugIn(std::size_t kind) {
        static const std::array<std::vector<std::string>, 3> commands{
            {{"RigCamera", "--every", "2"},
             {"RigTone", "--microphone", "--every", "2"},
             {"RigTone", "--speaker", "--channels", "2", "--every", "3", "--pitch", "600", "--loudness",
              "0.3"}}};
        auto command = commands[kind];
        command[0] = (programs() / command[0]).string();
        devices[kind].reset();
        devices[kind] = std::make_unique<rig::ChildProcess>(command);
        EXPECT_NE(devices[kind]->readLine(), "") << command[0] << " does not start";
    }
    static inline std::unique_ptr<rig::ChildProcess> scene;
    static inline std::array<std::unique_ptr<rig::ChildProcess>, 3> devices;

    ~FaultTest() override { fs::remove_all(home_); }

    static fs::path programs() { return std::getenv("COBALTREEL_RIG_PROGRAMS"); }

    /// The recording of all five streams, with settings for what is preloaded into it.
    static std::vector<std::string> recordCommand(std::vector<std::string> settings = {}) {
        std::vector<std::string> command{"env"};
        if (!settings.empty()) {
            settings.push_back("LD_PRELOAD=" FAULT_SHIM);
            // The address sanitizer wants to be the first library of all.
            const char* options = std::getenv("ASAN_OPTIONS");
            settings.push_back("ASAN_OPTIONS=" + std::string(options ? options : "") +
                               ":verify_asan_link_order=0");
        }
        command.insert(command.end(), settings.begin(), settings.end());
        const auto record = cobaltreel({"record", "--system-audio", "--auto-zoom"});
        command.insert(command.end(), record.begin(), record.end());
        return command;
    }
    static std::vector<fs::path> sessions() {
        std::vector<fs::path> found;
        std::error_code none;
        for (const auto& entry : fs::directory_iterator(Paths::sessionsRoot(), none))
            found.push_back(entry.path());
        return found;
    }
    /// The folder of the take that has just begun.
    static fs::path begun() {
        return eventually([] { return !sessions().empty() && fs::exists(sessions()[0] / "screen.mov"); })
                   ? sessions()[0]
                   : fs::path();
    }
    static bool hasPromise(const fs::path& session) {
        return eventually([&] {
            std::ifstream file(session / "session.json");
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            return text.find("recordingEndHostTime") != std::string::npos;
        });
    }

    struct Left {
        bool isOffered = false;
        double start = 0;  // host time
        double end = 0;
        double length = 0;
        std::string problem;  // of the export
    };
    /// What the next start and an export make of the one recording there is.
    Left whatIsLeft() {
        Left left;
        platform::InMemoryUserDefaults defaults;
        const auto orphan = OrphanSessions::takeUnprompted(Paths::sessionsRoot(), defaults, *media_);
        if (!orphan) return left;
        left.isOffered = true;
        left.start = orphan->meta.screenFirstPTS.value_or(0);
        left.end = orphan->meta.recordingEndHostTime.value_or(0);
        // No recording is offered shorter than that.
        left.length = std::max(left.end - left.start, 0.5);
        // The end is what may be missing.
        const double start = std::max(left.length - 1.5, 0.0);
        const std::string output = (home_ / "out.mp4").string();
        const auto exported = run({"export", orphan->folder.dir.string(), "--quality", "p720", "--trim-start",
                                   std::to_string(start), "--output", output});
        if (exported.status != 0) {
            left.problem = "the export fails: " + exported.err;
            return left;
        }
        const auto tracks = media_->asset(output)->loadTracks(platform::MediaType::video);
        if (tracks.empty() || std::abs(tracks[0].timeRange.end - (left.length - start)) > 0.1)
            left.problem = "the export is not as long as the recording";
        return left;
    }
    void clear() {
        fs::remove_all(home_);
        fs::create_directories(home_);
    }
    double uniform(double from, double to) { return std::uniform_real_distribution(from, to)(random_); }

    std::mt19937 random_{arguments.seed};
    const fs::path home_;
    const std::shared_ptr<platform::MediaService> media_ = platform::makeFFmpegMediaService();
};

/// Prints what a series lost, so that a figure can be believed.
class Losses {
  public:
    explicit Losses(std::string what) : what_(std::move(what)) {}
    ~Losses() {
        if (seconds_.empty()) return;
        std::ranges::sort(seconds_);
        std::cout << what_ << ": " << seconds_.size() << " runs, lost " << seconds_[seconds_.size() / 2]
                  << " s in the median, " << seconds_.back() << " s at most; seed " << arguments.seed
                  << std::endl;
    }
    void add(double seconds) { seconds_.push_back(seconds); }

  private:
    std::string what_;
    std::vector<double> seconds_;
};

TEST_F(FaultTest, KilledAtAnyMoment) {
    Losses losses("kill -9");
    for (int i = 0; i < runsOf(2, 200); ++i) {
        const double after = i % 3 == 0 || !arguments.isLong ? uniform(0, 2) : uniform(0, 10);
        SCOPED_TRACE(testing::Message() << "run " << i << ", " << after << " s, seed " << arguments.seed);
        const double launched = rig::hostTime();
        Program recording(recordCommand());
        ASSERT_FALSE(begun().empty());
        const double begin = rig::hostTime();
        pass(after);
        recording.signal(SIGKILL);
        const double killed = rig::hostTime();
        recording.finish();
        const Left left = whatIsLeft();
        if (left.isOffered) {
            losses.add(killed - left.end);
            EXPECT_LT(killed - left.end, 2);
            EXPECT_GT(left.start, launched);
            EXPECT_EQ(left.problem, "");
        } else {
            losses.add(killed - begin);
            EXPECT_LT(killed - begin, 2) << "a take was lost";
        }
        clear();
    }
}

TEST_F(FaultTest, DisksThatFillUpAndFail) {
    struct Kind {
        std::string name;
        double most;  // of FAULT_AT
        bool isSaid;
    };
    const std::vector<Kind> kinds{{"full", 6e6, true},
                                  {"write", 100, true},
                                  {"sync", 60, true},
                                  {"rename", 20, false},
                                  {"short", 0, false}};
    Losses losses("failing disks");
    for (int i = 0; i < runsOf(1, 200); ++i) {
        // The full disk is what happens to people: every other run of the long form.
        const Kind& kind = arguments.isLong && i % 2 == 0 ? kinds[0] : kinds[random_() % 5];
        const auto at = static_cast<long long>(uniform(0, kind.most));
        const int howMany = i % 4 == 3 ? 1 : 1'000'000;
        SCOPED_TRACE(testing::Message() << "run " << i << ", " << kind.name << " at " << at << " for "
                                        << howMany << ", seed " << arguments.seed);
        const fs::path log = home_ / "failed";
        Program recording(
            recordCommand({"FAULT_ROOT=" + Paths::sessionsRoot().string(), "FAULT_KIND=" + kind.name,
                           "FAULT_AT=" + std::to_string(at), "FAULT_FOR=" + std::to_string(howMany),
                           "FAULT_LOG=" + log.string()}));
        const double begin = rig::hostTime();
        const auto until = [&](auto condition) {
            recording.readUntil([&](const auto&) { return condition(); });
        };
        until([&] { return fs::exists(log) || rig::hostTime() > begin + (arguments.isLong ? 7 : 3); });
        until([&, patience = rig::hostTime() + 2] { return rig::hostTime() > patience; });
        recording.signal(SIGINT);
        const auto said = recording.finish();
        double failed = 0;
        std::ifstream(log) >> failed;
        if (kind.isSaid && failed > 0 && howMany > 1) {
            EXPECT_EQ(said.status, 1) << said.err;
            EXPECT_NE(said.err, "");
        }
        if (kind.name == "short" || failed == 0) {
            EXPECT_EQ(said.status, 0) << said.err;
        }
        if (failed == 0) failed = rig::hostTime();
        const Left left = whatIsLeft();
        if (left.isOffered) {
            EXPECT_EQ(left.problem, "") << said.err;
            losses.add(std::max(failed - left.end, 0.0));
            EXPECT_LT(failed - left.end, 2) << said.err;
        } else {
            EXPECT_LT(failed - begin, 4) << "a take was lost: " << said.err;
        }
        clear();
    }
}

TEST_F(FaultTest, StoppedForSecondsAndTheWallClockSet) {
    for (int i = 0; i < runsOf(1, 20); ++i) {
        const std::string jump = i % 2 == 0 ? "7200" : "-7200";
        SCOPED_TRACE(testing::Message() << "run " << i << ", clock " << jump << ", seed " << arguments.seed);
        Program recording(recordCommand({"FAULT_CLOCK=" + jump}));
        ASSERT_TRUE(hasPromise(begun()));
        recording.signal(SIGSTOP);
        pass(arguments.isLong ? uniform(0.5, 8) : 0.5);
        recording.signal(SIGCONT);
        pass(1.5);
        recording.signal(SIGINT);
        const auto said = recording.finish();
        EXPECT_EQ(said.status, 0) << said.err;
        const Left left = whatIsLeft();
        EXPECT_TRUE(left.isOffered);
        EXPECT_EQ(left.problem, "");
        EXPECT_GT(left.length, 2);
        clear();
    }
}

TEST_F(FaultTest, TheDisplayServerAndTheWindowManagerGo) {
    Losses losses("X server killed");
    for (int i = 0; i < runsOf(1, 100); ++i) {
        const bool application = i % 2 == 0;
        SCOPED_TRACE(testing::Message() << "run " << i << ", seed " << arguments.seed);
        platform::test::PrivateServer display;
        rig::ChildProcess manager({"env", "DISPLAY=" + display.display(), "openbox"});
        auto command = application ? std::vector<std::string>{"env", COBALTREEL_PROGRAM} : recordCommand();
        command.insert(command.begin() + 1, "DISPLAY=" + display.display());
        Program recording(command);
        // The hot key is grabbed some time after the start; pressed during the countdown it does nothing.
        for (int n = 0; application && n < 100 && sessions().empty(); ++n) {
            Program({"env", "DISPLAY=" + display.display(), "xdotool", "key", "alt+super+2"}).finish();
            pass(0.2);
        }
        const fs::path session = begun();
        ASSERT_FALSE(session.empty());
        ASSERT_TRUE(hasPromise(session));
        manager.end(SIGKILL);
        pass(uniform(0.3, arguments.isLong ? 5 : 1));
        display.end(SIGKILL);
        const double killed = rig::hostTime();
        const auto said = recording.finish();
        EXPECT_EQ(said.status, 1) << said.err;
        const Left left = whatIsLeft();
        EXPECT_TRUE(left.isOffered);
        EXPECT_EQ(left.problem, "");
        losses.add(std::max(killed - left.end, 0.0));
        EXPECT_LT(killed - left.end, 2);
        clear();
    }
}

TEST_F(FaultTest, DevicesAndTheMediaServerComeAndGo) {
    Program recording(recordCommand());
    ASSERT_TRUE(hasPromise(begun()));
    const double begin = rig::hostTime();
    const int times = runsOf(1, 100);
    for (int i = 0; i < times; ++i) {
        for (std::size_t kind = 0; kind < devices.size(); ++kind) {
            devices[kind].reset();
            pass(uniform(0.05, arguments.isLong ? 1.5 : 0.5));
            plugIn(kind);
        }
        kill(std::atoi(std::getenv("COBALTREEL_RIG_MEDIA")), SIGUSR1);
        pass(uniform(1, 2));
        for (std::size_t kind = 0; kind < devices.size(); ++kind) plugIn(kind);
    }
    recording.signal(SIGINT);
    const double ended = rig::hostTime();
    const auto said = recording.finish();
    EXPECT_EQ(said.status, 0) << said.err;
    std::cout << times << " times each pulled in " << ended - begin << " s; seed " << arguments.seed
              << std::endl;
    const Left left = whatIsLeft();
    EXPECT_TRUE(left.isOffered);
    EXPECT_EQ(left.problem, "");
    EXPECT_GT(left.length, ended - begin);
}

}  // namespace
}  // namespace cobaltreel

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    CLI::App app;
    app.add_flag("--long", cobaltreel::arguments.isLong);
    app.add_option("--runs", cobaltreel::arguments.runs);
    app.add_option("--seed", cobaltreel::arguments.seed);
    CLI11_PARSE(app, argc, argv);
    std::cout << "seed " << cobaltreel::arguments.seed << std::endl;
    return RUN_ALL_TESTS();
}
