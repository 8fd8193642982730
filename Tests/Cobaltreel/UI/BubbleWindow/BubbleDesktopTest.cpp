// The bubble on a real X server under a window manager, with and without a compositing manager.
#include "Cobaltreel/UI/ApplicationWindow.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Fakes/FakeVision.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"
#include "Platform/Xcb/XcbWindows.hpp"
#include "Rig/QtEventually.hpp"

#include <QProcess>
#include <QTest>
#include <algorithm>
#include <vector>

namespace cobaltreel {
namespace {

constexpr QRgb red = qRgb(230, 40, 40), blue = qRgb(30, 60, 220);
constexpr double diameter = 172.8;  // 0.24 of a screen 720 high

bool isNear(QRgb a, QRgb b, int difference = 6) {
    return std::abs(qRed(a) - qRed(b)) <= difference && std::abs(qGreen(a) - qGreen(b)) <= difference &&
           std::abs(qBlue(a) - qBlue(b)) <= difference;
}

/// A camera's picture of one color.
platform::ConstPixelBufferRef picture(QRgb color) {
    platform::PixelBuffer bgra(platform::PixelFormat::bgra, 1280, 720);
    for (int y = 0; y < 720; ++y) std::fill_n(reinterpret_cast<QRgb*>(bgra.row(y)), 1280, color);
    auto camera = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::i420, 1280, 720);
    platform::convertPixels(bgra, *camera);
    return camera;
}

enum class Desktop { plain, compositing };

class BubbleDesktopTest : public ::testing::TestWithParam<Desktop> {
  protected:
    void SetUp() override {
        vision->script.push_back([] {  // the left half is the person
            auto half = gray(16, 9, 0);
            for (int y = 0; y < 9; ++y) std::memset(half->plane().data + y * half->plane().stride, 255, 8);
            return Masks{half};
        });
        if (GetParam() == Desktop::plain) return;
        manager.start("xcompmgr", {});
        ASSERT_TRUE(manager.waitForStarted()) << "install xcompmgr";
        ASSERT_TRUE(eventually([&] { return compositor->isRunning(); }));
    }
    void TearDown() override {
        bubble.hide();
        if (manager.state() == QProcess::NotRunning) return;
        manager.terminate();
        EXPECT_TRUE(manager.waitForFinished());
    }

    QRect frame() const { return bubble.panel()->geometry(); }
    bool shows(QRgb color) {
        return eventually([&] { return isNear(screenPixel(frame().center()), color); });
    }
    void showRound(CameraCorner corner = CameraCorner::bottomLeft) {
        bubble.show(corner, diameter, CameraStyle::bubble);
        bubble.frameHandler()(picture(red));
        ASSERT_TRUE(shows(red));
    }
    void tellRoot(const char* message, std::uint32_t value) {
        platform::test::sendToManager(input.connection(), input.connection().root(), message, {value});
    }
    std::vector<std::uint32_t> rootValues(const char* property) {
        auto& server = input.connection();
        return platform::cardinals(server, server.root(), server.atom(property));
    }

    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::HostClock> clock = std::make_shared<platform::HostClock>();
    std::shared_ptr<platform::XcbCompositor> compositor = std::make_shared<platform::XcbCompositor>();
    std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
    BubbleWindowController bubble{clock, loop, vision, compositor};
    DesktopInput input;
    QProcess manager;
};

TEST_P(BubbleDesktopTest, IsARingedCircleAndNothingAroundIt) {
    const ApplicationWindow below(false);
    showRound();
    EXPECT_EQ(frame(), QRect(24, 720 - 24 - 173, 173, 173));
    const QImage seen = screenPart(frame());
    savePicture(GetParam() == Desktop::plain ? "bubble-plain" : "bubble-blended");
    const QRgb ring = qRgb(191 + 23, 144 + 4, 21 + 4);  // 90 % of the ring's color over the picture
    for (const QPoint at : {QPoint(1, 86), QPoint(171, 86), QPoint(86, 1), QPoint(86, 171)})
        EXPECT_TRUE(isNear(seen.pixel(at), ring, 12))
            << at.x() << "," << at.y() << std::hex << seen.pixel(at);
    for (const QPoint at : {QPoint(0, 0), QPoint(172, 0), QPoint(0, 172), QPoint(172, 172), QPoint(12, 12)})
        EXPECT_TRUE(isNear(seen.pixel(at), ApplicationWindow::color)) << at.x() << "," << at.y();
    for (const QPoint at : {QPoint(6, 86), QPoint(86, 166), QPoint(40, 40)})
        EXPECT_TRUE(isNear(seen.pixel(at), red)) << at.x() << "," << at.y();

    for (const CameraCorner corner : allCases<CameraCorner>) {
        bubble.update(corner, 100);
        EXPECT_TRUE(shows(red)) << rawValue(corner);
        EXPECT_EQ(frame().size(), QSize(100, 100));
        EXPECT_TRUE(eventually([&] { return !isNear(screenPixel(frame().topLeft()), red, 60); }));
    }
    const QPoint last = frame().center();
    bubble.hide();
    EXPECT_TRUE(eventually([&] { return !isNear(screenPixel(last), red); }));
    bubble.hide();
    bubble.update(CameraCorner::topLeft, 200);
    EXPECT_EQ(bubble.panel(), nullptr);
}

TEST_P(BubbleDesktopTest, StaysAboveEverythingOnEveryDesktop) {
    showRound();
    const ApplicationWindow above(true);
    EXPECT_TRUE(shows(red)) << "a full-screen window that came later";

    auto& server = input.connection();
    const auto window = static_cast<xcb_window_t>(bubble.panel()->winId());
    const auto attributes =
        server.reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(server.get(), window));
    EXPECT_TRUE(attributes->override_redirect) << "out of the window manager's hands";
    const auto managed = rootValues("_NET_CLIENT_LIST");
    EXPECT_EQ(std::count(managed.begin(), managed.end(), window), 0) << "no entry in a task bar";
    const auto hints = platform::cardinals(server, window, XCB_ATOM_WM_HINTS);
    ASSERT_GE(hints.size(), 2U);
    EXPECT_TRUE((hints[0] & 1) != 0 && hints[1] == 0) << "asks for no keyboard";

