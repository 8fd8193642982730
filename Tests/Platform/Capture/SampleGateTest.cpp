#include "Platform/Capture/SampleGate.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <future>

#include <gtest/gtest.h>

namespace platform {
namespace {

SampleBuffer silence(double seconds) {
    auto sound = std::make_shared<AudioBuffer>();
    sound->bytes.resize(480 * sound->format.bytesPerFrame());
    return {MediaTime::fromSeconds(seconds, nanosecondTimescale), nullptr, sound};
}

TEST(SampleGateTest, BoundsWhatWaitsAndHandlesNothingOnceClosed) {
    SerialQueue queue("test");
    std::promise<void> release;
    queue.async([waiting = release.get_future().share()] { waiting.wait(); });
    int handled = 0;
    SampleGate<SampleBuffer> gate(
        queue, [&](const SampleBuffer&) { ++handled; }, 3);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(gate.pass(silence(i)));
    EXPECT_FALSE(gate.pass(silence(3)));
    release.set_value();
    queue.sync([] {});
    EXPECT_EQ(handled, 3);
    EXPECT_TRUE(gate.pass(silence(4)));
    queue.sync([] {});
    gate.close();
    EXPECT_FALSE(gate.pass(silence(5)));
    queue.sync([] {});
    EXPECT_EQ(handled, 4);
}

}  // namespace
}  // namespace platform
