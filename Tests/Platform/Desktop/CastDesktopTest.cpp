#include "Fakes/FakePointerButtons.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Desktop/Portal/CastDesktop.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

constexpr double tick = 1.0 / 60;

class CastDesktopTest : public testing::Test {
  protected:
    /// The desktop's answers of one tick after the other, until so many seconds have passed.
    PointerState after(double seconds) {
        PointerState state;
        for (double passed = 0; passed < seconds; passed += tick) {
            time->stall(tick);
            state = desktop.pointer();
        }
        return state;
    }

    std::shared_ptr<VirtualTime> time = std::make_shared<VirtualTime>();
    std::shared_ptr<CastScreen> screen = std::make_shared<CastScreen>();
    std::shared_ptr<FakePointerButtons> buttons = std::make_shared<FakePointerButtons>();
    CastDesktop desktop{screen, buttons, time};
};

TEST_F(CastDesktopTest, PlacesThePointerOnAScaledDisplayThatIsNotTheFirst) {
    screen->setPlace(CastScreen::Place{1, {1920, 200, 1280, 720}, 1.5, false});
    screen->setPointer(CastScreen::Spot{150, 300}, 0);
    const Screen only = desktop.screens().at(0);
    const PointerState state = desktop.pointer();
    // As the export reads it: pixels from the display's left and top edges.
    EXPECT_NEAR((state.x - only.frame.x) * only.backingScaleFactor, 150, 0.01);
    EXPECT_NEAR((only.frame.h - (state.y - only.frame.y)) * only.backingScaleFactor, 300, 0.01);
    EXPECT_FALSE(desktop.windowBounds(1));
}

TEST_F(CastDesktopTest, AWindowStandsAtTheOrigin) {
    screen->setPlace(CastScreen::Place{1, {0, 0, 800, 600}, 1, true});
    screen->setPointer(CastScreen::Spot{10, 20}, 0);
    const auto bounds = desktop.windowBounds(7);
    ASSERT_TRUE(bounds);
    const PointerState state = desktop.pointer();
    EXPECT_NEAR(state.x - bounds->x, 10, 0.01);
    EXPECT_NEAR(desktop.screens().at(0).frame.h - state.y - bounds->y, 20, 0.01);
}

TEST_F(CastDesktopTest, AButtonMeetsThePlaceThatThePictureTellsLater) {
    screen->setPlace(CastScreen::Place{1, {0, 0, 800, 600}, 1, false});
    screen->setPointer(CastScreen::Spot{10, 20}, 0);
    buttons->down = 1;
    EXPECT_EQ(after(tick).buttons, 0);
    const double pressed = time->now();
    buttons->down = 0;  // a click of one tick
    // The picture that tells that it has moved on meanwhile comes three ticks later.
    screen->setPointer(CastScreen::Spot{90, 20}, pressed + tick);
    PointerState seen;
    for (int i = 0; i < 10; ++i)
        if (const PointerState state = after(tick); state.buttons != 0) {
            EXPECT_EQ(seen.buttons, 0) << "a single one";
            seen = state;
            EXPECT_NEAR(time->now() - state.delay, pressed, tick + 1e-9);
        }
    EXPECT_EQ(seen.buttons, 1) << "however short";
    EXPECT_EQ(seen.x, 10) << "where it was pressed";
    EXPECT_EQ(desktop.pointer().x, 90);
}

TEST_F(CastDesktopTest, WithoutAKnownPlaceThereIsNoClick) {
    buttons->down = 1;
    EXPECT_EQ(after(0.2).buttons, 0) << "nothing is shared";
    screen->setPlace(CastScreen::Place{1, {0, 0, 800, 600}, 1, false});
    EXPECT_EQ(after(0.2).buttons, 0) << "the pointer is elsewhere";
    EXPECT_LT(desktop.pointer().x, 0);
}

}  // namespace
}  // namespace platform