    tellRoot("_NET_NUMBER_OF_DESKTOPS", 2);
    EXPECT_TRUE(eventually([&] { return rootValues("_NET_NUMBER_OF_DESKTOPS") == std::vector{2U}; }));
    tellRoot("_NET_CURRENT_DESKTOP", 1);
    EXPECT_TRUE(eventually([&] { return rootValues("_NET_CURRENT_DESKTOP") == std::vector{1U}; }));
    EXPECT_TRUE(eventually([] { return screenPixel({700, 300}) != ApplicationWindow::color; }));
    EXPECT_TRUE(shows(red)) << "on the other desktop";
    tellRoot("_NET_CURRENT_DESKTOP", 0);
    tellRoot("_NET_NUMBER_OF_DESKTOPS", 1);
    EXPECT_TRUE(eventually([&] { return rootValues("_NET_NUMBER_OF_DESKTOPS") == std::vector{1U}; }));
}

TEST_P(BubbleDesktopTest, IsDraggedByItsBodyAndLeavesTheKeyboardToOthers) {
    ApplicationWindow application(false);
    showRound();
    EXPECT_TRUE(application.isActive());
    const QRect before = frame();
    input.drag(before.center(), before.center() + QPoint(300, -200));
    EXPECT_TRUE(eventually([&] { return frame() == before.translated(300, -200); }))
        << frame().x() << "," << frame().y();
    EXPECT_TRUE(shows(red));
    input.click(frame().center());
    input.key('a');
    EXPECT_TRUE(eventually([&] { return application.keys.size() == 1; }));
    EXPECT_TRUE(application.isActive());
    EXPECT_FALSE(bubble.panel()->isActive());

    // A click beside the circle, inside its square, is for what is below.
    input.drag(frame().topLeft() + QPoint(8, 8), frame().topLeft() + QPoint(108, 8));
    EXPECT_TRUE(eventually([&] { return application.releases == 1; }));
    EXPECT_EQ(frame(), before.translated(300, -200));
}

TEST_P(BubbleDesktopTest, TheCutOutShowsThePersonAlone) {
    ApplicationWindow below(false);
    bubble.show(CameraCorner::bottomLeft, diameter, CameraStyle::cutout);
    const auto handler = bubble.frameHandler();
    EXPECT_EQ(frame(), QRect(24, 720 - 24 - 173, 307, 173));
    const QPoint person = frame().center() - QPoint(100, 0), room = frame().center() + QPoint(100, 0);
    QTest::qWait(50);
    EXPECT_EQ(screenPixel(person), ApplicationWindow::color) << "empty before the first mask";

    handler(picture(red));
    EXPECT_TRUE(eventually([&] { return isNear(screenPixel(person), red); }));
    EXPECT_EQ(screenPixel(room), ApplicationWindow::color);
    EXPECT_EQ(vision->levels, std::vector{FakeVision::QualityLevel::fast});
    savePicture(GetParam() == Desktop::plain ? "cutout-plain" : "cutout-blended");
    const QRect before = frame();
    input.drag(room, room + QPoint(50, -50));
    EXPECT_TRUE(eventually([&] { return below.releases == 1; })) << "what is not the person lets through";
    input.drag(person, person + QPoint(50, -50));
    EXPECT_TRUE(eventually([&] { return frame() == before.translated(50, -50); })) << "only by the person";

    // Another style is another window; what the old handler is given is nobody's.
    bubble.show(CameraCorner::bottomLeft, diameter, CameraStyle::bubble);
    handler(picture(red));
    bubble.frameHandler()(picture(blue));
    EXPECT_TRUE(shows(blue));
}

INSTANTIATE_TEST_SUITE_P(On, BubbleDesktopTest, ::testing::Values(Desktop::plain, Desktop::compositing),
                         [](const auto& on) {
                             return std::string(on.param == Desktop::plain ? "PlainDesktop"
                                                                           : "CompositingDesktop");
                         });

}  // namespace
}  // namespace cobaltreel
