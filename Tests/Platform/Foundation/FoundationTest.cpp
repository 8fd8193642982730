#include "Platform/Foundation/BoundedQueue.hpp"
#include "Platform/Foundation/MediaTime.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <atomic>
#include <cerrno>
#include <future>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform {
namespace {

using testing::ElementsAre;

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

TEST(NamedThread, ABrokenPipeDoesNotEndTheProcess) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    close(ends[0]);
    int error = 0;
    NamedThread("writer", [&] { error = write(ends[1], "x", 1) < 0 ? errno : 0; }).join();
    close(ends[1]);
    EXPECT_EQ(error, EPIPE);
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
