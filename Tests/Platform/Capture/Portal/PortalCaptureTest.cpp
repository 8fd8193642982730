#include "Platform/Capture/Portal/PortalHarness.hpp"
#include "Platform/Desktop/Portal/PortalKeys.hpp"

#include <cmath>
#include <thread>

#include <linux/input.h>

namespace platform::test {
namespace {

constexpr std::uint32_t usual = PortalScreenCapture::usualID, anew = PortalScreenCapture::anewID;
constexpr std::uint32_t pageColor = 0xf4f1e8;  // of the scene's notes

int asked() { return callPerson("Asked").value(0).toInt(); }

class PortalCapture : public testing::Test {
  protected:
    void TearDown() override { callPerson("Answer", {QStringLiteral("accept")}); }

    DisplayContentFilter chooseDisplay(std::uint32_t id = usual) {
        const auto failure = services.choose(ContentKind::display, id, grant);
        EXPECT_FALSE(failure) << failure->description();
        return {services.capture.shareableContent().displays.at(0), {}};
    }

    /// The pointer as a recording hears of it: asked for sixty times a second.
    bool pointerBecomes(const std::function<bool(const PointerState&)>& isRight) {
        return eventually([&] { return isRight(services.desktop.pointer()); },
                          [] {
                              cobaltreel::runQtEvents();
                              std::this_thread::sleep_for(std::chrono::milliseconds(15));
                          });
    }

