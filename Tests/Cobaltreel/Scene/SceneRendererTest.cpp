#include "Cobaltreel/Scene/SceneRenderer.hpp"
#include "Fakes/FakeVision.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelFormat;
using platform::Rect;

struct Pixel {
    int red, green, blue;
    friend std::ostream& operator<<(std::ostream& out, const Pixel& p) {
        return out << '(' << p.red << ", " << p.green << ", " << p.blue << ')';
    }
};

constexpr Pixel red{200, 20, 20}, green{20, 200, 20}, blue{20, 20, 200}, white{250, 250, 250},
    grey{90, 90, 90}, black{0, 0, 0};

/// A picture as decoders deliver it, painted by a function of the place.
template <typename Paint>
ConstPixelBufferRef picture(int width, int height, Paint paint) {
    PixelBuffer colors(PixelFormat::bgra, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Pixel p = paint(x, y);
            auto* at = colors.row(y) + 4 * x;
            at[0] = static_cast<std::uint8_t>(p.blue);
            at[1] = static_cast<std::uint8_t>(p.green);
            at[2] = static_cast<std::uint8_t>(p.red);
            at[3] = 255;
        }
    auto planar = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
    convertPixels(colors, *planar);
    return planar;
}

ConstPixelBufferRef plain(int width, int height, Pixel color) {
    return picture(width, height, [=](int, int) { return color; });
}

class SceneRendererTest : public testing::Test {
  protected:
    SceneRenderer makeRenderer() { return {layout, vision}; }
    static Scene sceneOf(const ConstPixelBufferRef& screen, const ConstPixelBufferRef& camera = nullptr) {
        return {screen, boundsOf(*screen), {}, camera};
    }
    void render(SceneRenderer& renderer, const Scene& scene) {
        rendered = std::make_shared<PixelBuffer>(PixelFormat::i420, layout.width, layout.height);
        renderer.render(scene, *rendered);
        colors = std::make_shared<PixelBuffer>(PixelFormat::bgra, layout.width, layout.height);
        convertPixels(*rendered, *colors);
    }
    Pixel at(int x, int y) const {
        const auto* p = colors->row(y) + 4 * x;
        return {p[2], p[1], p[0]};
    }
    static bool near(const Pixel& a, const Pixel& b, int tolerance = 4) {
        return std::abs(a.red - b.red) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
               std::abs(a.blue - b.blue) <= tolerance;
    }

    SceneLayout layout{320, 180, CameraStyle::bubble, CameraCorner::bottomLeft, 45};
    std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
    platform::PixelBufferRef rendered, colors;
};

TEST_F(SceneRendererTest, TheVisiblePartFillsTheFrame) {
    // One color a quarter.
    const auto quarters = picture(320, 180, [](int x, int y) {
        return y >= 90 ? (x >= 160 ? white : blue) : (x >= 160 ? green : red);
    });
    auto renderer = makeRenderer();
    render(renderer, sceneOf(quarters));
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < rendered->plane(plane).height; ++y)
            ASSERT_EQ(std::memcmp(rendered->row(y, plane), quarters->row(y, plane),
                                  static_cast<std::size_t>(rendered->plane(plane).width)),
                      0)
                << "a whole screen of the output's size is copied";
    render(renderer, {quarters, {160, 0, 160, 90}, {}, nullptr});
    for (const auto& [x, y] : {std::pair(0, 0), {319, 0}, {0, 179}, {319, 179}})
        EXPECT_TRUE(near(at(x, y), green)) << at(x, y);
    // A part that is none.
    render(renderer, {quarters, {0, 0, std::numeric_limits<double>::quiet_NaN(), 90}, {}, nullptr});
    EXPECT_TRUE(near(at(200, 100), black));
}

