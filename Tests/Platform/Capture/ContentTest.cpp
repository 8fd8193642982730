#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/Desktop/VirtualMonitor.hpp"

#include <algorithm>
#include <future>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

class ContentTest : public ::testing::Test {
  protected:
    XcbConnection connection_;
    XcbScreenCaptureService service_;
};

}  // namespace

TEST_F(ContentTest, ListsMonitorsFromTheMainOneWithNegativeOriginsAndStableNumbers) {
    const VirtualMonitor left("LEFT", {0, 0, 500, 720}, false);
    const VirtualMonitor right("RIGHT", {500, 100, 780, 620}, true);
    const auto displays = service_.shareableContent().displays;
    ASSERT_GE(displays.size(), 2U);
    EXPECT_EQ(displays[0].name, "RIGHT");
    EXPECT_TRUE(displays[0].isMain);
    EXPECT_EQ(displays[0].frame, (Rect{0, 0, 780, 620}));
    const auto other = std::find_if(displays.begin(), displays.end(),
                                    [](const Display& display) { return display.name == "LEFT"; });
    ASSERT_NE(other, displays.end());
    EXPECT_EQ(other->frame, (Rect{-500, -100, 500, 720}));
    EXPECT_FALSE(other->isMain);
    EXPECT_NE(other->displayID, displays[0].displayID);
    EXPECT_EQ(service_.shareableContent().displays[0].displayID, displays[0].displayID);

    // Each is recorded from its own part of the desktop.
    ColorWindow marker(connection_, 510, 110, 40, 40, {0xabcdef, true, "Marker"});
    marker.show();
    Recording recording(service_, DisplayContentFilter{displays[0], {}}, configurationFor(780, 620));
    EXPECT_TRUE(recording.waitForPicture(
        [](const PixelBuffer& picture) { return colorAt(picture, 30, 30) == 0xabcdef; }));
    // Changes elsewhere are no news for it.
    const std::size_t before = recording.settle();
    ColorWindow elsewhere(connection_, 50, 50, 100, 100, {0x123456, true, "Elsewhere"});
    elsewhere.show();
    EXPECT_EQ(recording.settle(), before);
}

TEST_F(ContentTest, ListsWindowsFrontToBackWithTheirApplication) {
    ColorWindow first(connection_, 100, 100, 200, 100, {0x111111, false, "First"});
    ColorWindow second(connection_, 150, 150, 200, 100, {0x222222, false, "Second"});
    ColorWindow popUp(connection_, 0, 0, 50, 50, {0x333333, true, "Pop-up"});
    using namespace std::string_literals;
    first.setText(XCB_ATOM_WM_CLASS, "one\0One\0"s);
    second.setText(XCB_ATOM_WM_CLASS, "two\0Two\0"s);
    second.setText(connection_.atom("_GTK_APPLICATION_ID"), "org.example.Two");
    popUp.setText(XCB_ATOM_WM_CLASS, "bubble\0Bubble\0"s);
    first.show();
    second.show();
    popUp.show();
    second.raise();
    const auto titles = [this] {
        std::vector<std::string> all;
        for (const Window& window : service_.shareableContent().windows) all.push_back(window.title);
        return all;
    };
    EXPECT_TRUE(eventually([&] { return titles() == std::vector<std::string>{"Second", "First"}; }));
    first.raise();
    EXPECT_TRUE(eventually([&] { return titles() == std::vector<std::string>{"First", "Second"}; }));

    const ShareableContent content = service_.shareableContent();
    ASSERT_EQ(content.windows.size(), 2U);
    EXPECT_TRUE(content.windows[0].isOnScreen);
    ASSERT_TRUE(content.windows[0].owningApplication);
    EXPECT_EQ(content.windows[0].owningApplication->bundleIdentifier, "One");
    EXPECT_EQ(content.windows[0].owningApplication->processID, getpid());
    EXPECT_EQ(content.windows[1].owningApplication->bundleIdentifier, "org.example.Two");
    EXPECT_GE(content.windows[0].frame.h, 100) << "the title bar belongs to the frame";
    EXPECT_THAT(content.applications,
                testing::Contains(testing::Field(&RunningApplication::bundleIdentifier, "Bubble")));
    EXPECT_THAT(XcbScreenCaptureService({}, "org.example.Self").shareableContent().applications,
                testing::Contains(
                    testing::AllOf(testing::Field(&RunningApplication::bundleIdentifier, "org.example.Self"),
                                   testing::Field(&RunningApplication::processID, getpid()))));
}

TEST_F(ContentTest, RefusesWhatDoesNotExist) {
    const auto isRefused = [](XcbScreenCaptureService service, const ContentFilter& filter) {
        const auto stream = service.makeStream(filter, configurationFor(100, 100), {});
        std::promise<bool> refused;
        stream->startCapture([&](const auto& error) { refused.set_value(error.has_value()); });
        return refused.get_future().get();
    };
    Display noDisplay;
    noDisplay.displayID = 12345;
    EXPECT_TRUE(isRefused(service_, DisplayContentFilter{noDisplay, {}}));
    Window noWindow;
    noWindow.windowID = 0x7fffff1;
    EXPECT_TRUE(isRefused(service_, WindowContentFilter{noWindow}));
    EXPECT_TRUE(isRefused(XcbScreenCaptureService(":987"), WindowContentFilter{noWindow}));
    const Display display = service_.shareableContent().displays[0];
    EXPECT_THROW(service_.makeStream(DisplayContentFilter{display, {}}, configurationFor(0, 100), {}),
                 PlatformError);
    EXPECT_THROW(XcbScreenCaptureService(":987").shareableContent(), PlatformError);
}

}  // namespace platform::test
