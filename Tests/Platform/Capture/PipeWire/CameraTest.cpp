#include "MediaHarness.hpp"

#include <algorithm>
#include <cmath>
#include <thread>

namespace {

using platform::CaptureEvent;
using rig::startDevice;

class CameraTest : public rig::MediaTest {};

TEST_F(CameraTest, DeliversOneSizeOfPictureWhateverTheCameraOffers) {
    struct Case {
        const char* format;
        const char* size;
        bool mirrored;
    };
    // Formats of real cameras, raw and compressed; narrower, larger, and too tall pictures.
    for (const auto& [format, size, mirrored] : std::initializer_list<Case>{{"yuy2", "1280x720", false},
                                                                            {"yuy2", "1280x720", true},
                                                                            {"uyvy", "640x480", false},
                                                                            {"nv12", "1920x1080", true},
                                                                            {"nv21", "854x480", false},
                                                                            {"i420", "1280x960", false},
                                                                            {"yv12", "640x360", true},
                                                                            {"bgrx", "800x600", false},
                                                                            {"rgbx", "640x480", true},
                                                                            {"xrgb", "1280x720", false},
                                                                            {"xbgr", "320x240", false},
                                                                            {"bgr", "642x362", false},
                                                                            {"rgb", "1280x720", true},
                                                                            {"mjpeg", "1280x720", true},
                                                                            {"mjpeg", "1920x1080", false},
                                                                            {"mjpeg", "640x480", false}}) {
        SCOPED_TRACE(std::string(format) + " " + size + (mirrored ? " mirrored" : ""));
        collector.clear();
        ASSERT_TRUE(isListed("rig.camera", false));
        const auto device = startDevice("RigCamera", {"--format", format, "--size", size});
        configure({camera()}, mirrored);
        ASSERT_TRUE(collector.waitForPictures(4));
        session->stopRunning();
        const auto pictures = collector.pictures();
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            EXPECT_EQ(pictures[i].width, 1280);
            EXPECT_EQ(pictures[i].height, 720);
            ASSERT_TRUE(pictures[i].reading);
            EXPECT_EQ(pictures[i].reading->mirrored, mirrored);
            if (i == 0) continue;
            EXPECT_GT(pictures[i].reading->counter, pictures[i - 1].reading->counter);
        }
        EXPECT_THAT(collector.events(), testing::IsEmpty());
    }
}

TEST_F(CameraTest, KeepsTheCamerasOwnTimes) {
    expectNoFaults([&]() -> std::string {
        collector.clear();
        EXPECT_TRUE(isListed("rig.camera", false));
        const double flash = now() + 1.0;
        const auto device = startDevice("RigCamera", {"--at", std::to_string(flash)});
        configure({camera()});
        if (!collector.waitForPictures(45)) return "no pictures";
        session->stopRunning();
        std::optional<double> seen;
        double previous = 0;
        for (const auto& picture : collector.pictures()) {
            if (!picture.reading) return "a picture that is not the camera's";
            if (picture.reading->flash && !seen) seen = picture.time;
            EXPECT_LT(picture.time, picture.arrival);
            if (previous != 0) {
                const double steps = (picture.time - previous) * 30;
                EXPECT_NEAR(steps, std::max(1.0, std::round(steps)), 0.015)
                    << "a picture off the camera's grid";
            }
            previous = picture.time;
        }
        if (!seen) return "no flash";
        return std::abs(*seen - flash) < 0.0005 ? "" : "the flash off by " + std::to_string(*seen - flash);
    });
}

TEST_F(CameraTest, ACameraWithoutTimesIsStampedOnArrival) {
    const auto device = startDevice("RigCamera", {"--without-times"});
    configure({camera()});
    ASSERT_TRUE(collector.waitForPictures(10));
    session->stopRunning();
    for (const auto& picture : collector.pictures()) {
        EXPECT_LE(picture.time, picture.arrival);
        EXPECT_GT(picture.time, picture.arrival - 1);
    }
}

TEST_F(CameraTest, TakesEverySecondPictureOfAFastCamera) {
    const auto device = startDevice("RigCamera", {"--rate", "60", "--size", "640x360"});
    configure({camera()});
    ASSERT_TRUE(collector.waitForPictures(30));
    session->stopRunning();
    const auto pictures = collector.pictures();
    std::vector<double> steps;
    for (std::size_t i = 1; i < pictures.size(); ++i)
        steps.push_back(pictures[i].time - pictures[i - 1].time);
    std::ranges::nth_element(steps, steps.begin() + 14);
    EXPECT_NEAR(steps[14], 1.0 / 30, 0.002);
}

TEST_F(CameraTest, SurvivesTheLossOfTheCameraAndTakesItUpAgain) {
    auto device = startDevice("RigCamera", {});
    configure({camera()});
    ASSERT_TRUE(collector.waitForPictures(5));
    device.reset();
    ASSERT_TRUE(collector.waitForEvents(CaptureEvent::Kind::lost));
    const double lost = collector.pictures().back().time;
    const double pluggedIn = now();
    device = startDevice("RigCamera", {"--format", "mjpeg", "--size", "640x480"});
    ASSERT_TRUE(collector.waitForEvents(CaptureEvent::Kind::returned));
    ASSERT_TRUE(collector.waitForPictures(5));
    EXPECT_TRUE(session->isRunning());
    session->stopRunning();
    for (const auto& picture : collector.pictures())
        EXPECT_TRUE(picture.time <= lost || picture.time > pluggedIn)
            << "no picture has a time within the gap";
    EXPECT_THAT(collector.events(), testing::SizeIs(2));
    EXPECT_THAT(collector.events()[0].message, testing::HasSubstr("\"Rig Camera\" was unplugged"));
}

TEST_F(CameraTest, SaysThatPicturesCannotBeRead) {
    const auto device = startDevice("RigCamera", {"--format", "mjpeg", "--garbage-from", "0.5"});
    configure({camera()});
    ASSERT_TRUE(collector.waitForPictures(2));
    ASSERT_TRUE(collector.waitForEvents(CaptureEvent::Kind::unreadable));
    const auto count = collector.pictures().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(collector.pictures().size(), count);
    EXPECT_THAT(collector.events(), testing::SizeIs(1));
}

TEST_F(CameraTest, ACameraThatSendsNothingHoldsNothingUp) {
    const auto device = startDevice("RigCamera", {"--nothing"});
    const auto other = startDevice("RigCamera", {"--name", "rig.other", "--description", "Other"});
    configure({camera()});
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_THAT(collector.pictures(), testing::IsEmpty());
    configure({camera("rig.other")});
    EXPECT_TRUE(collector.waitForPictures(3));
}

TEST_F(CameraTest, ChangesCamerasAsFastAsTheUserDoes) {
    const auto device = startDevice("RigCamera", {});
    const auto other =
        startDevice("RigCamera", {"--name", "rig.other", "--description", "Other", "--format", "mjpeg"});
    for (int i = 0; i < 20; ++i) configure({camera(i % 2 == 0 ? "rig.camera" : "rig.other")}, i % 3 == 0);
    collector.clear();
    ASSERT_TRUE(collector.waitForPictures(3));
    session->stopRunning();
    const auto count = collector.pictures().size();
    session->startRunning();
    ASSERT_TRUE(collector.waitForPictures(3));
    session->stopRunning();
    EXPECT_GT(collector.pictures().size(), count);
    EXPECT_THAT(collector.events(), testing::IsEmpty());
}

}  // namespace
