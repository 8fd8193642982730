// From a camera of the media graph to the screen: a camera that flashes at each half second of the host
// clock, and the pixel in the middle of the bubble.
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Platform/Capture/PipeWire/MediaHarness.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Rig/QtEventually.hpp"

namespace cobaltreel {
namespace {

class CameraBubbleTest : public rig::MediaTest {
  protected:
    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::HostClock> clock = std::make_shared<platform::HostClock>();
    BubbleWindowController bubble{clock, loop, nullptr, nullptr};
    CameraMicRecorder recorder{std::shared_ptr<platform::CaptureService>(std::shared_ptr<void>(), &service),
                               std::make_shared<platform::FakeMedia>(), loop};
    DesktopInput input;
};

TEST_F(CameraBubbleTest, ShowsEachFlashOfTheCamera) {
    const auto plugged = rig::startDevice("RigCamera", {"--every", "0.5", "--rate", "30"});
    ASSERT_TRUE(isListed("rig.camera"));
    recorder.startPreview(camera(), std::nullopt, false);
    bubble.show(CameraCorner::bottomLeft, 180, CameraStyle::bubble);
    recorder.setPreviewFrameHandler(bubble.frameHandler());
    const QPoint centre = bubble.panel()->geometry().center();
    for (int flash = 0; flash < 3; ++flash) {
        EXPECT_TRUE(eventually([&] { return qGray(screenPixel(centre)) > 128; })) << flash;
        EXPECT_TRUE(eventually([&] { return qGray(screenPixel(centre)) < 128; })) << flash;
    }
    recorder.setPreviewFrameHandler({});
}

}  // namespace
}  // namespace cobaltreel
