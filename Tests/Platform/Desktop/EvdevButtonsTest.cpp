#include "Platform/Desktop/Evdev/EvdevButtons.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <array>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

/// A mouse that a test holds: what the kernel would say, through a pipe.
class EvdevButtonsTest : public testing::Test {
  protected:
    EvdevButtonsTest() {
        EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        mouse = UniqueFd(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
    }

    static input_event event(int type, int code, int value) {
        input_event made{};
        made.type = static_cast<std::uint16_t>(type);
        made.code = static_cast<std::uint16_t>(code);
        made.value = value;
        return made;
    }
    void send(const void* bytes, std::size_t size) {
        ASSERT_EQ(write(mouse.get(), bytes, size), static_cast<ssize_t>(size));
    }
    void send(const input_event& sent) { send(&sent, sizeof sent); }

    static bool waitFor(EvdevButtons& buttons, std::int64_t expected) {
        return eventually([&] { return buttons.take() == expected; });
    }

    const rig::TemporaryFolder folder;
    const fs::path pipe = folder / "mouse";
    UniqueFd mouse;
};

TEST_F(EvdevButtonsTest, TellsTheButtonsOfAMouse) {
    send(event(EV_KEY, BTN_LEFT, 1));  // before anyone listened
    EvdevButtons buttons("/nowhere", {pipe});
    EXPECT_FALSE(buttons.unavailable());
    EXPECT_EQ(buttons.take(), 0);

    send(event(EV_KEY, BTN_LEFT, 1));
    EXPECT_TRUE(waitFor(buttons, 1));
    send(event(EV_REL, REL_X, 5));
    send(event(EV_KEY, KEY_A, 1));
    send(event(EV_KEY, BTN_RIGHT, 1));
    EXPECT_TRUE(waitFor(buttons, 3));
    send(event(EV_KEY, BTN_LEFT, 0));
    EXPECT_TRUE(waitFor(buttons, 2));
    send(event(EV_SYN, SYN_DROPPED, 0));
    EXPECT_TRUE(waitFor(buttons, 0)) << "a mouse that cannot be asked has nothing down";
}

TEST_F(EvdevButtonsTest, AClickBetweenTwoQuestionsIsSeenOnceEvenInPieces) {
    EvdevButtons buttons("/nowhere", {pipe});
    const std::array<input_event, 3> click{event(EV_KEY, BTN_MIDDLE, 1), event(EV_KEY, BTN_MIDDLE, 0),
                                           event(EV_KEY, BTN_SIDE, 1)};
    const auto* bytes = reinterpret_cast<const char*>(click.data());
    send(bytes, 7);
    send(bytes + 7, sizeof click - 7);
    std::int64_t seen = 0;
    EXPECT_TRUE(eventually([&] { return (seen |= buttons.take()) == 12; })) << seen;
    EXPECT_EQ(buttons.take(), 8) << "the side button is still held";
}

TEST_F(EvdevButtonsTest, AMouseThatGoesLetsGoOfItsButtons) {
    EvdevButtons buttons("/nowhere", {pipe});
    send(event(EV_KEY, BTN_LEFT, 1));
    ASSERT_TRUE(waitFor(buttons, 1));
    mouse.reset();
    EXPECT_TRUE(waitFor(buttons, 0));
    EXPECT_TRUE(buttons.unavailable());
}

TEST_F(EvdevButtonsTest, SaysWhatItCostsWhenThereIsNothingToRead) {
    EvdevButtons buttons(folder.path());  // a pipe that is no device
    const auto reason = buttons.unavailable();
    ASSERT_TRUE(reason);
    EXPECT_NE(reason->description().find("no zoom"), std::string::npos);
    EXPECT_NE(reason->description().find("sudo"), std::string::npos);
    EXPECT_EQ(buttons.take(), 0);
}

}  // namespace
}  // namespace platform
