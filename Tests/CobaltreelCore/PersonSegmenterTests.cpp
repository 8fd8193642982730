#include "CobaltreelCore/PersonSegmenter.hpp"
#include "Fakes/FakeVision.hpp"
#include "Platform/Imaging/RenderContext.hpp"

#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::Image;
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

struct Pixel {
    int blue, green, red, alpha;
    friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// The pixel in column x and row y from the top.
Pixel pixelAt(const PixelBuffer& buffer, int x, int y) {
    const auto* p = buffer.plane().data + static_cast<std::ptrdiff_t>(y) * buffer.plane().stride + 4 * x;
    return {p[0], p[1], p[2], p[3]};
}

TEST(PersonSegmenterPixels, TheEdgeOfTheMaskIsSoftAndItsSidesAreNot) {
    auto half = gray(64, 48, 0);  // the person fills the right half
    for (int y = 0; y < 48; ++y) std::memset(half->plane().data + y * half->plane().stride + 32, 255, 32);
    auto vision = std::make_shared<FakeVision>();
    vision->script = {[half] { return Masks{half}; }};
    ConstPixelBufferRef small = std::make_shared<PixelBuffer>(PixelFormat::bgra, 128, 72);
    PersonSegmenter segmenter(PersonSegmenter::Quality::fast, vision);
    const auto mask = segmenter.mask(small);
    ASSERT_TRUE(mask);
    const auto pixels = platform::RenderContext().makeBitmap(*mask, 128, 72);
    EXPECT_LE(pixelAt(*pixels, 40, 36).green, 2);
    EXPECT_GE(pixelAt(*pixels, 90, 36).green, 253);
    const int left = pixelAt(*pixels, 63, 36).green, right = pixelAt(*pixels, 64, 36).green;
    EXPECT_TRUE(60 < left && left < right && right < 195) << left << " " << right;
}

TEST(PersonSegmenterPixels, TheCutOutKeepsWhatIsWhite) {
    const platform::Color color{0.2, 0.4, 0.6, 1};
    const Image picture = Image::constant(color).cropped({0, 0, 16, 16});
    platform::RenderContext context;
    const Pixel whole = pixelAt(*context.makeBitmap(picture, 16, 16), 8, 8);
    const std::pair<int, Pixel> cases[]{{255, whole}, {0, Pixel{0, 0, 0, 0}}};
    for (const auto& [value, expected] : cases) {
        const auto cut = PersonSegmenter::apply(Image::fromBuffer(gray(16, 16, value)), picture);
        ASSERT_TRUE(cut);
        EXPECT_EQ(pixelAt(*context.makeBitmap(*cut, 16, 16), 8, 8), expected) << value;
    }
}

}  // namespace
}  // namespace cobaltreel
