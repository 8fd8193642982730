#include "CobaltreelCore/PersonSegmenter.hpp"
#include "Fakes/FakeVision.hpp"

#include <stdexcept>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelFormat;
using platform::Rect;
using Request = platform::PersonSegmentationRequest;

struct PersonSegmenterTest : ::testing::Test {
    std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
    PersonSegmenter segmenter{PersonSegmenter::Quality::fast, vision};
    ConstPixelBufferRef frame = std::make_shared<PixelBuffer>(PixelFormat::bgra, 1280, 720);

    static Masks success() { return {gray(512, 384, 255)}; }
    static Masks refuse() { throw std::runtime_error("no model"); }
};

TEST_F(PersonSegmenterTest, TheMaskCoversTheFrame) {
    vision->script = {success};
    const auto mask = segmenter.mask(frame);
    ASSERT_TRUE(mask);
    EXPECT_EQ(mask->extent(), (Rect{0, 0, 1280, 720}));
    ASSERT_TRUE(segmenter.lastMask());
    EXPECT_TRUE(segmenter.lastMask()->isSameRecipe(*mask));
}

TEST_F(PersonSegmenterTest, AFailureIsToldOnceAndKeepsTheLastMask) {
    const auto none = [] { return Masks{}; };
    const auto blank = [] { return Masks{nullptr}; };
    const struct {
        std::function<Masks()> failure;
        const char* reason;
    } cases[]{
        {refuse, "perform threw: no model"},
        {none, "no results"},
        {blank, "empty mask buffer"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        auto service = std::make_shared<FakeVision>();
        service->script = {c.failure, refuse, success, c.failure};
        PersonSegmenter fresh(PersonSegmenter::Quality::fast, service);
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(fresh.mask(frame));
        EXPECT_FALSE(fresh.mask(frame));
        const auto good = fresh.mask(frame);
        const auto afterFailure = fresh.mask(frame);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  "Cobaltreel PersonSegmenter: segmentation failed (" + std::string(c.reason) +
                      "); using last mask / bubble fallback\n");
        ASSERT_TRUE(good && afterFailure);
        EXPECT_TRUE(afterFailure->isSameRecipe(*good));
    }
}

TEST_F(PersonSegmenterTest, OneRequestOfTheRightQualityFollowsTheCamera) {
    vision->script = {success};
    EXPECT_TRUE(vision->levels.empty());
    segmenter.mask(frame);
    segmenter.mask(frame);
    PersonSegmenter(PersonSegmenter::Quality::accurate, vision).mask(frame);
    EXPECT_EQ(vision->levels, (std::vector{Request::QualityLevel::fast, Request::QualityLevel::accurate}));
}

}  // namespace
}  // namespace cobaltreel
