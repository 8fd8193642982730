#include "Cobaltreel/Export/FrameComposer.hpp"

#include <memory>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelFormat;
using platform::Rect;

ConstPixelBufferRef frame(int width, int height) {
    return std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
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
    Scene at(double t) const { return FrameComposer(plan).compose(screen, camera, t); }

    FrameComposer::Plan plan;
    ConstPixelBufferRef screen = frame(320, 180), camera = frame(64, 64);
};

TEST_F(FrameComposerTest, TheVisiblePartFollowsTheZoom) {
    // To the center of the top right quarter.
    plan.zoomMoves = {{-1, 0, {1, 160, 90}, {2, 240, 45}}};
    EXPECT_EQ(at(1).visible, (Rect{0, 0, 320, 180})) << "without automatic zoom";
    plan.options.autoZoom = true;
    EXPECT_EQ(at(1).visible, (Rect{160, 0, 160, 90}));

    // A picture that was coded one pixel larger keeps its place; a movie of another size is fitted.
    plan.meta.captureWidthPx = 319;
    plan.meta.captureHeightPx = 179;
    EXPECT_EQ(at(1).visible, (Rect{240 - 319 / 4.0, 45 - 179 / 4.0, 319 / 2.0, 179 / 2.0}));
    plan.meta.captureWidthPx = 640;
    plan.meta.captureHeightPx = 360;
    EXPECT_EQ(at(1).visible, (Rect{40, -22.5, 160, 90}));
}

TEST_F(FrameComposerTest, RipplesLastAndFollowTheZoom) {
    plan.preparedClicks = {{1.0, 160, 90}, {1.3, 240, 45}};
    EXPECT_TRUE(at(1.2).ripples.empty()) << "not asked for";
    plan.options.clickRipples = true;
    plan.wOut = 1920;
    plan.hOut = 1080;
    EXPECT_TRUE(at(0.99).ripples.empty());
    ASSERT_EQ(at(1.2).ripples.size(), 1U);
    const Ripple half = at(1.2).ripples.front();
    EXPECT_EQ(half.x, 960);
    EXPECT_EQ(half.y, 540);
    EXPECT_NEAR(half.progress, 0.5, 1e-9);
    ASSERT_EQ(at(1.4).ripples.size(), 2U) << "both ends count";
    EXPECT_EQ(at(1.41).ripples, (std::vector<Ripple>{{1440, 270, (1.41 - 1.3) / 0.4}}));

    plan.options.autoZoom = true;
    plan.zoomMoves = {{-1, 0, {1, 160, 90}, {2, 240, 45}}};
    const Ripple middle = at(1.5).ripples.front();
    EXPECT_EQ(middle.x, 960) << "the clicked pixel is now in the middle";
    EXPECT_EQ(middle.y, 540);

    plan.preparedClicks.assign(10'000, {1.5, 10, 10});
    EXPECT_EQ(at(1.5).ripples.size(), 64U);
}

TEST_F(FrameComposerTest, TheCameraIsShownWhereItWasOnAndIsWanted) {
    EXPECT_FALSE(at(0).camera);
    plan.options.bubble = true;
    EXPECT_EQ(at(0).camera, camera);
    plan.meta.cameraEnabled = false;
    EXPECT_FALSE(at(0).camera);

    for (const auto& [fraction, height] : {std::pair{0.25, 45}, {0.004, 1}, {-3.0, 0}, {1e300, 320}}) {
        plan.meta.bubbleSizeFraction = fraction;
        EXPECT_EQ(FrameComposer(plan).layout().cameraHeight, height) << fraction;
    }
}

TEST_F(FrameComposerTest, ScenesAreEqualWhileNothingChanges) {
    plan.options.bubble = plan.options.clickRipples = plan.options.autoZoom = true;
    plan.preparedClicks = {{2, 10, 10}};
    plan.zoomMoves = {{4, 5, {1, 160, 90}, {2, 240, 45}}};
    const Scene first = at(0);
    EXPECT_EQ(at(1), first);
    EXPECT_NE(at(2.1), at(2.2)) << "a ripple grows";
    EXPECT_NE(at(4.3), at(4.4)) << "the view moves";
    EXPECT_EQ(at(6), at(7));
    EXPECT_NE(FrameComposer(plan).compose(frame(320, 180), camera, 1), first);
    EXPECT_NE(FrameComposer(plan).compose(screen, frame(64, 64), 1), first);
}

}  // namespace
}  // namespace cobaltreel
