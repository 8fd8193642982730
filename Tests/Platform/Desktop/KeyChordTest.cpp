// The hot key on a real X server, pressed by the server's own test input.
#include "Fakes/VirtualTime.hpp"
#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Xcb/XcbKeyboard.hpp"

#include <cstdlib>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

namespace platform::test {
namespace {

constexpr KeyChord chord{.digit = 2, .command = true, .option = true};
// X11/keysymdef.h
constexpr xcb_keysym_t alt = 0xffe9, super = 0xffeb, shift = 0xffe1, control = 0xffe3, capsLock = 0xffe5,
                       numLock = 0xff7f, menu = 0xff67;

class KeyChordTest : public ::testing::Test {
  protected:
    void key(xcb_keycode_t keycode, bool down) {
        fakeInput(connection_, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode);
    }
    void tap(xcb_keysym_t keysym) {
        key(keycodesOf(connection_, keysym).at(0), true);
        key(keycodesOf(connection_, keysym).at(0), false);
    }
    void press(const std::vector<xcb_keysym_t>& modifiers, xcb_keycode_t keycode) {
        // No finger releases a key and presses it again within the server's millisecond.
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        for (const auto modifier : modifiers) key(keycodesOf(connection_, modifier).at(0), true);
        key(keycode, true);
        key(keycode, false);
        for (const auto modifier : modifiers) key(keycodesOf(connection_, modifier).at(0), false);
    }
    /// Does something while the chord is held down, and presses it once more.
    void whileHeld(const std::function<void()>& meanwhile) {
        for (const auto modifier : {alt, super}) key(keycodesOf(connection_, modifier).at(0), true);
        key(two_, true);
        meanwhile();
        key(two_, false);
        for (const auto modifier : {alt, super}) key(keycodesOf(connection_, modifier).at(0), false);
        press({alt, super}, two_);
    }
    bool pressesBecome(int count) {
        return loop_->eventually([&] { return presses_ == count; });
    }

    XcbConnection connection_;
    std::shared_ptr<VirtualTime> loop_ = std::make_shared<VirtualTime>();
    XcbKeyGrabber keys_{loop_};
    int presses_ = 0;
    std::unique_ptr<KeyGrab> grab_ = keys_.grabChord(chord, [this] { ++presses_; });
    const xcb_keycode_t two_ = keycodeOfDigit(2);
};

TEST_F(KeyChordTest, OnlyTheChordItselfCountsWhateverTheLockKeysSay) {
    int expected = 0;
    const auto pressed = [&](const std::vector<xcb_keysym_t>& modifiers) {
        press(modifiers, two_);
        return pressesBecome(++expected);
    };
    EXPECT_TRUE(pressed({alt, super}));
    for (const xcb_keysym_t lock : {numLock, capsLock}) {
        tap(lock);
        EXPECT_TRUE(pressed({super, alt})) << lock;
    }
    for (const auto& other :
         {std::vector<xcb_keysym_t>{}, {alt}, {super}, {alt, super, shift}, {alt, super, control}})
        press(other, two_);
    press({alt, super}, keycodeOfDigit(3));
    EXPECT_TRUE(pressed({alt, super})) << "both locks on; nothing else has counted";
    tap(numLock);
    tap(capsLock);
}

TEST_F(KeyChordTest, AHeldKeyIsOnePress) {
    ASSERT_EQ(std::system("xset r rate 50 50"), 0);
    // A finger that stays.
    whileHeld([] { std::this_thread::sleep_for(std::chrono::milliseconds(400)); });
    EXPECT_TRUE(pressesBecome(2));
    std::system("xset r rate");
}

TEST_F(KeyChordTest, OtherKeysBesideAHeldChordAreNoPress) {
    whileHeld([this] {
        for (const int digit : {3, 4}) {
            key(keycodeOfDigit(digit), true);
            key(keycodeOfDigit(digit), false);
        }
    });
    EXPECT_TRUE(pressesBecome(2));
}

TEST_F(KeyChordTest, ItCountsThoughAnotherProgramHasOneOfItsModifiers) {
    // As window managers do whose menu opens with it.
    XcbConnection manager;
    const xcb_keycode_t superKey = keycodesOf(connection_, super).at(0);
    ASSERT_TRUE(manager.succeeded(xcb_grab_key_checked(manager.get(), 0, manager.root(), XCB_MOD_MASK_ANY,
                                                       superKey, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    press({alt, super}, two_);
    EXPECT_TRUE(pressesBecome(1));
    press({super}, two_);
    press({alt, super, shift}, two_);
    press({super, alt}, two_);
    EXPECT_TRUE(pressesBecome(2));
}

TEST_F(KeyChordTest, TheKeyIsThePlaceOnTheKeyboardNotWhatItTypes) {
    ASSERT_EQ(std::system("setxkbmap il"), 0);
    press({alt, super}, two_);
    EXPECT_TRUE(pressesBecome(1)) << "Hebrew alone";
    ASSERT_EQ(std::system("setxkbmap us,il -option grp:menu_toggle"), 0);
    tap(menu);
    press({alt, super}, two_);
    EXPECT_TRUE(pressesBecome(2)) << "Hebrew as the second layout";
    ASSERT_EQ(std::system("setxkbmap us -option"), 0);
}

TEST_F(KeyChordTest, OneProgramHasItAtATime) {
    XcbKeyGrabber other(loop_);
    try {
        other.grabChord(chord, [] {});
        FAIL() << "two programs have it";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.description(), testing::HasSubstr("Alt+Super+2"));
    }
    grab_.reset();
    int others = 0;
    const auto taken = other.grabChord(chord, [&] { ++others; });
    press({alt, super}, two_);
    EXPECT_TRUE(loop_->eventually([&] { return others == 1; }));
    EXPECT_EQ(presses_, 0);
}

}  // namespace
}  // namespace platform::test
