#include "Platform/Capture/PipeWire/CastPicture.hpp"

#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {
namespace {

/// A buffer as a compositor fills it, whatever it says of itself.
struct SentBuffer {
    explicit SentBuffer(std::size_t size) : memory(size) {
        data.data = memory.data();
        data.maxsize = static_cast<std::uint32_t>(size);
        data.chunk = &chunk;
        chunk.size = data.maxsize;
        metas[0] = {SPA_META_Header, sizeof header, &header};
        metas[1] = {SPA_META_VideoCrop, sizeof crop, &crop};
        buffer.n_datas = 1;
        buffer.datas = &data;
        buffer.n_metas = 2;
        buffer.metas = metas.data();
    }
    std::vector<std::uint8_t> memory;
    spa_chunk chunk{};
    spa_data data{};
    spa_meta_header header{};
    spa_meta_region crop{};
    std::array<spa_meta, 2> metas{};
    spa_buffer buffer{};
};

TEST(CastPicture, EveryFormatBecomesOpaqueBgra) {
    const struct {
        std::uint32_t format;
        std::vector<std::uint8_t> pixel;
    } cases[] = {{SPA_VIDEO_FORMAT_BGRx, {3, 2, 1, 0}}, {SPA_VIDEO_FORMAT_BGRA, {3, 2, 1, 9}},
                 {SPA_VIDEO_FORMAT_RGBx, {1, 2, 3, 0}}, {SPA_VIDEO_FORMAT_RGBA, {1, 2, 3, 9}},
                 {SPA_VIDEO_FORMAT_xRGB, {0, 1, 2, 3}}, {SPA_VIDEO_FORMAT_ARGB, {9, 1, 2, 3}},
                 {SPA_VIDEO_FORMAT_xBGR, {0, 3, 2, 1}}, {SPA_VIDEO_FORMAT_ABGR, {9, 3, 2, 1}},
                 {SPA_VIDEO_FORMAT_BGR, {3, 2, 1}},     {SPA_VIDEO_FORMAT_RGB, {1, 2, 3}}};
    ASSERT_EQ(std::size(cases), castFormats.size());
    for (const auto& each : cases) {
        SCOPED_TRACE(each.format);
        constexpr int width = 19, height = 3;
        SentBuffer sent(width * height * each.pixel.size());
        for (std::size_t i = 0; i < sent.memory.size(); ++i)
            sent.memory[i] = each.pixel[i % each.pixel.size()];
        const auto picture = readPicture(sent.buffer, each.format, {width, height});
        ASSERT_TRUE(picture);
        const PixelBuffer drawn(PixelFormat::bgra, width, height);
        draw(*picture, drawn.plane());
        for (int x = 0; x < width; ++x) {
            const std::uint8_t* pixel = drawn.plane().data + 2 * drawn.plane().stride + x * 4;
            EXPECT_EQ(std::vector<int>(pixel, pixel + 4), (std::vector<int>{3, 2, 1, 255})) << x;
        }
    }
}

TEST(CastPicture, WhatCannotBeTrueIsNoPicture) {
    const Size size{64, 48};
    const struct {
        const char* what;
        void (*spoil)(SentBuffer&);
        bool isPicture;
    } cases[] = {
        {"as it should be", [](SentBuffer&) {}, true},
        {"only the pointer", [](SentBuffer& sent) { sent.chunk.size = 0; }, false},
        {"corrupted chunk", [](SentBuffer& sent) { sent.chunk.flags = SPA_CHUNK_FLAG_CORRUPTED; }, false},
        {"corrupted header", [](SentBuffer& sent) { sent.header.flags = SPA_META_HEADER_FLAG_CORRUPTED; },
         false},
        {"not mapped", [](SentBuffer& sent) { sent.data.data = nullptr; }, false},
        {"rows that overlap", [](SentBuffer& sent) { sent.chunk.stride = 64; }, false},
        {"rows backwards", [](SentBuffer& sent) { sent.chunk.stride = -256; }, false},
        {"more than there is", [](SentBuffer& sent) { sent.chunk.stride = 1 << 28; }, false},
        {"beginning beyond the end", [](SentBuffer& sent) { sent.chunk.offset = 0xffffff00; }, false},
        {"too little memory", [](SentBuffer& sent) { sent.data.maxsize -= 1; }, false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        SentBuffer sent(64 * 48 * 4);
        each.spoil(sent);
        EXPECT_EQ(readPicture(sent.buffer, SPA_VIDEO_FORMAT_BGRx, size).has_value(), each.isPicture);
    }
}

TEST(CastPicture, ACropStaysInsideThePicture) {
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    const struct {
        spa_region crop;
        std::array<int, 4> taken;
    } cases[] = {{{{8, 4}, {32, 16}}, {8, 4, 32, 16}},
                 {{{0, 0}, {0, 0}}, {0, 0, 64, 48}},
                 {{{-5, -9}, {4000, 4000}}, {0, 0, 64, 48}},
                 {{{most, most}, {7, 7}}, {63, 47, 1, 1}}};
    for (const auto& each : cases) {
        SentBuffer sent(64 * 48 * 4);
        sent.crop.region = each.crop;
        const auto picture = readPicture(sent.buffer, SPA_VIDEO_FORMAT_BGRx, {64, 48});
        ASSERT_TRUE(picture);
        EXPECT_EQ((std::array{picture->x, picture->y, picture->width, picture->height}), each.taken);
    }
}

TEST(CastPicture, AnotherSizeIsFittedInTheMiddle) {
    const CastFit wide = fitPicture(200, 50, 100, 100);
    EXPECT_EQ((std::array{wide.x, wide.y, wide.width, wide.height}), (std::array{0, 37, 100, 25}));
    EXPECT_FALSE(wide.isExact);
    EXPECT_TRUE(fitPicture(101, 99, 100, 100).isExact);

    const PixelBuffer picture(PixelFormat::bgra, 99, 99), frame(PixelFormat::bgra, 100, 100);
    std::memset(picture.plane().data, 0x77, static_cast<std::size_t>(picture.plane().stride) * 99);
    drawFitted(picture.plane(), fitPicture(99, 99, 100, 100), frame.plane());
    const auto& plane = frame.plane();
    EXPECT_EQ(plane.data[99 * plane.stride + 99 * 4], 0x77) << "the odd line is repeated, not black";
}

}  // namespace
}  // namespace platform::pipewire