TEST_F(SceneRendererTest, RipplesGrowAndFade) {
    layout = {1920, 1080};
    auto renderer = makeRenderer();
    auto scene = sceneOf(plain(320, 180, black));
    // Half way: radius 36, fill at alpha 0.175, white edge at alpha 0.4.
    scene.ripples = {{960, 540, 0.5}, {1918.5, 0.5, 0.25}};
    render(renderer, scene);
    EXPECT_TRUE(near(at(960, 540), {37, 28, 4})) << at(960, 540);
    EXPECT_GT(at(960 + 36, 540).blue, 80);
    EXPECT_TRUE(near(at(960 + 42, 540), black));
    EXPECT_GT(at(1919, 0).red, 20) << "one that the edge cuts off";
    // Faded; beyond the frame; nowhere.
    scene.ripples = {{960, 540, 1}, {-500, 540, 0}, {std::numeric_limits<double>::quiet_NaN(), 1e300, 0}};
    render(renderer, scene);
    EXPECT_TRUE(near(at(960, 540), black, 1));
}

TEST_F(SceneRendererTest, TheBubbleSitsInItsCornerWithRingAndShadow) {
    layout.width = 640;
    layout.height = 360;
    layout.cameraHeight = 90;
    const auto screen = plain(320, 180, grey);
    // The camera's sides are cut off to a square: only its middle is green.
    const auto camera = picture(160, 90, [](int x, int) { return x >= 35 && x < 125 ? green : red; });
    struct Case {
        CameraCorner corner;
        double x, y;  // center of the bubble
    };
    const double d = 90, m = 10.8;
    for (const Case& c : {Case{CameraCorner::bottomLeft, m + d / 2, 360 - m - d / 2},
                          {CameraCorner::bottomRight, 640 - m - d / 2, 360 - m - d / 2},
                          {CameraCorner::topLeft, m + d / 2, m + d / 2},
                          {CameraCorner::topRight, 640 - m - d / 2, m + d / 2}}) {
        layout.cameraCorner = c.corner;
        auto renderer = makeRenderer();
        render(renderer, sceneOf(screen, camera));
        const int x = static_cast<int>(c.x), y = static_cast<int>(c.y);
        EXPECT_TRUE(near(at(x, y), green)) << at(x, y);
        EXPECT_TRUE(near(at(x - 38, y), green)) << at(x - 38, y);
        // The ring: the highlight color at nine tenths.
        const Pixel ring = at(x + 43, y);
        EXPECT_GT(ring.red, 150) << ring;
        EXPECT_LT(ring.blue, 90) << ring;
        EXPECT_TRUE(near(at(x > 320 ? 100 : 540, y > 180 ? 60 : 300), grey, 1))
            << "far from it nothing changes";
        // The shadow darkens more below than above.
        EXPECT_LT(at(x, y + 50).red, at(x, y - 50).red);
    }
    auto renderer = makeRenderer();
    render(renderer, sceneOf(screen));
    EXPECT_TRUE(near(at(60, 300), grey, 1)) << "no camera frame yet";
    layout.cameraHeight = 4;
    auto tiny = makeRenderer();
    render(tiny, sceneOf(screen, camera));
    EXPECT_TRUE(near(at(13, 347), grey, 1)) << "too small to be drawn";
}

TEST_F(SceneRendererTest, CamerasOfAnySizeAndShape) {
    for (const auto& [width, height] : {std::pair{2, 2}, {640, 2}, {2, 480}, {33, 17}})
        for (const int cameraHeight : {5, 6, 180, 320})
            for (const CameraStyle style : {CameraStyle::bubble, CameraStyle::cutout}) {
                layout.cameraHeight = cameraHeight;
                layout.cameraStyle = style;
                vision->script = {[] { return Masks{gray(16, 9, 255)}; }};
                auto renderer = makeRenderer();
                render(renderer, sceneOf(plain(320, 180, grey), plain(width, height, green)));
                // Its middle is at the left, half its height above the margin.
                const int y = std::max(0, 180 - 6 - cameraHeight / 2);
                const bool isThere = style == CameraStyle::bubble || width * cameraHeight / height > 8;
                if (cameraHeight > 5 && isThere) {
                    EXPECT_GT(at(7 + std::min(cameraHeight, width * cameraHeight / height) / 2 - 1, y).green,
                              100)
                        << width << " × " << height << " at " << cameraHeight;
                }
            }
}

