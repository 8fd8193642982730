#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

class DisplayCaptureTest : public ::testing::Test {
  protected:
    Display mainDisplay() { return service_.shareableContent().displays.at(0); }
    StreamConfiguration fullSize() {
        const Display display = mainDisplay();
        return configurationFor(display.width(), display.height());
    }

    XcbConnection connection_;
    XcbScreenCaptureService service_;
};

}  // namespace

TEST_F(DisplayCaptureTest, FollowsASceneThatDrawsAtTheSameRate) {
    rig::ChildProcess scene({rigProgram("RigScene"), "--fill"});
    ASSERT_EQ(scene.readLine(), "ready");
    const Display display = mainDisplay();
    std::vector<std::pair<std::uint32_t, double>> seen;
    std::size_t unreadable = 0;
    Recording recording(service_, DisplayContentFilter{display, {}}, fullSize(),
                        [&](const PixelBuffer& picture, double time) {
                            if (const auto counter = counterIn(picture, display.width(), display.height()))
                                seen.emplace_back(*counter, time);
                            else
                                ++unreadable;
                        });
    ASSERT_TRUE(recording.waitForFrames(240));
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(unreadable, 0U);
    EXPECT_TRUE(recording.isMonotonic());
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_LT(static_cast<double>(seen.size() - 1) / (seen.back().second - seen.front().second), 61);
}

TEST_F(DisplayCaptureTest, GivesNoFramesOfAStillScreenAndSleeps) {
    rig::ChildProcess scene({rigProgram("RigScene"), "--still"});
    ASSERT_EQ(scene.readLine(), "ready");
    Recording recording(service_, DisplayContentFilter{mainDisplay(), {}}, fullSize());
    ASSERT_TRUE(recording.waitForFrames(1));
    const std::size_t before = recording.settle();
    const double processorBefore = processorSeconds();
    constexpr std::chrono::milliseconds still(2000);
    EXPECT_EQ(recording.settle(still), before);
    EXPECT_LT(processorSeconds() - processorBefore, 0.01 * std::chrono::duration<double>(still).count());
}

TEST_F(DisplayCaptureTest, DrawsThePointerWhereItIsAlsoAtTheEdge) {
    ColorWindow ground(connection_, 0, 0, 1280, 720, {0x404040, true, "Ground"});
    ground.show();
    Recording recording(service_, DisplayContentFilter{mainDisplay(), {}}, fullSize());
    const Display display = mainDisplay();
    const auto pointerAround = [](int px, int py) {
        return [=](const PixelBuffer& picture) {
            int inside = 0, outside = 0;
            for (int y = 0; y < picture.height(); y += 2)
                for (int x = 0; x < picture.width(); x += 2) {
                    if (colorAt(picture, x, y) == 0x404040) continue;
                    (std::abs(x - px) < 40 && std::abs(y - py) < 40 ? inside : outside) += 1;
                }
            return inside > 0 && outside == 0;
        };
    };
    for (const auto& [x, y] : {std::pair(640, 360), std::pair(0, 0), std::pair(display.width() - 2, 300),
                               std::pair(500, display.height() - 3)}) {
        movePointer(connection_, x, y);
        EXPECT_TRUE(recording.waitForPicture(pointerAround(x, y))) << x << ", " << y;
    }
}

TEST_F(DisplayCaptureTest, ScalesAndMakesEveryPixelOpaque) {
    ColorWindow ground(connection_, 0, 0, 1280, 720, {0x408020, true, "Ground"});
    ground.show();
    Recording recording(service_, DisplayContentFilter{mainDisplay(), {}}, configurationFor(640, 640));
    ASSERT_TRUE(recording.waitForPicture([](const PixelBuffer& picture) {
        return colorAt(picture, 320, 320) == 0x408020 && colorAt(picture, 320, 20) == 0;
    }));
    const auto picture = recording.latest();
    int transparent = 0;
    for (int y = 0; y < picture->height(); ++y)
        for (int x = 0; x < picture->width(); ++x)
            transparent += picture->plane().data[y * picture->plane().stride + 4 * x + 3] != 0xff ? 1 : 0;
    EXPECT_EQ(transparent, 0);
}

