#include "CoordinatorHarness.hpp"

namespace cobaltreel {
namespace {

using platform::PlatformError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A desktop that lets the user choose in a dialog of its own, and cannot leave windows out of a picture.
class AskedContentTest : public CoordinatorTest {
  protected:
    AskedContentTest() {
        screenCapture->hostTraits = {true, false};
        choose();
    }
};

TEST_F(AskedContentTest, AsksBeforeTheCountdownAndHoldsTheGrantUntilTheStreamIsMade) {
    press();
    EXPECT_THAT(screenCapture->grantRequests, ElementsAre(platform::ContentKind::display));
    EXPECT_FALSE(screenCapture->grant.expired());
    countdown->complete();
    ASSERT_TRUE(reaches(State::recording));
    EXPECT_TRUE(eventually([&] { return screenCapture->grant.expired(); }))
        << "the stream holds what it needs";
    EXPECT_TRUE(coordinator->recordsOwnWindows());
    EXPECT_FALSE(bubble->isShown) << "it would be in the picture";
    stop();

    coordinator->setMode(CaptureMode::window);
    record();
    EXPECT_EQ(screenCapture->grantRequests.back(), platform::ContentKind::window);
    EXPECT_FALSE(coordinator->recordsOwnWindows());
    EXPECT_TRUE(bubble->isShown);
    stop();
}

TEST_F(AskedContentTest, AClosedDialogIsNoFailureARefusalIsOne) {
    const struct {
        int code;
        bool isSaid;
    } cases[] = {{platform::choiceCancelled, false}, {platform::choiceRefused, true}};
    for (const auto& each : cases) {
        alerts->alerts.clear();
        screenCapture->grantError = PlatformError("ScreenCapture", each.code, "the desktop said no");
        coordinator->toggle();
        ASSERT_TRUE(reaches(State::idle));
        EXPECT_EQ(!messages().empty(), each.isSaid);
        EXPECT_FALSE(countdown->isRunning());
    }
    EXPECT_EQ(alerts->alerts.at(0).informativeText, "the desktop said no");
    EXPECT_THAT(folders(), IsEmpty());
}

TEST_F(AskedContentTest, TheDesktopsOwnStopCompletesTheTakeAndIsSaid) {
    record();
    stream().deliverFrame(time->now());
    stream().stopByItself(PlatformError("ScreenCapture", platform::sharingEnded, "stopped in the desktop"));
    ASSERT_TRUE(reaches(State::idle));
    ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
    EXPECT_THAT(messages(), ElementsAre(S::sharingEnded()));
    EXPECT_TRUE(coordinator->meta()->recordingEndHostTime);
}

}  // namespace
}  // namespace cobaltreel
