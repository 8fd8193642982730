#include "MediaHarness.hpp"

namespace {

class NoServerTest : public rig::MediaTest {};

TEST_F(NoServerTest, FailsWithASentence) {
    const double start = now();
    EXPECT_EQ(service.devices(), platform::CaptureDevices{});
    EXPECT_LT(now() - start, 3) << "it does not wait for a server";
    const auto error = service.unavailable();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), "PipeWire");
    EXPECT_THAT(error->description(), testing::HasSubstr("PipeWire does not answer"));

    session->beginConfiguration();
    EXPECT_THROW(session->addInput(camera()), platform::PlatformError);
    session->addOutput(platform::MediaType::video, queue, [](const auto&) {});
    session->commitConfiguration();
    session->startRunning();
    EXPECT_TRUE(session->isRunning());
    session->stopRunning();
    const auto systemAudio = service.makeSystemAudio();
    systemAudio->start(queue, [](const auto&) {});
    systemAudio->stop();
}

}  // namespace
