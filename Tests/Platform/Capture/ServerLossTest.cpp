#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/Desktop/VirtualMonitor.hpp"
#include "Platform/PrivateServer.hpp"

#include <gmock/gmock.h>
#include <xcb/randr.h>

namespace platform::test {

namespace {

/// Makes an 800 x 600 screen 640 x 400.
void shrinkScreen(XcbConnection& connection) {
    xcb_connection_t* c = connection.get();
    const auto version = connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(c, 1, 5));
    const auto resources = connection.reply(xcb_randr_get_screen_resources_reply,
                                            xcb_randr_get_screen_resources(c, connection.root()));
    ASSERT_TRUE(resources && resources->num_crtcs > 0);
    const xcb_randr_crtc_t crtc = xcb_randr_get_screen_resources_crtcs(resources.get())[0];
    connection.reply(xcb_randr_set_crtc_config_reply,
                     xcb_randr_set_crtc_config(c, crtc, XCB_CURRENT_TIME, resources->config_timestamp, 0, 0,
                                               XCB_NONE, XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr));
    ASSERT_TRUE(
        connection.succeeded(xcb_randr_set_screen_size_checked(c, connection.root(), 640, 400, 200, 150)));
}

class ServerLossTest : public ::testing::Test {
  protected:
    std::unique_ptr<Recording> record(int width = 800, int height = 600) {
        auto recording = std::make_unique<Recording>(
            service, DisplayContentFilter{service.shareableContent().displays.at(0), {}},
            configurationFor(width, height));
        EXPECT_TRUE(recording->waitForFrames(1));
        return recording;
    }
    PrivateServer server;
    XcbScreenCaptureService service{server.display()};
};

}  // namespace

TEST_F(ServerLossTest, IsToldOnceAndTheStreamEnds) {
    const auto recording = record();
    server.end(SIGKILL);
    ASSERT_TRUE(recording->waitForError());
    EXPECT_THAT(recording->errors(), testing::ElementsAre(testing::HasSubstr("was lost")));
    EXPECT_TRUE(recording->stop());
    EXPECT_THROW(service.shareableContent(), PlatformError);
}

TEST_F(ServerLossTest, AFrozenServerDoesNotHoldUpStopping) {
    XcbConnection connection(server.display());
    ColorWindow window(connection, 0, 0, 100, 100, {0xff0000, true, "Window"});
    const auto recording = record();
    window.show();
    kill(server.id(), SIGSTOP);
    EXPECT_TRUE(recording->stop());
    EXPECT_THAT(recording->errors(), testing::IsEmpty());
    kill(server.id(), SIGCONT);
}

TEST_F(ServerLossTest, AScreenOfFewColorsIsRefusedWithAWord) {
    const PrivateServer poor("640x480x16");
    try {
        XcbScreenCaptureService(poor.display()).shareableContent();
        ADD_FAILURE() << "16-bit colors are not refused";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.description(), testing::HasSubstr("16-bit colors"));
    }
}

TEST_F(ServerLossTest, ADisplayThatShrinksIsFittedIntoTheConfiguredSize) {
    XcbConnection connection(server.display());
    ColorWindow ground(connection, 0, 0, 800, 600, {0x40a060, true, "Ground"});
    ground.show();
    const auto recording = record();
    shrinkScreen(connection);
    // 640 x 400 in 800 x 600: bars of 50 above and below.
    EXPECT_TRUE(recording->waitForPicture([](const PixelBuffer& picture) {
        return colorAt(picture, 400, 45) == 0 && isNear(colorAt(picture, 400, 55), 0x40a060) &&
               colorAt(picture, 400, 555) == 0;
    }));
    EXPECT_THAT(recording->errors(), testing::IsEmpty());
}

TEST_F(ServerLossTest, ADisplayThatIsNoLongerThereEndsTheStream) {
    for (const bool isRemoved : {true, false}) {
        PrivateServer another;
        XcbScreenCaptureService there(another.display());
        XcbConnection connection(another.display());
        auto monitor =
            std::make_unique<VirtualMonitor>("RIGHT", PixelRect{300, 0, 500, 600}, true, another.display());
        const Display display = there.shareableContent().displays.at(0);
        ASSERT_EQ(display.name, "RIGHT");
        Recording recording(there, DisplayContentFilter{display, {}}, configurationFor(500, 600));
        ASSERT_TRUE(recording.waitForFrames(1));
        if (isRemoved) monitor.reset();
        shrinkScreen(connection);
        ASSERT_TRUE(recording.waitForError());
        EXPECT_THAT(
            recording.errors(),
            testing::ElementsAre(testing::HasSubstr(isRemoved ? "\"RIGHT\" is no longer connected"
                                                              : "\"RIGHT\" lies outside the screen")));
        EXPECT_TRUE(recording.stop());
    }
}

TEST_F(ServerLossTest, StoppingAtAnyMomentEndsTheThread) {
    const Display display = service.shareableContent().displays.at(0);
    for (int i = 0; i < 30; ++i) {
        SerialQueue queue("cobaltreel.test.brief");
        const auto stream =
            service.makeStream(DisplayContentFilter{display, {}}, configurationFor(800, 600), {});
        stream->addOutput(StreamOutputType::screen, queue, [](const CapturedSample&) {});
        if (i % 3 != 0) stream->startCapture([](const auto&) {});
        if (i % 2 != 0) stream->stopCapture([](const auto&) {});
    }
}

}  // namespace platform::test