TEST_F(DisplayCaptureTest, PicturesUpdatedPartByPartEqualPicturesTakenAtOnce) {
    ColorWindow ground(connection_, 0, 0, 1280, 720, {0x406080, true, "Ground"});
    ground.show();
    std::mt19937 random(7);
    const auto any = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (const auto& [width, height] : {std::pair(1280, 720), std::pair(960, 720)}) {
        StreamConfiguration configuration = configurationFor(width, height);
        configuration.acceptsPlanar = true;
        Recording longRunning(service_, DisplayContentFilter{mainDisplay(), {}}, configuration);
        for (int round = 0; round < 6; ++round) {
            std::vector<std::unique_ptr<ColorWindow>> windows;
            for (int i = 0; i < 5; ++i) {
                windows.push_back(std::make_unique<ColorWindow>(
                    connection_, any(1280), any(720), 1 + any(100), 1 + any(60),
                    ColorWindow::Look{static_cast<std::uint32_t>(random() & 0xffffff), true, "Patch"}));
                windows.back()->show();
                longRunning.settle(std::chrono::milliseconds(i % 2 * 20));
            }
            movePointer(connection_, any(1280), any(720));
            Recording fresh(service_, DisplayContentFilter{mainDisplay(), {}},
                            configurationFor(width, height));
            ASSERT_TRUE(fresh.waitForFrames(1));
            PixelBuffer whole(PixelFormat::i420, width, height);
            convertPixels(*fresh.latest(), whole);
            int differing = 0;
            const bool isEqual = longRunning.waitForPicture([&](const PixelBuffer& updated) {
                differing = 0;
                for (int i = 0; i < 3; ++i)
                    for (int y = 0; y < whole.plane(i).height; ++y)
                        differing += std::memcmp(updated.plane(i).data + y * updated.plane(i).stride,
                                                 whole.plane(i).data + y * whole.plane(i).stride,
                                                 static_cast<std::size_t>(whole.plane(i).width)) != 0;
                return differing == 0;
            });
            EXPECT_TRUE(isEqual) << differing << " rows of round " << round << " at " << width;
            EXPECT_EQ(longRunning.latest()->format(), PixelFormat::i420);
        }
    }
}

TEST_F(DisplayCaptureTest, DropsFramesWhileAllAreHeldAndGoesOnAfter) {
    rig::ChildProcess scene({rigProgram("RigScene"), "--fill"});
    ASSERT_EQ(scene.readLine(), "ready");
    StreamConfiguration configuration = fullSize();
    configuration.queueDepth = 3;
    SerialQueue queue("cobaltreel.test.held");
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<SampleBuffer> held;
    std::size_t seen = 0;
    std::uint32_t dropped = 0;
    const auto stream = service_.makeStream(DisplayContentFilter{mainDisplay(), {}}, configuration, {});
    stream->addOutput(StreamOutputType::screen, queue, [&](const CapturedSample& sample) {
        const std::lock_guard lock(mutex);
        if (held.size() < 3) held.push_back(sample.buffer);
        ++seen;
        dropped += sample.droppedBefore;
        changed.notify_all();
    });
    EXPECT_THROW(stream->addOutput(StreamOutputType::screen, queue, {}), PlatformError);
    stream->startCapture([](const auto&) {});
    std::unique_lock lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, std::chrono::minutes(1), [&] { return held.size() == 3; }));
    const auto counter = counterIn(*held[0].image, 1280, 720);
    EXPECT_FALSE(changed.wait_for(lock, std::chrono::milliseconds(200), [&] { return seen > 3; }));
    EXPECT_EQ(counterIn(*held[0].image, 1280, 720), counter) << "a held frame was written to";
    held.erase(held.begin());
    EXPECT_TRUE(changed.wait_for(lock, std::chrono::minutes(1), [&] { return seen > 3; }));
    EXPECT_GT(dropped, 0U) << "frames that were lost are counted";
}

}  // namespace platform::test
