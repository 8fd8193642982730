#include "Platform/Capture/PipeWire/CameraFormat.hpp"

#include <array>
#include <cstdint>

#include <gtest/gtest.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/raw.h>
#include <spa/pod/builder.h>

namespace platform::pipewire {
namespace {

OfferedFormat raw(std::vector<Size> sizes, std::vector<double> rates) {
    return {false, {SPA_VIDEO_FORMAT_YUY2}, std::move(sizes), false, std::move(rates), false};
}
OfferedFormat mjpeg(std::vector<Size> sizes, std::vector<double> rates) {
    return {true, {}, std::move(sizes), false, std::move(rates), false};
}
OfferedFormat anySize(Size least, Size most, std::vector<double> rates) {
    return {false, {SPA_VIDEO_FORMAT_NV12}, {least, most}, true, std::move(rates), true};
}

TEST(CameraFormatTest, ChoosesWhatServesBest) {
    struct Case {
        const char* camera;
        std::vector<OfferedFormat> offered;
        bool isMjpeg;
        Size size;
        double rate;
    };
    constexpr Size vga{640, 480}, hd{1280, 720}, fullHd{1920, 1080};
    const std::vector<Case> cases{
        {"raw is slow at full size",
         {raw({vga}, {30, 15}), raw({hd}, {10, 5}), mjpeg({vga, hd, fullHd}, {30})},
         true,
         hd,
         30},
        {"raw where both are as good", {mjpeg({hd}, {30}), raw({hd}, {30})}, false, hd, 30},
        {"no more pixels than needed", {raw({{3840, 2160}, fullHd, hd}, {30})}, false, hd, 30},
        {"too many pixels rather than too few", {raw({{640, 360}, fullHd}, {30})}, false, fullHd, 30},
        {"thirty rather than sixty", {raw({hd}, {60, 30, 15})}, false, hd, 30},
        {"fluent before sharp", {raw({hd}, {5}), raw({vga}, {30})}, false, vga, 30},
        {"ranges", {anySize({320, 240}, {4096, 2160}, {1, 120})}, false, hd, 30},
        {"a range that ends too soon", {anySize({320, 240}, {800, 600}, {1, 20})}, false, {800, 600}, 20},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.camera);
        const auto best = bestFormat(each.offered, {1280, 720}, 30);
        ASSERT_TRUE(best);
        EXPECT_EQ(best->isMjpeg, each.isMjpeg);
        EXPECT_EQ(best->size, each.size);
        EXPECT_EQ(best->rate, each.rate);
    }
    EXPECT_FALSE(bestFormat({}, {1280, 720}, 30));
}

TEST(CameraFormatTest, ReadsWhatACameraOffers) {
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_rectangle size{640, 480};
    const spa_fraction thirty{30, 1};
    const spa_fraction half{15, 2};
    const auto* pod = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(3, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_GRAY16_LE),
        SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate,
        SPA_POD_CHOICE_ENUM_Fraction(3, &thirty, &thirty, &half)));
    const auto offered = readOfferedFormat(pod);
    ASSERT_TRUE(offered);
    EXPECT_FALSE(offered->isMjpeg);
    EXPECT_EQ(offered->pixelFormats, std::vector<std::uint32_t>{SPA_VIDEO_FORMAT_YUY2});
    EXPECT_EQ(offered->sizes, (std::vector<Size>{{640, 480}}));
    EXPECT_FALSE(offered->sizesAreRange);
    EXPECT_EQ(offered->rates, (std::vector<double>{30, 7.5}));

    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    EXPECT_FALSE(readOfferedFormat(static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_h264)))));
}

}  // namespace
}  // namespace platform::pipewire
