#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"
#include "Cobaltreel/UI/BubbleWindow/CutoutFeeder.hpp"
#include "Cobaltreel/UI/BubbleWindow/RoundFeeder.hpp"
#include "Fakes/FakeVision.hpp"
#include "Fakes/VirtualTime.hpp"

#include <algorithm>
#include <atomic>
#include <memory>
#include <semaphore>
#include <vector>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

TEST(BubbleGeometryTest, StandsInEachCornerOfWhatPanelsLeave) {
    const QRect room(0, 25, 1440, 795);  // of a screen 900 high: 25 above, 80 below
    const struct {
        CameraStyle style;
        CameraCorner corner;
        double diameter;
        QRect frame;
    } cases[]{
        {CameraStyle::bubble, CameraCorner::bottomRight, 180, {1236, 616, 180, 180}},
        {CameraStyle::bubble, CameraCorner::bottomLeft, 180, {24, 616, 180, 180}},
        {CameraStyle::bubble, CameraCorner::topRight, 180.4, {1236, 49, 180, 180}},
        {CameraStyle::cutout, CameraCorner::topLeft, 180, {24, 49, 320, 180}},
        {CameraStyle::cutout, CameraCorner::bottomRight, 259.2, {955, 537, 461, 259}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(BubbleGeometry::frame(each.corner, BubbleGeometry::size(each.diameter, each.style), room),
                  each.frame);
    // On a screen left of and above the main one.
    EXPECT_EQ(BubbleGeometry::frame(CameraCorner::bottomRight, {100, 100}, {-800, -600, 800, 600}).topLeft(),
              QPoint(-124, -124));
}

/// A camera's picture of one color.
platform::ConstPixelBufferRef plain(QRgb color) {
    auto buffer = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::bgra, 1280, 720);
    for (int y = 0; y < 720; ++y) std::fill_n(reinterpret_cast<QRgb*>(buffer->row(y)), 1280, color);
    return buffer;
}

constexpr QRgb red = qRgb(255, 0, 0), green = qRgb(0, 255, 0), blue = qRgb(0, 0, 255);

class BubbleFeederTest : public ::testing::Test {
  protected:
    void listen(BubbleFeeder& feeder, QSize size) {
        feeder.setSize(size);
        feeder.setTarget([this](const QImage& picture) { shown.push_back(picture); });
    }

    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::vector<QImage> shown;
};

class RoundFeederTest : public BubbleFeederTest {
  protected:
    std::shared_ptr<RoundFeeder> feeder = std::make_shared<RoundFeeder>(time);
};

TEST_F(RoundFeederTest, ABusyMainThreadGetsTheNewestPictureAloneAndAHiddenBubbleNone) {
    listen(*feeder, {32, 32});
    const auto first = plain(red), last = plain(blue);
    for (int i = 0; i < 500; ++i) feeder->feed(i == 499 ? last : first);
    // The main thread has had no turn so far: whatever was rendered meanwhile is one picture.
    ASSERT_TRUE(time->eventually([&] { return !shown.empty() && shown.back().pixel(16, 16) == blue; }));
    EXPECT_LE(shown.size(), 3U);

    feeder->setSize({64, 64});
    feeder->feed(first);
    ASSERT_TRUE(time->eventually([&] { return shown.back().size() == QSize(64, 64); }));

    shown.clear();
    feeder->feed(first);
    feeder->setTarget({});
    const std::weak_ptr gone = feeder;
    feeder.reset();
    time->drain();
    EXPECT_TRUE(gone.expired());
    EXPECT_TRUE(shown.empty());
}

class CutoutFeederTest : public BubbleFeederTest {
  protected:
    CutoutFeederTest() {
        vision->script.push_back([this]() -> Masks {
            ++begun;
            if (holds) gate.acquire();
            return Masks{gray(16, 9, 255)};
        });
        listen(*feeder, {320, 180});
    }
    std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
    std::atomic<int> begun{0};
    std::atomic<bool> holds{false};
    std::counting_semaphore<> gate{0};
    std::shared_ptr<CutoutFeeder> feeder = std::make_shared<CutoutFeeder>(time, time, vision);
};

TEST_F(CutoutFeederTest, TakesTwentyFramesASecondAtMost) {
    time->stall(10);
    feeder->feed(plain(red));
    ASSERT_TRUE(time->eventually([&] { return shown.size() == 1; }));
    // 30 frames a second for a second: every second one is far enough from the one taken before.
    int taken = 1;
    for (int i = 1; i < 30; ++i) {
        time->stall(1.0 / 30);
        if (i % 2 == 0) ++taken;
        ASSERT_TRUE(time->eventually([&] {
            feeder->feed(plain(red));  // again while the last one's end is still to be noted
            return shown.size() == std::size_t(taken);
        })) << i;
    }
    EXPECT_EQ(begun, 15);
}

TEST_F(CutoutFeederTest, NeverTwoAtOnce) {
    holds = true;
    feeder->feed(plain(red));
    ASSERT_TRUE(time->eventually([&] { return begun == 1; }));
    for (int i = 0; i < 5; ++i) {
        time->stall(0.06);
        feeder->feed(plain(blue));
    }
    gate.release();
    ASSERT_TRUE(time->eventually([&] { return shown.size() == 1; }));
    holds = false;
    // Ready again right after the picture was handed over.
    ASSERT_TRUE(time->eventually([&] {
        time->stall(0.06);
        feeder->feed(plain(green));
        return begun >= 2;
    }));
    ASSERT_TRUE(time->eventually([&] { return shown.size() >= 2; }));
    EXPECT_EQ(shown.at(1).pixel(160, 90), green) << "what came meanwhile is dropped, not queued";
}

}  // namespace
}  // namespace cobaltreel
