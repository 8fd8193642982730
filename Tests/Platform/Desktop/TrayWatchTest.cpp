#include "Fakes/VirtualTime.hpp"
#include "Platform/Desktop/Xcb/XcbScreenAccess.hpp"
#include "Platform/Desktop/Xcb/XcbTrayWatch.hpp"

#include <optional>

#include <gtest/gtest.h>

namespace platform::test {

TEST(TrayWatchTest, TellsWhenATrayComesAndGoes) {
    const auto loop = std::make_shared<VirtualTime>();
    int changes = 0;
    XcbTrayWatch watch(*loop, [&] { ++changes; });
    EXPECT_FALSE(watch.hasTray());
    const auto changesBecome = [&](int count) { return loop->eventually([&] { return changes == count; }); };

    std::optional<XcbConnection> tray(std::in_place);
    const xcb_window_t window = xcb_generate_id(tray->get());
    xcb_create_window(tray->get(), 0, window, tray->root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0,
                      nullptr);
    xcb_set_selection_owner(tray->get(), window, tray->atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
    xcb_flush(tray->get());
    EXPECT_TRUE(changesBecome(1));
    EXPECT_TRUE(watch.hasTray());
    tray.reset();
    EXPECT_TRUE(changesBecome(2)) << "it crashed";
    EXPECT_FALSE(watch.hasTray());
}

TEST(ScreenAccessTest, IsWhatTheServerAllows) {
    EXPECT_TRUE(XcbScreenAccess().preflight());
    EXPECT_FALSE(XcbScreenAccess(":4711").preflight()) << "no such server";
}

}  // namespace platform::test
