// The program's own network with all that is done after it, on a photographed person in several rooms.
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Platform/Vision/OpenCv/FramePicture.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

namespace platform::testing {
namespace {

using cobaltreel::composited::asBgra;
using cobaltreel::composited::CompositedTake;
using cobaltreel::composited::drawnRoom;
using Motion = CompositedTake::Motion;
using Trouble = CompositedTake::Trouble;
using Quality = PersonSegmentationRequest::QualityLevel;

cv::Mat1b maskOf(PersonSegmentationRequest& request, const PixelBuffer& frame) {
    const auto masks = request.perform(frame);
    if (masks.empty()) return {};
    EXPECT_EQ(masks.front()->format(), PixelFormat::gray8);
    const Plane& p = masks.front()->plane();
    return cv::Mat1b(cv::Mat(p.height, p.width, CV_8UC1, p.data, static_cast<std::size_t>(p.stride))).clone();
}

double overlap(const cv::Mat1b& mask, const cv::Mat1b& truth) {
    if (mask.empty()) return cv::countNonZero(truth > 127) == 0 ? 1 : 0;
    cv::Mat1b found;
    cv::resize(mask, found, truth.size(), 0, 0, cv::INTER_LINEAR);
    const cv::Mat1b a = found > 127, b = truth > 127;
    return static_cast<double>(cv::countNonZero(a & b)) / std::max(1, cv::countNonZero(a | b));
}

class PersonSegmentationTest : public ::testing::TestWithParam<Quality> {
  protected:
    void SetUp() override {
        unsetenv("COBALTREEL_SEGMENTATION_MODEL");
        if (ownPersonNetwork().empty())
            GTEST_SKIP() << "the network that finds a person was not fetched when this was built";
        person = cobaltreel::composited::photographedPerson();
        if (!person) GTEST_SKIP() << "python-matplotlib-data is not installed";
        ASSERT_FALSE(service.unavailable());
        request = service.makePersonSegmentationRequest(GetParam());
    }
    OpenCvVisionService service{std::filesystem::path()};
    std::optional<cobaltreel::composited::Cutout> person;
    std::unique_ptr<PersonSegmentationRequest> request;
};

TEST_P(PersonSegmentationTest, FindsThePersonInTheVeryFirstFrameWhateverTheCameraMakesOfThem) {
    for (int i = 0; i < CompositedTake::troubleCount; ++i) {
        const auto trouble = static_cast<Trouble>(i);
        SCOPED_TRACE(CompositedTake::name(trouble));
        const CompositedTake scene(*person, drawnRoom(11U + static_cast<unsigned>(i)), trouble, Motion::sway);
        const auto fresh = service.makePersonSegmentationRequest(GetParam());
        for (const double t : {0.0, 0.3, 0.6}) {
            const auto frame = scene.at(t);
            EXPECT_GT(overlap(maskOf(*fresh, *asBgra(frame.picture)), frame.truth), 0.95) << t;
        }
    }
}

TEST_P(PersonSegmentationTest, WhoeverHasLeftIsGoneAndIsFoundAgain) {
    const CompositedTake scene(*person, drawnRoom(21), Trouble::none, Motion::leaveAndReturn);
    int absentFrames = 0, wronglyPresent = 0;
    double last = 0;
    for (double t = 0; t < 5; t += 0.1) {
        const auto frame = scene.at(t);
        const cv::Mat1b mask = maskOf(*request, *asBgra(frame.picture));
        ASSERT_FALSE(mask.empty()) << "somebody was seen, so there is a mask at " << t;
        if (cv::countNonZero(frame.truth) == 0) {
            ++absentFrames;
            if (cv::countNonZero(mask) > 0) ++wronglyPresent;
        }
        last = overlap(mask, frame.truth);
    }
    EXPECT_GE(absentFrames, 6);
    EXPECT_LE(wronglyPresent, 1);
    EXPECT_GT(last, 0.9);
}

TEST_P(PersonSegmentationTest, AStillPersonsMaskStandsStill) {
    const CompositedTake scene(*person, drawnRoom(31), Trouble::noise, Motion::still);
    cv::Mat1b before;
    for (int i = 0; i < 12; ++i) {
        const cv::Mat1b mask = maskOf(*request, *asBgra(scene.at(i / 20.0).picture));
        ASSERT_FALSE(mask.empty());
        if (i > 3) {
            EXPECT_LT(cv::norm(before, mask, cv::NORM_L1), 0.005 * cv::sum(mask)[0]) << "frame " << i;
        }
        before = mask;
    }
}

TEST_P(PersonSegmentationTest, FramesWithoutAnybodyGiveNoMaskWhateverTheyLookLike) {
    for (const auto size : {cv::Size(1, 1), cv::Size(2, 2), cv::Size(4096, 3), cv::Size(3, 200),
                            cv::Size(47, 61), cv::Size(720, 1280), cv::Size(1281, 721)})
        for (const auto level : {0, 128, 255}) {
            const cv::Mat3b picture(size, cv::Vec3b::all(static_cast<uchar>(level)));
            EXPECT_TRUE(request->perform(*asBgra(picture)).empty()) << size << " at " << level;
        }
    for (const double light : {1.0, 0.8, 1.2, 0.5})
        EXPECT_TRUE(request->perform(*asBgra(drawnRoom(3) * light)).empty()) << light;
}

TEST_P(PersonSegmentationTest, FollowsAFrameSizeThatChanges) {
    for (const auto size : {cv::Size(1280, 720), cv::Size(641, 361), cv::Size(1, 1), cv::Size(1920, 1080),
                            cv::Size(640, 480)}) {
        auto frame = CompositedTake(*person, drawnRoom(21), Trouble::none, Motion::still).at(0);
        cv::resize(frame.picture, frame.picture, size, 0, 0, cv::INTER_AREA);
        cv::resize(frame.truth, frame.truth, size, 0, 0, cv::INTER_AREA);
        const cv::Mat1b mask = maskOf(*request, *asBgra(frame.picture));
        if (size.width > 1) {
            EXPECT_GT(overlap(mask, frame.truth), 0.9) << size;
        }
    }
}

TEST_P(PersonSegmentationTest, AGrayPictureIsRefused) {
    EXPECT_THROW(request->perform(PixelBuffer(PixelFormat::gray8, 640, 360)), PlatformError);
}

INSTANTIATE_TEST_SUITE_P(Qualities, PersonSegmentationTest,
                         ::testing::Values(Quality::fast, Quality::accurate), [](const auto& level) {
                             return level.param == Quality::fast ? "fast" : "accurate";
                         });

TEST(FramePictureTest, ReadsTheSameColorsFromEveryLayoutOfLumaAndChroma) {
    // Pure red as each standard writes it (ITU-R BT.601 and BT.709, limited and full range).
    struct Case {
        ColorMatrix matrix;
        int y, u, v;
    };
    for (const Case c :
         {Case{ColorMatrix::bt601Limited, 81, 90, 240}, Case{ColorMatrix::bt601Full, 76, 85, 255},
          Case{ColorMatrix::bt709Limited, 63, 102, 240}, Case{ColorMatrix::bt709Full, 54, 99, 255}}) {
        const PixelBuffer frame(PixelFormat::i420, 63, 49, c.matrix);
        const int values[] = {c.y, c.u, c.v};
        for (int i = 0; i < 3; ++i) {
            const Plane& p = frame.plane(i);
            cv::Mat(p.height, p.width, CV_8UC1, p.data, static_cast<std::size_t>(p.stride)).setTo(values[i]);
        }
        const cv::Vec3b pixel = readPicture(frame, {21, 16})(8, 10);
        EXPECT_NEAR(pixel[0], 0, 4);
        EXPECT_NEAR(pixel[1], 0, 4);
        EXPECT_NEAR(pixel[2], 255, 4);
    }
}

}  // namespace
}  // namespace platform::testing
