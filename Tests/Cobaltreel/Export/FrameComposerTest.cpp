#include "Cobaltreel/Export/FrameComposer.hpp"
#include "Fakes/FakeVision.hpp"
#include "Platform/Imaging/RenderContext.hpp"

#include <cmath>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::Image;
using platform::PixelBuffer;
using platform::PixelFormat;

struct Pixel {
    int red, green, blue;
    friend bool operator==(const Pixel&, const Pixel&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Pixel& p) {
        return out << '(' << p.red << ", " << p.green << ", " << p.blue << ')';
    }
};

/// A picture painted by a function of the position, origin top left.
template <typename Paint>
ConstPixelBufferRef picture(int width, int height, Paint paint) {
    auto buffer = std::make_shared<PixelBuffer>(PixelFormat::bgra, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Pixel p = paint(x, y);
            auto* at = buffer->plane().data + y * buffer->plane().stride + 4 * x;
            at[0] = static_cast<std::uint8_t>(p.blue);
            at[1] = static_cast<std::uint8_t>(p.green);
            at[2] = static_cast<std::uint8_t>(p.red);
            at[3] = 255;
        }
    return buffer;
}

ConstPixelBufferRef plain(int width, int height, Pixel color) {
    return picture(width, height, [=](int, int) { return color; });
}

class FrameComposerTest : public testing::Test {
  protected:
    FrameComposerTest() {
        plan.meta.captureWidthPx = plan.wOut = 320;
        plan.meta.captureHeightPx = plan.hOut = 180;
        plan.meta.cameraEnabled = true;
        plan.meta.bubbleSizeFraction = 0.25;
        plan.options.autoZoom = plan.options.bubble = plan.options.clickRipples = false;
    }

    FrameComposer makeComposer() {
        FrameComposer composer(plan, vision);
        composer.makeBubbleStatics(composer.overlayHeight());
        return composer;
    }
    void render(const Image& image) { rendered = context.makeBitmap(image, plan.wOut, plan.hOut); }
    /// The rendered pixel, origin top left.
    Pixel at(int x, int y) const {
        const auto* p = rendered->plane().data + y * rendered->plane().stride + 4 * x;
        return {p[2], p[1], p[0]};
    }
    static bool near(const Pixel& a, const Pixel& b, int tolerance = 3) {
        return std::abs(a.red - b.red) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
               std::abs(a.blue - b.blue) <= tolerance;
    }

    FrameComposer::Plan plan;
    std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
    platform::RenderContext context;
    platform::PixelBufferRef rendered;
};

constexpr Pixel red{200, 20, 20}, green{20, 200, 20}, blue{20, 20, 200}, white{250, 250, 250},
    grey{90, 90, 90};

/// One color a quarter: red top left, green top right, blue bottom left, white bottom right.
ConstPixelBufferRef quarters(int width, int height) {
    return picture(width, height, [=](int x, int y) {
        const bool right = x >= width / 2, low = y >= height / 2;
        return low ? (right ? white : blue) : (right ? green : red);
    });
}

TEST_F(FrameComposerTest, ZoomShowsTheCroppedQuarter) {
    auto composer = makeComposer();
    render(composer.compose(quarters(320, 180), nullptr, 0));
    EXPECT_EQ(at(10, 10), red);
    EXPECT_EQ(at(310, 10), green);
    EXPECT_EQ(at(10, 170), blue);
    EXPECT_EQ(at(310, 170), white);

    plan.options.autoZoom = true;
    // Centre of the top right quarter, held from the beginning.
    plan.zoomMoves = {{-1, 0, {1, 160, 90}, {2, 240, 45}}};
    auto zoomed = makeComposer();
    render(zoomed.compose(quarters(320, 180), nullptr, 1));
    for (const auto& [x, y] : {std::pair(4, 4), {315, 4}, {4, 175}, {315, 175}})
        EXPECT_TRUE(near(at(x, y), green)) << at(x, y);
}

TEST_F(FrameComposerTest, APictureCodedOnePixelLargerStaysAtTheTopLeft) {
    plan.meta.captureWidthPx = 319;
    plan.meta.captureHeightPx = 179;
    plan.wOut = 318;
    plan.hOut = 178;
    auto composer = makeComposer();
    const auto coded = picture(320, 180, [](int, int y) { return y == 0 ? red : y >= 179 ? white : grey; });
    render(composer.compose(coded, nullptr, 0));
    EXPECT_TRUE(near(at(100, 0), red, 6)) << at(100, 0);
    EXPECT_TRUE(near(at(100, 177), grey, 6)) << "the repeated line is not shown: " << at(100, 177);

    // A movie of quite another size is fitted.
    render(composer.compose(quarters(160, 90), nullptr, 0));
    EXPECT_TRUE(near(at(10, 10), red));
    EXPECT_TRUE(near(at(300, 170), white));
}

