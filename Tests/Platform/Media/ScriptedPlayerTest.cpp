#include "Platform/Foundation/VirtualTime.hpp"
#include "Platform/Media/ScriptedPlayer.hpp"

#include <gmock/gmock.h>

namespace platform {
namespace {

TEST(ScriptedPlayer, keepsTimeLikeAPlayer) {
    VirtualTime time;
    ScriptedPlayer player(time, time);
    player.script.duration = 3;
    player.script.openDelay = 0.5;
    player.script.seekDelay = 0.25;
    std::vector<double> beats, jumps;
    std::vector<Player::TimeControlStatus> statuses;
    const auto periodic = player.addPeriodicTimeObserver(0.5, [&](double t) { beats.push_back(t); });
    auto jumped = player.observeTimeJumped([&](double t) { jumps.push_back(t); });
    const auto status = player.observeTimeControlStatus([&](auto now) { statuses.push_back(now); });

    player.replaceCurrentItem(std::filesystem::path("a.mov"));
    player.setRate(1);
    time.advance(0.4);
    EXPECT_EQ(player.currentTime(), 0);
    EXPECT_FALSE(player.duration());
    time.advance(1.1);
    EXPECT_NEAR(player.currentTime(), 1, 1e-9);
    player.drift(0.2);
    EXPECT_NEAR(player.currentTime(), 1.2, 1e-9);
    EXPECT_THAT(jumps, testing::IsEmpty());

    player.seek(2, 0.03);
    player.seek(2.5, 0);
    EXPECT_EQ(player.currentTime(), 2.5);
    time.advance(0.5);
    EXPECT_THAT(jumps, testing::ElementsAre(2.5));
    EXPECT_THAT(player.seeks, testing::ElementsAre(SeekRequest{2, 0.03}, SeekRequest{2.5, 0}));
    EXPECT_NEAR(player.currentTime(), 2.75, 1e-9);
    jumped.reset();
    player.seek(2.6, 0);
    time.advance(1);
    EXPECT_EQ(player.currentTime(), 3);
    EXPECT_EQ(jumps.size(), 1U);
    EXPECT_THAT(statuses,
                testing::ElementsAre(Player::TimeControlStatus::playing, Player::TimeControlStatus::paused));
    EXPECT_THAT(beats, testing::Pointwise(testing::DoubleNear(1e-6), {0.0, 0.5, 1.0, 2.5, 2.6, 3.0}));

    player.script.failure.emplace("Test", 1, "broken");
    std::string message;
    const auto failure = player.observeFailure([&](const PlatformError& e) { message = e.description(); });
    player.replaceCurrentItem(std::filesystem::path("b.mov"));
    time.advance(1);
    EXPECT_EQ(message, "broken");
}

}  // namespace
}  // namespace platform
