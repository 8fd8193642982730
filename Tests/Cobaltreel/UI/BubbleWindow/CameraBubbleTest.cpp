// From a camera of the media graph to the screen: a camera that flashes at each half second of the host
// clock, and the pixel in the middle of the bubble.
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Platform/Capture/PipeWire/MediaHarness.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Rig/QtEventually.hpp"

#include <QTest>
#include <algorithm>
#include <cmath>
#include <iostream>

namespace cobaltreel {
namespace {

constexpr double betweenFlashes = 0.5;  // seconds

class CameraBubbleTest : public rig::MediaTest {
  protected:
    bool isWhite(QPoint position) {
        auto& server = input.connection();
        const auto image =
            server.reply(xcb_get_image_reply,
                         xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(),
                                       std::int16_t(position.x()), std::int16_t(position.y()), 1, 1, ~0U));
        return image && qGray(*reinterpret_cast<const QRgb*>(xcb_get_image_data(image.get()))) > 128;
    }

    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::HostClock> clock = std::make_shared<platform::HostClock>();
    BubbleWindowController bubble{clock, loop, nullptr, nullptr};
    CameraMicRecorder recorder{std::shared_ptr<platform::CaptureService>(std::shared_ptr<void>(), &service),
                               std::make_shared<platform::FakeMedia>(), loop};
    DesktopInput input;
};

TEST_F(CameraBubbleTest, ShowsAFlashWithinATenthOfASecond) {
    const auto plugged =
        rig::startDevice("RigCamera", {"--every", std::to_string(betweenFlashes), "--rate", "30"});
    ASSERT_TRUE(isListed("rig.camera"));
    recorder.startPreview(camera(), std::nullopt, false);
    bubble.show(CameraCorner::bottomLeft, 180, CameraStyle::bubble);
    recorder.setPreviewFrameHandler(bubble.frameHandler());
    const QPoint centre = bubble.panel()->geometry().center();
    ASSERT_TRUE(eventually([&] { return isWhite(centre); })) << "the camera does not come";

    std::vector<double> delays;  // milliseconds, the camera's own interval between two pictures included
    bool wasWhite = true;
    const double end = now() + 12;
    while (now() < end && delays.size() < 20) {
        QCoreApplication::processEvents();
        const bool white = isWhite(centre);
        const double seen = now();
        if (white && !wasWhite) delays.push_back(1000 * std::fmod(seen, betweenFlashes));
        wasWhite = white;
    }
    ASSERT_GE(delays.size(), 15U);
    std::sort(delays.begin(), delays.end());
    std::cout << "camera to screen: " << delays[delays.size() / 2] << " ms (median), " << delays.back()
              << " ms (worst)\n";
    EXPECT_LT(delays[delays.size() / 2], 100);
    recorder.setPreviewFrameHandler({});
}

}  // namespace
}  // namespace cobaltreel