    PortalServices services;
    std::shared_ptr<ContentGrant> grant;
};

TEST_F(PortalCapture, RecordsTheDisplayThatTheUserChose) {
    EXPECT_EQ(services.capture.shareableContent().displays.at(0).offer, Offer::chooser);
    EXPECT_TRUE(services.desktop.screens().empty()) << "nothing is known of the desktop before";
    const auto filter = chooseDisplay();
    EXPECT_EQ(filter.display.width(), 1280);
    EXPECT_EQ(filter.display.height(), 720);
    EXPECT_EQ(filter.display.scale, 1);
    ASSERT_EQ(services.desktop.screens().size(), 1U);

    Take take(services, filter);
    grant.reset();  // the stream goes on without it
    std::optional<std::uint32_t> first;
    ASSERT_TRUE(take.waitForPicture([&](const PixelBuffer& picture) {
        const auto counter = counterIn(picture, 1280, 720);
        if (!first) first = counter;
        return counter && counter > *first + 10 && colorAt(picture, 1100, 630) == pageColor;
    }));
    EXPECT_TRUE(take.isMonotonic());
    take.stop();
    const std::size_t frames = take.frames();
    EXPECT_TRUE(services.desktop.screens().empty());
    QCoreApplication::processEvents();
    EXPECT_EQ(take.frames(), frames);
}

TEST_F(PortalCapture, ThePointerIsDrawnAndKnownAndItsButtonsAreSeen) {
    Take take(services, chooseDisplay());
    callPerson("Move", {640.0, 300.0});
    callPerson("Move", {641.0, 301.0});
    // The arrow's body is dark with a light edge, on the desktop's blue.
    ASSERT_TRUE(take.waitForPicture([](const PixelBuffer& picture) {
        const std::uint32_t body = colorAt(picture, 644, 308);
        return (body & 0xff) == (body >> 16) && body != pageColor;
    }));
    EXPECT_TRUE(pointerBecomes([](const PointerState& state) {
        return state.x == 641 && std::abs(state.y - (720 - 301)) < 0.01 && state.buttons == 0;
    }));

    EXPECT_FALSE(services.buttons->unavailable());
    callPerson("Button", {BTN_RIGHT, true});
    EXPECT_TRUE(pointerBecomes([](const PointerState& state) { return state.buttons == 2; }));
    callPerson("Button", {BTN_RIGHT, false});
    EXPECT_TRUE(pointerBecomes([](const PointerState& state) { return state.buttons == 0; }));
}

TEST_F(PortalCapture, AsksOnceUnlessToldToAskAnew) {
    const int before = asked();
    chooseDisplay();
    EXPECT_EQ(asked(), before + 1);
    grant.reset();
    const auto content = services.capture.shareableContent();
    ASSERT_EQ(content.displays.size(), 2U);
    EXPECT_EQ(content.displays[0].offer, Offer::lastChoice);
    EXPECT_EQ(content.displays[1].offer, Offer::chooser);
    chooseDisplay();
    EXPECT_EQ(asked(), before + 1) << "as chosen last";
    chooseDisplay(anew);
    EXPECT_EQ(asked(), before + 2);

    grant.reset();
    services.defaults->setString("screenCastToken.display", "00000000-0000-0000-0000-000000000000");
    PortalServices later;
    later.defaults->strings = services.defaults->strings;
    EXPECT_FALSE(PortalScreenCapture(later.bus, later.mainLoop, later.screen, services.defaults)
                     .shareableContent()
                     .displays.empty());
    later.defaults->setString("screenCastToken.display", "no longer valid");
    EXPECT_FALSE(later.choose(ContentKind::display, usual, grant));
    EXPECT_EQ(asked(), before + 3) << "a choice that the desktop has forgotten is made anew";
}

TEST_F(PortalCapture, TheUsersNoIsTold) {
    callPerson("Answer", {QStringLiteral("cancel")});
    const auto cancelled = services.choose(ContentKind::display, anew, grant);
    ASSERT_TRUE(cancelled);
    EXPECT_EQ(cancelled->code(), choiceCancelled);
    callPerson("Answer", {QStringLiteral("refuse")});
    const auto refused = services.choose(ContentKind::display, anew, grant);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->code(), choiceRefused);
    EXPECT_THROW(services.capture.makeStream(DisplayContentFilter{}, {}, {}), PlatformError);
}

TEST_F(PortalCapture, EndsWhenTheDesktopStopsSharingAndCanBeginAnew) {
    for (int round = 0; round < 2; ++round) {
        Take take(services, chooseDisplay());
        grant.reset();
        ASSERT_TRUE(take.waitForFrames(1));
        callPerson("EndSharing");
        ASSERT_TRUE(take.waitForError());
        EXPECT_EQ(take.errorCode(), sharingEnded) << take.errors()[0];
    }
}

TEST_F(PortalCapture, TheChordComesByThePortal) {
    PortalKeys keys(services.bus, nullptr);
    int presses = 0, marks = 0;
    const auto chord = [](int digit, std::string_view name) {
        return KeyChord{.digit = digit, .command = true, .option = true, .identifier = name, .meaning = name};
    };
    auto grab = keys.grabChord(chord(2, "toggle"), [&] { ++presses; });
    auto other = keys.grabChord(chord(3, "mark"), [&] { ++marks; });
    // Until the desktop has bound the keys a press goes nowhere.
    const auto pressUntil = [&](const char* name, const int& count) {
        return cobaltreel::eventually([&] {
            callPerson("Press", {QString::fromLatin1(name)});
            return count > 0;
        });
    };
    EXPECT_TRUE(pressUntil("toggle", presses));
    EXPECT_TRUE(pressUntil("mark", marks));
    // Of the two the portal was asked in one; the one that stays still comes.
    other.reset();
    marks = presses = 0;
    callPerson("Press", {QStringLiteral("mark")});
    EXPECT_TRUE(pressUntil("toggle", presses));
    EXPECT_EQ(marks, 0);
    // Bound once more, as by the next start.
    grab.reset();
    grab = keys.grabChord(chord(2, "toggle"), [&] { ++presses; });
    other = keys.grabChord(chord(3, "mark"), [&] { ++marks; });
    EXPECT_TRUE(pressUntil("mark", marks)) << "the desktop knows the keys no more";
    EXPECT_THROW(keys.grabEscape([] {}), PlatformError) << "there are no windows";
}

TEST_F(PortalCapture, AFrameOfAnotherSizeHoldsTheWholeDisplay) {
    Take take(services, chooseDisplay(), 640, 400);
    callPerson("Move", {640.0, 360.0});
    ASSERT_TRUE(take.waitForPicture([](const PixelBuffer& picture) {
        return colorAt(picture, 320, 2) == 0 && colorAt(picture, 320, 398) == 0 &&
               colorAt(picture, 320, 200) != 0;
    }));
    EXPECT_TRUE(cobaltreel::eventually([&] {
        const auto spot = services.screen->pointer(HostClock().now());
        return spot && spot->x == 320 && spot->y == 200;
    }));
}

}  // namespace
}  // namespace platform::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
