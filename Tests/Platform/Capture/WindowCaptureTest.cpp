#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

constexpr std::uint32_t red = 0xcc2020, blue = 0x2030dd, green = 0x20bb40;

class WindowCaptureTest : public ::testing::Test {
  protected:
    WindowCaptureTest() : window_(connection_, 200, 150, 320, 240, {red, false, "Recorded"}) {
        window_.show();
        const auto isListed = [this] { return find().has_value(); };
        EXPECT_TRUE(eventually(isListed));
    }
    std::optional<Window> find() {
        const auto windows = service_.shareableContent().windows;
        const auto found = std::find_if(windows.begin(), windows.end(),
                                        [this](const Window& each) { return each.windowID == window_.id(); });
        return found == windows.end() ? std::nullopt : std::optional(*found);
    }
    std::unique_ptr<Recording> record(int width = 0, int height = 0) {
        const Window window = *find();
        auto configuration = configurationFor(width > 0 ? width : static_cast<int>(window.frame.w),
                                              height > 0 ? height : static_cast<int>(window.frame.h));
        configuration.showsCursor = showsCursor_;
        return std::make_unique<Recording>(service_, WindowContentFilter{window}, configuration);
    }
    static bool showsAt(Recording& recording, double x, double y, std::uint32_t color) {
        return recording.waitForPicture([=](const PixelBuffer& picture) {
            return colorAt(picture, static_cast<int>(x * picture.width()),
                           static_cast<int>(y * picture.height())) == color;
        });
    }

    XcbConnection connection_;
    XcbScreenCaptureService service_;
    ColorWindow window_;
    bool showsCursor_ = false;
};

}  // namespace

TEST_F(WindowCaptureTest, FitsAResizedWindowIntoTheConfiguredSize) {
    const auto recording = record();
    ASSERT_TRUE(showsAt(*recording, 0.5, 0.5, red));
    const int width = recording->latest()->width(), height = recording->latest()->height();
    window_.resize(600, 150);
    window_.paint(blue);
    EXPECT_TRUE(recording->waitForPicture([](const PixelBuffer& picture) {
        const int middle = picture.width() / 2;
        return isNear(colorAt(picture, middle, picture.height() / 2), blue) &&
               colorAt(picture, middle, 2) == 0 && colorAt(picture, middle, picture.height() - 3) == 0;
    }));
    EXPECT_EQ(recording->latest()->width(), width);
    EXPECT_EQ(recording->latest()->height(), height);
}

TEST_F(WindowCaptureTest, KeepsStillWhileIconifiedAndGoesOnAfter) {
    const auto recording = record();
    ASSERT_TRUE(showsAt(*recording, 0.5, 0.5, red));
    constexpr std::uint32_t iconic = 3;
    sendToManager(connection_, window_.id(), "WM_CHANGE_STATE", {iconic});
    ASSERT_TRUE(eventually([this] { return !window_.isViewable(); }));
    EXPECT_FALSE(find()->isOnScreen);
    const std::size_t before = recording->settle();
    window_.paint(blue);
    EXPECT_EQ(recording->settle(), before);
    EXPECT_THAT(recording->errors(), testing::IsEmpty());
    EXPECT_THAT(record()->startError(), testing::HasSubstr("not shown at the moment"));
    window_.show();
    EXPECT_TRUE(showsAt(*recording, 0.5, 0.5, blue));
}

TEST_F(WindowCaptureTest, EndsOnceWithAClearErrorWhenTheWindowGoes) {
    for (const bool isClosed : {false, true}) {
        window_.show();
        const auto recording = record();
        ASSERT_TRUE(recording->waitForFrames(1));
        if (isClosed) xcb_destroy_window(connection_.get(), window_.id());
        isClosed ? window_.settle() : window_.hide();
        ASSERT_TRUE(recording->waitForError());
        recording->settle();
        EXPECT_THAT(recording->errors(),
                    testing::ElementsAre(isClosed ? "The window \"Recorded\" was closed."
                                                  : "The window \"Recorded\" was hidden by its program."));
        EXPECT_TRUE(recording->stop());
    }
}