TEST_F(FrameComposerTest, RipplesGrowFadeAndFollowTheZoom) {
    plan.options.clickRipples = true;
    plan.preparedClicks = {{1.0, 160, 90}, {5.0, 240, 45}};
    plan.hOut = 1080;
    plan.wOut = 1920;
    auto composer = makeComposer();
    const auto screen = plain(320, 180, {0, 0, 0});

    render(composer.compose(screen, nullptr, 0.99));
    EXPECT_EQ(at(960, 540), (Pixel{0, 0, 0}));
    // Half way: radius 36, fill at alpha 0.175, white edge at alpha 0.4.
    render(composer.compose(screen, nullptr, 1.2));
    EXPECT_TRUE(near(at(960, 540), {37, 28, 4})) << at(960, 540);
    EXPECT_GT(at(960 + 36, 540).blue, 80);
    EXPECT_EQ(at(960 + 42, 540), (Pixel{0, 0, 0}));
    // A click in the middle of the upper right quarter is above and right of the middle.
    render(composer.compose(screen, nullptr, 5.1));
    EXPECT_GT(at(1440, 270).red, 20);
    // Fully faded, and over.
    render(composer.compose(screen, nullptr, 1.4));
    EXPECT_TRUE(near(at(960, 540), {0, 0, 0}, 1));
    EXPECT_FALSE(FrameComposer::rippleOverlay({}, 1920, 1080));

    plan.options.autoZoom = true;
    plan.zoomMoves = {{-1, 0, {1, 160, 90}, {2, 240, 45}}};
    auto zoomed = makeComposer();
    render(zoomed.compose(screen, nullptr, 5.2));
    EXPECT_GT(at(960, 540).red, 20) << "the clicked pixel is now in the middle";
}

TEST_F(FrameComposerTest, TheBubbleSitsInItsCornerWithRingAndMask) {
    plan.options.bubble = true;
    plan.wOut = 640;
    plan.hOut = 360;
    const auto screen = plain(320, 180, grey);
    // The camera's sides are cut off to a square: only its middle is green.
    const auto camera = picture(160, 90, [](int x, int) { return x >= 35 && x < 125 ? green : red; });
    struct Case {
        CameraCorner corner;
        double x, y;  // centre of the bubble, top-left origin
    };
    const double d = 90, m = 10.8;
    for (const Case& c : {Case{CameraCorner::bottomLeft, m + d / 2, 360 - m - d / 2},
                          {CameraCorner::bottomRight, 640 - m - d / 2, 360 - m - d / 2},
                          {CameraCorner::topLeft, m + d / 2, m + d / 2},
                          {CameraCorner::topRight, 640 - m - d / 2, m + d / 2}}) {
        plan.meta.cameraCorner = c.corner;
        auto composer = makeComposer();
        render(composer.compose(screen, camera, 0));
        const int x = static_cast<int>(c.x), y = static_cast<int>(c.y);
        EXPECT_TRUE(near(at(x, y), green)) << at(x, y);
        EXPECT_TRUE(near(at(x - 38, y), green)) << at(x - 38, y);
        // The ring: the highlight color at nine tenths.
        const Pixel ring = at(x + 43, y);
        EXPECT_GT(ring.red, 150) << ring;
        EXPECT_LT(ring.blue, 90) << ring;
        EXPECT_EQ(at(x > 320 ? 100 : 540, y > 180 ? 60 : 300), grey) << "far from it nothing changes";
        // The shadow darkens more below than above.
        EXPECT_LT(at(x, y + 50).red, at(x, y - 50).red);
    }
    render(makeComposer().compose(screen, nullptr, 0));
    EXPECT_EQ(at(60, 300), grey) << "no camera frame yet";
    plan.meta.cameraEnabled = false;
    render(makeComposer().compose(screen, camera, 0));
    EXPECT_EQ(at(60, 300), grey) << "a session without a camera";
}

TEST_F(FrameComposerTest, ATinyOverlayIsNotDrawn) {
    plan.options.bubble = true;
    plan.meta.bubbleSizeFraction = 0.004;
    auto composer = makeComposer();
    EXPECT_FALSE(composer.bubbleMask());
    const Image bare = composer.compose(plain(320, 180, grey), plain(64, 64, green), 0);
    render(bare);
    EXPECT_EQ(at(20, 160), grey);
    for (const double absurd : {-3.0, 1e300}) {
        plan.meta.bubbleSizeFraction = absurd;
        EXPECT_LE(makeComposer().overlayHeight(), 320) << absurd;
    }
}

