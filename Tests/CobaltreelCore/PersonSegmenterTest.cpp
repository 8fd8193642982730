#include "CobaltreelCore/PersonSegmenter.hpp"
#include "Fakes/FakeVision.hpp"

#include <stdexcept>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelFormat;

TEST(PersonSegmenterTest, AFailureIsToldOnceAndKeepsTheLastMask) {
    const ConstPixelBufferRef frame = std::make_shared<PixelBuffer>(PixelFormat::bgra, 1280, 720);
    const auto success = [] { return Masks{gray(512, 384, 255)}; };
    const auto refuse = []() -> Masks { throw std::runtime_error("no model"); };
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
        EXPECT_EQ(afterFailure, good);
    }
}

TEST(PersonSegmenterTest, TheEdgeOfTheMaskIsSoftAndItsSidesAreNot) {
    auto half = gray(64, 48, 0);  // the person fills the right half
    for (int y = 0; y < 48; ++y) std::memset(half->row(y) + 32, 255, 32);
    auto vision = std::make_shared<FakeVision>();
    vision->script = {[half] { return Masks{half}; }};
    const auto small = std::make_shared<PixelBuffer>(PixelFormat::bgra, 128, 72);
    PersonSegmenter segmenter(PersonSegmenter::Quality::fast, vision);
    const auto mask = segmenter.mask(small);
    ASSERT_TRUE(mask);
    EXPECT_EQ(mask->width(), 128);
    EXPECT_EQ(mask->height(), 72);
    EXPECT_LE(mask->row(36)[40], 2);
    EXPECT_GE(mask->row(36)[90], 253);
    const int left = mask->row(36)[63], right = mask->row(36)[64];
    EXPECT_TRUE(60 < left && left < right && right < 195) << left << " " << right;
}

}  // namespace
}  // namespace cobaltreel
