#include "Fakes/FakeCapture.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Platform/Capture/SampleGate.hpp"
#include "Platform/Capture/SystemAudioCapture.hpp"

#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform {
namespace {

SampleBuffer silence(double seconds) {
    auto sound = std::make_shared<AudioBuffer>();
    sound->bytes.resize(480 * sound->format.bytesPerFrame());
    return {MediaTime::fromSeconds(seconds, nanosecondTimescale), nullptr, sound};
}

class SystemAudioCaptureTest : public testing::Test {
  protected:
    std::unique_ptr<CaptureStream> makeStream(bool capturesAudio) {
        StreamConfiguration configuration;
        configuration.width = configuration.height = 4;
        configuration.capturesAudio = capturesAudio;
        auto stream = service.makeStream({}, configuration, [](const PlatformError&) {});
        stream->addOutput(StreamOutputType::screen, queue, [this](const CapturedSample&) { ++pictures; });
        stream->addOutput(StreamOutputType::audio, queue, [this](const CapturedSample& sample) {
            times.push_back(sample.buffer.presentationTime.seconds());
        });
        return stream;
    }

    std::shared_ptr<FakeScreenCapture> screen = std::make_shared<FakeScreenCapture>();
    FakeSystemAudio* sound = nullptr;
    SystemAudioCapture service{screen, [this] {
                                   auto source = std::make_unique<FakeSystemAudio>();
                                   sound = source.get();
                                   return source;
                               }};
    int pictures = 0;
    std::vector<double> times;
    SerialQueue queue{"test"};
};

TEST_F(SystemAudioCaptureTest, FeedsTheAudioOutputWhileTheStreamRuns) {
    const auto stream = makeStream(true);
    EXPECT_FALSE(screen->streams[0]->configuration.capturesAudio);
    EXPECT_FALSE(sound->isRunning());
    stream->startCapture([](const auto&) {});
    EXPECT_TRUE(screen->streams[0]->deliverFrame(10.0));
    EXPECT_TRUE(sound->deliver(silence(10.5)));
    EXPECT_EQ(pictures, 1);
    EXPECT_THAT(times, testing::ElementsAre(10.5));
    EXPECT_THROW(stream->addOutput(StreamOutputType::audio, queue, [](const auto&) {}), PlatformError);
    stream->stopCapture([](const auto&) {});
    EXPECT_FALSE(sound->isRunning());
    EXPECT_FALSE(screen->streams[0]->isRunning());
}

TEST(SampleGate, BoundsWhatWaitsAndHandlesNothingOnceClosed) {
    SerialQueue queue("test");
    std::promise<void> release;
    queue.async([waiting = release.get_future().share()] { waiting.wait(); });
    int handled = 0;
    SampleGate gate(
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