TEST_F(SceneRendererTest, TheCutoutShowsThePersonAlone) {
    layout.cameraStyle = CameraStyle::cutout;
    layout.cameraHeight = 90;  // the box is 160 wide
    const auto screen = plain(320, 180, grey);
    const auto first = plain(160, 90, green), second = plain(160, 90, blue), third = plain(160, 90, white);
    // Nobody at first, then the right half is a person, then the request fails.
    auto half = gray(16, 9, 0);
    for (int y = 0; y < 9; ++y) std::memset(half->row(y) + 8, 255, 8);
    int asked = 0;
    const auto counted = [&](Masks masks) {
        return [&asked, masks] {
            ++asked;
            return masks;
        };
    };
    vision->script = {counted({}), counted({half}), counted({})};
    auto renderer = makeRenderer();

    render(renderer, sceneOf(screen, first));
    EXPECT_TRUE(near(at(5 + 45, 180 - 6 - 45), green)) << "the round bubble until there is a mask";
    EXPECT_TRUE(near(at(140, 170), grey));

    render(renderer, sceneOf(screen, second));
    EXPECT_TRUE(near(at(130, 130), blue)) << at(130, 130);
    EXPECT_TRUE(near(at(20, 130), grey)) << "the background is gone: " << at(20, 130);
    EXPECT_LT(at(170, 130).red, 85) << "a soft shadow beside the person";

    render(renderer, sceneOf(screen, third));
    EXPECT_TRUE(near(at(130, 130), white)) << "the last mask serves when none comes";
    EXPECT_EQ(asked, 3);
    render(renderer, sceneOf(plain(320, 180, red), third));
    EXPECT_TRUE(near(at(130, 130), white));
    EXPECT_TRUE(near(at(250, 20), red));
    EXPECT_EQ(asked, 3) << "one camera frame is segmented once";
    EXPECT_EQ(vision->levels, std::vector{FakeVision::QualityLevel::accurate});
}

TEST_F(SceneRendererTest, WithoutVisionTheBubbleStandsIn) {
    layout.cameraStyle = CameraStyle::cutout;
    vision.reset();
    auto renderer = makeRenderer();
    render(renderer, sceneOf(plain(320, 180, grey), plain(160, 90, green)));
    EXPECT_TRUE(near(at(5 + 22, 180 - 5 - 22), green));
}

TEST_F(SceneRendererTest, ThePersonIsCutOutBeforeBeingMadeSmaller) {
    layout.cameraStyle = CameraStyle::cutout;
    layout.height = 200;
    layout.cameraHeight = 50;  // a quarter of the camera's picture, six pixels from the corner
    const auto isPerson = [](int x, int y) { return std::hypot(x - 160, y - 100) < 60; };
    const auto camera = picture(320, 200, [&](int x, int y) {
        return isPerson(x, y) ? Pixel{40, 40, 40} : white;
    });
    const auto mask = gray(320, 200, 0);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 320; ++x) mask->row(y)[x] = isPerson(x, y) ? 255 : 0;
    vision->script = {[&] { return Masks{mask}; }};

    const auto soft = PersonSegmenter(PersonSegmenter::Quality::fast, vision).mask(camera);
    const auto person = PersonSegmenter::apply(*soft, *camera);
    PixelBuffer expected(PixelFormat::bgra, 80, 50);
    platform::Resampler().draw(*person, boundsOf(*person), expected, boundsOf(expected));

    // On black, where the shadow does not show.
    auto renderer = makeRenderer();
    render(renderer, sceneOf(plain(320, 200, black), camera));
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 80; ++x)
            ASSERT_NEAR(at(6 + x, 144 + y).red, expected.row(y)[4 * x + 2], 3) << x << ", " << y;
}

TEST_F(SceneRendererTest, TheMaskOfAFrameOfAnotherSizeCutsNothing) {
    vision->script = {[] { return Masks{gray(320, 200, 255)}; },
                      []() -> Masks { throw std::runtime_error("no memory"); }};
    PersonCutout cutout(PersonSegmenter::Quality::fast, vision);
    EXPECT_TRUE(cutout.picture(plain(320, 200, white), 80, 50));
    EXPECT_FALSE(cutout.picture(plain(160, 100, white), 80, 50));
    PixelBuffer target(PixelFormat::bgra, 80, 50);
    EXPECT_FALSE(cutout.draw(plain(160, 100, white), target, boundsOf(target), 2));
}

}  // namespace
}  // namespace cobaltreel
