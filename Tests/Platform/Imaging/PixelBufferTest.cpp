#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/PictureSupport.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace platform::test {
namespace {

TEST(PixelBufferTest, LaysOutZeroedAlignedPlanes) {
    const PixelBuffer odd(PixelFormat::i420, 7, 5);
    ASSERT_EQ(odd.planeCount(), 3);
    for (int i = 0; i < 3; ++i) {
        const Plane& plane = odd.plane(i);
        EXPECT_EQ(plane.width, i == 0 ? 7 : 4);
        EXPECT_EQ(plane.height, i == 0 ? 5 : 3);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(plane.data) % 64, 0U);
        EXPECT_EQ(plane.stride % 64, 0);
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < plane.width; ++x) EXPECT_EQ(plane.data[y * plane.stride + x], 0);
    }
}

TEST(PixelBufferTest, RefusesSizesThatAreNone) {
    for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, 32769}, {1 << 30, 1 << 30}}) {
        try {
            const PixelBuffer buffer(PixelFormat::bgra, width, height);
            FAIL() << width << " × " << height;
        } catch (const PlatformError& error) {
            EXPECT_EQ(error.domain(), "Imaging");
            EXPECT_EQ(error.code(), 1);
        }
    }
}

TEST(PixelBufferTest, KeepsTheOwnerOfForeignMemory) {
    auto memory = std::make_shared<std::vector<std::uint8_t>>(16, std::uint8_t{7});
    const std::weak_ptr watched = memory;
    std::optional<PixelBuffer> buffer;
    buffer.emplace(PixelFormat::gray8, 4, 4, std::array<Plane, 3>{Plane{memory->data(), 4, 4, 4}},
                   std::move(memory));
    EXPECT_EQ(*sampleAt(*buffer, 3, 3), 7);
    buffer.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(PixelBufferPoolTest, HandsOutItsLimitAndRecycles) {
    PixelBufferPool pool(PixelFormat::i420, 16, 8, 2, ColorMatrix::bt601Full);
    auto first = pool.createPixelBuffer();
    const auto second = pool.createPixelBuffer();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->matrix(), ColorMatrix::bt601Full);
    EXPECT_EQ(pool.createPixelBuffer(), nullptr);
    const PixelBuffer* const address = first.get();
    ConstPixelBufferRef alsoFirst = first;
    first.reset();
    EXPECT_EQ(pool.createPixelBuffer(), nullptr) << "someone still reads it";
    alsoFirst.reset();
    EXPECT_EQ(pool.createPixelBuffer().get(), address);
}

TEST(PixelBufferPoolTest, AFailedBufferTakesNoPlace) {
    PixelBufferPool pool(PixelFormat::bgra, 0, 8, 1);
    EXPECT_THROW(pool.createPixelBuffer(), PlatformError);
    EXPECT_THROW(pool.createPixelBuffer(), PlatformError);
}

TEST(PixelBufferPoolTest, BuffersOutliveIt) {
    auto pool = std::make_unique<PixelBufferPool>(PixelFormat::gray8, 4, 4, 2);
    auto kept = pool->createPixelBuffer();
    pool->createPixelBuffer();
    pool.reset();
    *sampleAt(*kept, 3, 3) = 9;
    EXPECT_EQ(*sampleAt(*kept, 3, 3), 9);
    kept.reset();
}

TEST(PixelBufferPoolTest, NeverExceedsItsLimitFromSeveralThreads) {
    PixelBufferPool pool(PixelFormat::gray8, 8, 8, 3);
    std::atomic<int> out = 0, most = 0;
    const auto work = [&] {
        for (int i = 0; i < 2000; ++i) {
            auto buffer = pool.createPixelBuffer();
            if (!buffer) continue;
            const int now = ++out;
            int seen = most;
            while (now > seen && !most.compare_exchange_weak(seen, now)) {
            }
            *sampleAt(*buffer, 0, 0) = static_cast<std::uint8_t>(i);
            --out;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (auto& thread : threads) thread.join();
    EXPECT_GE(most, 1);
    EXPECT_LE(most, 3);
}

}  // namespace
}  // namespace platform::test