TEST_F(FrameComposerTest, TheCutoutShowsThePersonAlone) {
    plan.options.bubble = true;
    plan.options.cameraStyle = CameraStyle::cutout;
    plan.meta.bubbleSizeFraction = 0.5;  // 90 pixels high, the box 160 wide
    const auto screen = plain(320, 180, grey);
    const auto first = plain(160, 90, green), second = plain(160, 90, blue), third = plain(160, 90, white);
    // Nobody at first, then the right half is a person, then the request fails.
    auto half = gray(16, 9, 0);
    for (int y = 0; y < 9; ++y)
        for (int x = 8; x < 16; ++x) half->plane().data[y * half->plane().stride + x] = 255;
    int asked = 0;
    const auto counted = [&](Masks masks) {
        return [&asked, masks] {
            ++asked;
            return masks;
        };
    };
    vision->script = {counted({}), counted({half}), counted({})};
    auto composer = makeComposer();

    render(composer.compose(screen, first, 0));
    EXPECT_TRUE(near(at(5 + 45, 180 - 6 - 45), green)) << "the round bubble until there is a mask";
    EXPECT_TRUE(near(at(140, 170), grey));

    render(composer.compose(screen, second, 0.1));
    EXPECT_TRUE(near(at(130, 130), blue)) << at(130, 130);
    EXPECT_TRUE(near(at(20, 130), grey)) << "the background is gone: " << at(20, 130);
    EXPECT_LT(at(170, 130).red, 85) << "a soft shadow beside the person";

    render(composer.compose(screen, third, 0.2));
    EXPECT_TRUE(near(at(130, 130), white)) << "the last mask serves when none comes";
    EXPECT_EQ(asked, 3);
    composer.compose(plain(320, 180, red), third, 0.3);
    EXPECT_EQ(asked, 3) << "one camera frame is segmented once";
    EXPECT_EQ(vision->levels, std::vector{FakeVision::QualityLevel::accurate});
}

TEST_F(FrameComposerTest, ThePersonIsCutOutBeforeBeingMadeSmaller) {
    plan.options.bubble = true;
    plan.options.cameraStyle = CameraStyle::cutout;
    plan.meta.captureHeightPx = plan.hOut = 200;
    plan.meta.bubbleSizeFraction = 0.25;  // a quarter of the camera's picture, six pixels from the corner
    const auto isPerson = [](int x, int y) { return std::hypot(x - 160, y - 100) < 60; };
    const auto camera = picture(320, 200, [&](int x, int y) {
        return isPerson(x, y) ? Pixel{40, 40, 40} : white;
    });
    const auto mask = gray(320, 200, 0);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 320; ++x)
            mask->plane().data[y * mask->plane().stride + x] = isPerson(x, y) ? 255 : 0;
    vision->script = {[&] { return Masks{mask}; }};

    const auto soft = PersonSegmenter(PersonSegmenter::Quality::fast, vision).mask(camera);
    const auto cut = PersonSegmenter::apply(*soft, Image::fromBuffer(camera));
    const ConstPixelBufferRef person = context.makeBitmap(*cut, 320, 200);
    const auto expected = context.makeBitmap(Image::fromBuffer(person).scaled(0.25, 0.25), 80, 50);

    // On black, where the shadow does not show.
    render(makeComposer().compose(plain(320, 200, {0, 0, 0}), camera, 0));
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 80; ++x)
            ASSERT_NEAR(at(6 + x, 144 + y).red,
                        expected->plane().data[y * expected->plane().stride + 4 * x + 2], 1)
                << x << ", " << y;
}

TEST_F(FrameComposerTest, AnUnchangedFrameIsTheSameRecipe) {
    plan.options.bubble = plan.options.clickRipples = plan.options.autoZoom = true;
    plan.preparedClicks = {{2, 10, 10}};
    plan.zoomMoves = {{4, 5, {1, 160, 90}, {2, 240, 45}}};
    auto composer = makeComposer();
    const auto screen = plain(320, 180, grey), other = plain(320, 180, grey), camera = plain(64, 64, green);
    const Image first = composer.compose(screen, camera, 0);
    EXPECT_TRUE(composer.compose(screen, camera, 1).isSameRecipe(first));
    EXPECT_FALSE(composer.compose(other, camera, 1).isSameRecipe(first));
    EXPECT_FALSE(composer.compose(screen, plain(64, 64, green), 1).isSameRecipe(first));
    EXPECT_FALSE(composer.compose(screen, camera, 2.1).isSameRecipe(composer.compose(screen, camera, 2.2)))
        << "a ripple grows";
    EXPECT_FALSE(composer.compose(screen, camera, 4.3).isSameRecipe(composer.compose(screen, camera, 4.4)))
        << "the camera moves";
    EXPECT_TRUE(composer.compose(screen, camera, 6).isSameRecipe(composer.compose(screen, camera, 7)));
}

}  // namespace
}  // namespace cobaltreel
