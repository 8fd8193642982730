// The program's own network on a photographed person whose mask was checked by hand.
#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

namespace platform::testing {
namespace {

using cobaltreel::composited::asBgra;
using cobaltreel::composited::CompositedTake;

TEST(CompositedPeople, AreCutOutWhateverTheCameraMakesOfThem) {
    unsetenv("COBALTREEL_SEGMENTATION_MODEL");
    if (ownPersonNetwork().empty())
        GTEST_SKIP() << "the network that finds a person was not fetched when this was built";
    const auto person = cobaltreel::composited::photographedPerson();
    if (!person) GTEST_SKIP() << "python-matplotlib-data is not installed";
    OpenCvVisionService service{std::filesystem::path()};
    for (int i = 0; i < CompositedTake::troubleCount; ++i) {
        const auto trouble = static_cast<CompositedTake::Trouble>(i);
        SCOPED_TRACE(CompositedTake::name(trouble));
        const CompositedTake take(*person, cobaltreel::composited::drawnRoom(11U + static_cast<unsigned>(i)),
                                  trouble, CompositedTake::Motion::sway);
        const auto request =
            service.makePersonSegmentationRequest(PersonSegmentationRequest::QualityLevel::accurate);
        for (int k = 0; k < 3; ++k) {
            const auto frame = take.at(k * 0.3);
            const auto masks = request->perform(*asBgra(frame.picture));
            ASSERT_EQ(masks.size(), 1U);
            const Plane& p = masks.front()->plane();
            cv::Mat1b mask;
            cv::resize(cv::Mat(p.height, p.width, CV_8UC1, p.data, static_cast<std::size_t>(p.stride)), mask,
                       frame.truth.size(), 0, 0, cv::INTER_LINEAR);
            const cv::Mat1b found = mask > 127;
            const double overlap = static_cast<double>(cv::countNonZero(found & frame.truth)) /
                                   cv::countNonZero(found | frame.truth);
            EXPECT_GT(overlap, 0.95) << "frame " << k;
        }
    }
}

}  // namespace
}  // namespace platform::testing
