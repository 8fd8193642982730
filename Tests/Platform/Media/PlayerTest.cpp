#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Platform/Media/MovieFixture.hpp"
#include "Platform/Media/MoviePlayer.hpp"
#include "Rig/QtEventually.hpp"

#include <QCoreApplication>
#include <atomic>
#include <cmath>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

namespace platform::test {
namespace {

using Status = Player::TimeControlStatus;

/// A speaker that plays in real time, forty milliseconds late, and is heard by nobody.
class PacedOutputs final : public AudioOutputService {
  public:
    explicit PacedOutputs(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}
    std::unique_ptr<AudioOutput> makeOutput(AudioOutput::Render render) override {
        return std::make_unique<Output>(*clock_, std::move(render));
    }

  private:
    class Output final : public AudioOutput {
      public:
        Output(Clock& clock, Render render)
            : clock_(clock), render_(std::move(render)), thread_("test.speaker", [this] { run(); }) {}
        ~Output() override {
            ended_ = true;
            thread_.join();
        }
        void setActive(bool active) override { active_ = active; }

      private:
        void run() {
            std::vector<float> cycle(2 * 480);
            for (double next = clock_.now(); !ended_; next += 0.01) {
                if (active_) render_(cycle, next + 0.04);
                const double wait = next + 0.01 - clock_.now();
                if (wait > 0) std::this_thread::sleep_for(std::chrono::duration<double>(wait));
            }
        }

        Clock& clock_;
        Render render_;
        std::atomic<bool> active_{false}, ended_{false};
        NamedThread thread_;
    };
    std::shared_ptr<Clock> clock_;
};

/// Players on a real main loop, and what they told.
class PlayerTest : public MovieTest {
  protected:
    void SetUp() override {
        service = makeMoviePlayerService(std::make_shared<QtMainLoop>(), clock, media,
                                         std::make_shared<PacedOutputs>(clock));
        makePlayer();
    }

    void makePlayer() {
        observations.clear();
        player = service->makePlayer();
        observations.push_back(player->observeTimeJumped([this](double time) { jumps.push_back(time); }));
        observations.push_back(
            player->observeTimeControlStatus([this](Status status) { statuses.push_back(status); }));
        observations.push_back(player->observeFailure(
            [this](const PlatformError& error) { failures.push_back(error.description()); }));
        observations.push_back(player->observePictures([this] { ++pictures; }));
    }

    template <typename Condition>
    static bool eventually(Condition condition) {
        return platform::eventually(condition, cobaltreel::runQtEvents);
    }
    void runFor(double seconds) {
        eventually([this, end = clock->now() + seconds] { return clock->now() >= end; });
    }

