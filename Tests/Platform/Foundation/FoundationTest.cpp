#include "Fakes/VirtualTime.hpp"
#include "Platform/Foundation/BoundedQueue.hpp"
#include "Platform/Foundation/MediaTime.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace platform {
namespace {

using testing::ElementsAre;

TEST(VirtualTime, TimersFireInOrderOfTimeAndEndWithTheirOwner) {
    VirtualTime time(0);
    std::vector<std::pair<char, double>> fired;
    const auto note = [&](char name) {
        return [&fired, &time, name] { fired.emplace_back(name, time.now()); };
    };
    auto repeating = time.scheduleRepeating(1, note('r'));
    auto once = time.scheduleOnce(1.5, note('o'));
    auto never = time.scheduleOnce(0.5, note('n'));
    never.reset();
    time.post(note('p'));
    time.advance(2);
    EXPECT_THAT(fired, ElementsAre(std::pair('p', 0.0), std::pair('r', 1.0), std::pair('o', 1.5),
                                   std::pair('r', 2.0)));

    // A busy main thread: ticks it missed are not made up for, and the beat is kept.
    fired.clear();
    time.stall(3.25);
    time.advance(1);
    EXPECT_THAT(fired, ElementsAre(std::pair('r', 5.25), std::pair('r', 6.0)));
    repeating.reset();
    fired.clear();
    time.advance(10);
    EXPECT_TRUE(fired.empty());
}

TEST(SerialQueue, RunsWorkInOrderOnOneThreadUpToItsCapacity) {
    std::vector<int> done;
    std::promise<void> open;
    SerialQueue queue("cobaltreel.test", 3);
    std::promise<void> begun;
    ASSERT_TRUE(queue.async([&] {
        begun.set_value();
        open.get_future().wait();
    }));
    begun.get_future().wait();
    WorkItem cancelled([&] { done.push_back(-1); });
    EXPECT_TRUE(queue.async([&] { done.push_back(1); }));
    EXPECT_TRUE(queue.async(cancelled));
    EXPECT_TRUE(queue.async([&] { done.push_back(queue.isCurrent() ? 2 : 0); }));
    EXPECT_FALSE(queue.async([&] { done.push_back(3); })) << "a full queue takes nothing";
    cancelled.cancel();
    open.set_value();
    queue.sync([&] { done.push_back(4); });
    EXPECT_THAT(done, ElementsAre(1, 2, 4));
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, RunsWhatItAcceptedBeforeItEnds) {
    std::atomic<int> done{0};
    {
        SerialQueue queue("cobaltreel.test");
        for (int i = 0; i < 50; ++i) ASSERT_TRUE(queue.async([&] { ++done; }));
    }
    EXPECT_EQ(done, 50);
}

TEST(BoundedQueue, ClosingLetsTheReaderFinishAndDiscardingDoesNot) {
    BoundedQueue<int> queue(2);
    EXPECT_TRUE(queue.tryPush(1));
    EXPECT_TRUE(queue.tryPush(2));
    EXPECT_FALSE(queue.tryPush(3));
    queue.close();
    EXPECT_FALSE(queue.push(4));
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_EQ(queue.pop(), 2);
    EXPECT_EQ(queue.pop(), std::nullopt);

    BoundedQueue<int> other(1);
    other.tryPush(1);
    std::thread writer([&] { EXPECT_FALSE(other.push(2)) << "a writer that waits is let go"; });
    other.discard();
    writer.join();
    EXPECT_EQ(other.pop(), std::nullopt);
}

TEST(MediaTime, RoundsToItsTimescaleAndComparesAcrossTimescales) {
    EXPECT_EQ(MediaTime::fromSeconds(1.0 / 30).value, 20);
    EXPECT_EQ(MediaTime::fromSeconds(-0.00125).value, -1) << "halves go away from zero";
    EXPECT_EQ((MediaTime{20, 600}), (MediaTime{3000, 90000}));
    EXPECT_LT((MediaTime{1, 3}), (MediaTime{333334, 1000000}));
    EXPECT_GT((MediaTime{std::int64_t{1} << 60, 600}), (MediaTime{(std::int64_t{1} << 60), 601}));
}

}  // namespace
}  // namespace platform