TEST_F(WindowCaptureTest, TakesWindowsOfAnySize) {
    for (const auto& [width, height] : {std::pair(1, 1), std::pair(7, 900), std::pair(3000, 2000)}) {
        ColorWindow odd(connection_, -20, -10, width, height, {green, true, "Odd"});
        odd.show();
        Window window;
        window.windowID = odd.id();
        window.frame = {-20, -10, static_cast<double>(width), static_cast<double>(height)};
        StreamConfiguration configuration = configurationFor(width + width % 2, height + height % 2);
        configuration.acceptsPlanar = true;
        Recording recording(service_, WindowContentFilter{window}, configuration);
        // Green but for what the screen does not show, of which nobody has painted anything: there the
        // window's background is.
        EXPECT_TRUE(recording.waitForPicture([&](const PixelBuffer& picture) {
            PixelBuffer colors(PixelFormat::bgra, picture.width(), picture.height());
            convertPixels(picture, colors);
            return isNear(colorAt(colors, 0, 0), green) &&
                   isNear(colorAt(colors, picture.width() - 1, picture.height() - 1), green);
        })) << width
            << " x " << height;
        EXPECT_THAT(recording.errors(), testing::IsEmpty());
    }
}

TEST_F(WindowCaptureTest, TakesATranslucentWindowAsOnBlack) {
    xcb_visualid_t visual = XCB_NONE;
    for (auto each = xcb_screen_allowed_depths_iterator(&connection_.screen()); each.rem > 0;
         xcb_depth_next(&each))
        if (each.data->depth == 32 && each.data->visuals_len > 0)
            visual = xcb_depth_visuals(each.data)->visual_id;
    ASSERT_NE(visual, XCB_NONE);
    xcb_connection_t* c = connection_.get();
    const xcb_colormap_t colors = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colors, connection_.root(), visual);
    const xcb_window_t id = xcb_generate_id(c);
    const std::uint32_t values[] = {0x80002000U, 0, 1, colors};
    xcb_create_window(
        c, 32, id, connection_.root(), 50, 50, 100, 80, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
    xcb_map_window(c, id);
    window_.settle();
    Window window;
    window.windowID = id;
    window.frame = {50, 50, 100, 80};
    {
        Recording recording(service_, WindowContentFilter{window}, configurationFor(100, 80));
        EXPECT_TRUE(showsAt(recording, 0.5, 0.5, 0x002000));
    }
    xcb_destroy_window(c, id);
    window_.settle();
}

TEST_F(WindowCaptureTest, LeavesOutTheInvisibleShadowAndKeepsOddSizesSharp) {
    const Window whole = *find();
    window_.setCardinals("_GTK_FRAME_EXTENTS", {10, 11, 5, 6});
    const Window cut = *find();
    EXPECT_EQ(cut.frame.x, whole.frame.x + 10);
    EXPECT_EQ(cut.frame.y, whole.frame.y + 5);
    EXPECT_EQ(cut.frame.w, whole.frame.w - 21);
    EXPECT_EQ(cut.frame.h, whole.frame.h - 11);
    const int width = static_cast<int>(cut.frame.w), height = static_cast<int>(cut.frame.h);
    const auto recording = record(width + width % 2, height + height % 2);
    EXPECT_TRUE(recording->waitForPicture([](const PixelBuffer& picture) {
        return colorAt(picture, picture.width() - 1, picture.height() / 2) == red &&
               colorAt(picture, 0, picture.height() / 2) == red;
    }));
}

TEST_F(WindowCaptureTest, DrawsThePointerOnlyInsideTheWindow) {
    showsCursor_ = true;
    const auto recording = record();
    const Rect frame = find()->frame;
    const auto moveTo = [this](double x, double y) {
        movePointer(connection_, static_cast<int>(x), static_cast<int>(y));
    };
    const auto foreignPixels = [](const PixelBuffer& picture) {
        int count = 0;
        for (int y = picture.height() / 2; y < picture.height() - 10; ++y)
            for (int x = 10; x < picture.width() - 10; ++x) count += colorAt(picture, x, y) != red ? 1 : 0;
        return count;
    };
    ASSERT_TRUE(recording->waitForFrames(1));
    moveTo(frame.x + frame.w / 2, frame.y + frame.h * 0.7);
    EXPECT_TRUE(recording->waitForPicture([&](const PixelBuffer& p) { return foreignPixels(p) > 20; }));
    moveTo(frame.maxX() + 200, frame.maxY() + 100);
    EXPECT_TRUE(recording->waitForPicture([&](const PixelBuffer& p) { return foreignPixels(p) == 0; }));
}

}  // namespace platform::test