    void open(PlayerItem item) {
        player->replaceCurrentItem(std::move(item));
        ASSERT_TRUE(eventually([&] { return player->picture() && player->duration(); }));
    }
    bool seekAndWait(double time, double tolerance = 0) {
        const std::size_t before = jumps.size();
        player->seek(time, tolerance);
        return eventually([&] { return jumps.size() > before; });
    }
    /// Which picture, counted modulo 20, is on show; -1 before the first.
    int shownPicture() const {
        const auto picture = player->picture();
        if (!picture) return -1;
        const Plane& plane = picture->plane();
        const auto* pixel = plane.data + static_cast<std::ptrdiff_t>(plane.stride) * (plane.height / 2) +
                            4 * (plane.width / 2);
        return static_cast<int>(std::lround((pixel[1] * 219.0 / 255.0 + 16 - 20) / 10));
    }
    int argc = 1;
    char program[5] = "test";
    char* argv[2] = {program, nullptr};
    QCoreApplication application{argc, argv};
    std::shared_ptr<HostClock> clock = std::make_shared<HostClock>();
    std::shared_ptr<PlayerService> service;
    std::unique_ptr<Player> player;
    std::vector<double> jumps;
    std::vector<Status> statuses;
    std::vector<std::string> failures;
    int pictures = 0;
    std::vector<std::unique_ptr<Observation>> observations;
};

/// Ten pictures a second, but for two seconds in which the screen stands still: pictures 0…10 lie at 0…1,
/// pictures 11…16 at 3…3.5.
std::vector<double> timesWithStillness() {
    std::vector<double> times;
    for (int i = 0; i <= 10; ++i) times.push_back(0.1 * i);
    for (int i = 0; i <= 5; ++i) times.push_back(3 + 0.1 * i);
    return times;
}

TEST_F(PlayerTest, ASeekShowsTheFrameOnScreenAtItsTime) {
    writePictures(file("screen.mov"), FileType::quickTimeMovie, smallHevc, timesWithStillness());
    writePictures(file("camera.mp4"), FileType::mpeg4, smallH264, timesWithStillness());
    for (const char* name : {"screen.mov", "camera.mp4"}) {
        SCOPED_TRACE(name);
        open(file(name));
        EXPECT_EQ(shownPicture(), 0);
        struct Case {
            double time;
            int picture;
        };
        for (const Case& c : {Case{0.45, 4},
                              {0.5, 5},
                              {0.59, 5},
                              {2, 10},
                              {2.999, 10},
                              {3, 11},
                              {3.45, 15},
                              {1.5, 10},
                              {0, 0},
                              {3.5, 16},
                              {0.05, 0},
                              {0.31, 3}}) {
            ASSERT_TRUE(seekAndWait(c.time)) << c.time;
            EXPECT_EQ(shownPicture(), c.picture) << c.time;
            EXPECT_EQ(player->currentTime(), c.time);
            EXPECT_EQ(jumps.back(), c.time);
        }
        ASSERT_TRUE(seekAndWait(1e6, 0.03));
        EXPECT_EQ(player->currentTime(), *player->duration());
        EXPECT_EQ(shownPicture(), 16);
        EXPECT_THAT(statuses, testing::IsEmpty());
        EXPECT_THAT(failures, testing::IsEmpty());
    }
}

TEST_F(PlayerTest, PlaysToTheEndAndStops) {
    writePictures(file("a.mov"), FileType::quickTimeMovie, smallHevc, evenTimes(60, 30));
    player->setPictureSize(32, 100);
    open(file("a.mov"));
    EXPECT_EQ(player->picture()->width(), 32);
    EXPECT_EQ(player->picture()->height(), 32);
    std::vector<double> beats;
    const auto periodic = player->addPeriodicTimeObserver(0.5, [&](double t) { beats.push_back(t); });
    pictures = 0;
    const double start = clock->now();
    player->setRate(1);
    player->setRate(1);
    EXPECT_EQ(player->timeControlStatus(), Status::playing);
    ASSERT_TRUE(eventually([&] { return player->rate() == 0; }));
    EXPECT_GT(clock->now() - start, *player->duration() - 0.1);
    EXPECT_THAT(statuses, testing::ElementsAre(Status::playing, Status::paused));
    EXPECT_EQ(player->currentTime(), *player->duration());
    EXPECT_GE(pictures, 2);  // of 60: a busy machine leaves some out
    EXPECT_EQ(shownPicture(), 59 % 20);
    // At the start, every half second but for those that a busy machine leaves out, and at the end.
    EXPECT_THAT(beats.size(), testing::AllOf(testing::Ge(2U), testing::Le(5U)));
    for (std::size_t i = 1; i + 1 < beats.size(); ++i)
        EXPECT_GT(std::floor(beats[i] / 0.5), std::floor(beats[i - 1] / 0.5));
    EXPECT_NEAR(beats.back(), *player->duration(), 0.05);

    player->setRate(1);  // at the end there is nothing to play
    EXPECT_TRUE(eventually([&] { return player->rate() == 0; }));
    ASSERT_TRUE(seekAndWait(1.5));
    player->setRate(2);
    EXPECT_TRUE(eventually([&] { return player->rate() == 0; }));
    EXPECT_EQ(player->currentTime(), *player->duration());
}

TEST_F(PlayerTest, WithoutASpeakerTheHostsClockGoesOn) {
    class Silence final : public AudioOutputService {
        class Output final : public AudioOutput {
            void setActive(bool) override {}
        };
        std::unique_ptr<AudioOutput> makeOutput(AudioOutput::Render) override {
            return std::make_unique<Output>();
        }
    };
    writePictures(file("a.mov"), FileType::quickTimeMovie, smallHevc, timesWithStillness());
    for (const bool muted : {false, true}) {
        service =
            makeMoviePlayerService(std::make_shared<QtMainLoop>(), clock, media, std::make_shared<Silence>());
        makePlayer();
        player->setMuted(muted);
        open(file("a.mov"));
        player->setRate(1);
        player->setMuted(!muted);  // while the sound is waited for, or after that
        // Over what stands still, to the pictures after it.
        EXPECT_TRUE(eventually([&] { return shownPicture() >= 11; })) << muted;
        EXPECT_GE(player->currentTime(), 2.95);
        player->setRate(0);
    }
}

TEST_F(PlayerTest, SeeksInARowBecomeOneAndPlaybackGoesOn) {
    writePictures(file("a.mov"), FileType::quickTimeMovie, smallHevc, evenTimes(300, 30));
    player->replaceCurrentItem(file("a.mov"));
    player->seek(4, 0);  // before it is open
    ASSERT_TRUE(eventually([&] { return !jumps.empty(); }));
    EXPECT_EQ(player->currentTime(), 4);
    player->setRate(1);
    jumps.clear();
    for (int i = 0; i < 200; ++i) player->seek(9 - i * 0.03, i % 2 == 0 ? 0 : 0.03);
    EXPECT_NEAR(player->currentTime(), 3.03, 1e-9);
    ASSERT_TRUE(eventually([&] { return !jumps.empty(); }));
    EXPECT_THAT(jumps, testing::ElementsAre(testing::DoubleNear(3.03, 1e-9)));
    EXPECT_TRUE(eventually([&] { return player->currentTime() > 3.5; }));
    EXPECT_THAT(statuses, testing::ElementsAre(Status::playing));
}

TEST_F(PlayerTest, AnItemThatCannotBePlayedIsReportedByItsName) {
    writePictures(file("whole.mp4"), FileType::mpeg4, smallH264, {0, 0.5, 1});
    std::filesystem::copy(file("whole.mp4"), file("truncated.mp4"));
    std::filesystem::resize_file(file("truncated.mp4"), 40);
    std::ofstream(file("garbage.mov")) << std::string(5000, 'x');
    std::ofstream(file("empty.mov")).flush();
    Composition pieces = composed(file("whole.mp4"), MediaType::video, {0, 0.5});
    const auto asset = media->asset(file("whole.mp4"));
    auto& twice = pieces.addMutableTrack(MediaType::video);
    for (const double at : {0.0, 1.0})
        twice.insertTimeRange({0, 0.5}, asset, asset->loadTracks(MediaType::video).at(0), at);
    Composition joined;
    joined.addMutableTrack(MediaType::video) = twice;
    struct Case {
        PlayerItem item;
        const char* name;
    };
    for (const Case& c : {Case{file("absent.mov"), "absent.mov"}, Case{file("garbage.mov"), "garbage.mov"},
                          Case{file("empty.mov"), "empty.mov"}, Case{file("truncated.mp4"), "truncated.mp4"},
                          Case{joined, "whole.mp4"}, Case{Composition(), "empty"}}) {
        SCOPED_TRACE(c.name);
        failures.clear();
        player->replaceCurrentItem(c.item);
        player->setRate(1);
        player->seek(0.5, 0);
        ASSERT_TRUE(eventually([&] { return !failures.empty(); }));
        EXPECT_THAT(failures, testing::ElementsAre(testing::HasSubstr(c.name)));
        player->setRate(1);
        EXPECT_EQ(player->rate(), 0);
        EXPECT_FALSE(player->duration());
        EXPECT_FALSE(player->picture());
    }
    open(pieces);  // only the first video track counts
    EXPECT_EQ(shownPicture(), 0);
}

TEST_F(PlayerTest, APlayerMayGoAtAnyMoment) {
    writePictures(file("a.mov"), FileType::quickTimeMovie, smallHevc, evenTimes(90, 30));
    for (int round = 0; round < 16; ++round) {
        makePlayer();
        player->replaceCurrentItem(file("a.mov"));
        player->setRate(1);
        runFor(0.012 * round);
        player->seek(1, 0);
        if (round % 3 == 1) player->replaceCurrentItem(file("a.mov"));
        if (round % 3 == 2) runFor(0.005);
        player.reset();
        const int seen = pictures;
        const auto told = jumps.size() + statuses.size() + failures.size();
        runFor(0.02);
        EXPECT_EQ(pictures, seen);
        EXPECT_EQ(jumps.size() + statuses.size() + failures.size(), told);
    }
    // Also from within a callback.
    makePlayer();
    std::unique_ptr<Player>& owned = player;
    observations.push_back(player->observePictures([&owned] { owned.reset(); }));
    player->replaceCurrentItem(file("a.mov"));
    EXPECT_TRUE(eventually([&] { return !owned; }));
}

}  // namespace
}  // namespace platform::test
