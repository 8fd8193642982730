#include "Platform/Capture/Portal/PortalHarness.hpp"

#include <csignal>

#include <gmock/gmock.h>

namespace platform::test {
namespace {

using testing::HasSubstr;

TEST(NoPortal, IsSaidWithTheRemedy) {
    PortalServices services;
    try {
        services.capture.shareableContent();
        FAIL() << "there is something to record";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.description(), HasSubstr("Install xdg-desktop-portal"));
    }
    std::shared_ptr<ContentGrant> grant;
    EXPECT_TRUE(services.choose(ContentKind::display, 1, grant));
    EXPECT_FALSE(grant);
}

TEST(EmbeddedPointer, LeavesItsPlaceUnknown) {
    PortalServices services;
    std::shared_ptr<ContentGrant> grant;
    ASSERT_FALSE(services.choose(ContentKind::display, 1, grant));
    EXPECT_THAT(services.capture.implementation(), HasSubstr("pointer embedded"));
    Take take(services, DisplayContentFilter{services.capture.shareableContent().displays.at(0), {}});
    callPerson("Move", {640.0, 300.0});
    callPerson("Move", {641.0, 301.0});
    EXPECT_TRUE(take.waitForPicture([](const PixelBuffer& picture) {
        const std::uint32_t body = colorAt(picture, 644, 308);
        return (body & 0xff) == (body >> 16);
    })) << "it is in the picture all the same";
    EXPECT_FALSE(services.screen->pointer(HostClock().now()));
    const PointerState state = services.desktop.pointer();
    EXPECT_LT(state.x, 0);
    EXPECT_EQ(state.buttons, 0);
}

TEST(MediaServerEnds, AndTheTakeIsTold) {
    PortalServices services;
    std::shared_ptr<ContentGrant> grant;
    ASSERT_FALSE(services.choose(ContentKind::display, 1, grant));
    Take take(services, DisplayContentFilter{services.capture.shareableContent().displays.at(0), {}});
    ASSERT_TRUE(take.waitForFrames(1));
    kill(std::atoi(std::getenv("COBALTREEL_RIG_MEDIA")), SIGUSR1);
    ASSERT_TRUE(take.waitForError());
    EXPECT_THAT(take.errors()[0], HasSubstr("What was recorded so far is kept."));
}

}  // namespace
}  // namespace platform::test
