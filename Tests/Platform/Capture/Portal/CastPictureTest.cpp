#include "Platform/Capture/PipeWire/CastFrames.hpp"
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
        metas[2] = {SPA_META_VideoDamage, sizeof damage, damage.data()};
        buffer.n_datas = 1;
        buffer.datas = &data;
        buffer.n_metas = 3;
        buffer.metas = metas.data();
    }
    std::vector<std::uint8_t> memory;
    spa_chunk chunk{};
    spa_data data{};
    spa_meta_header header{};
    spa_meta_region crop{};
    std::array<spa_meta_region, 4> damage{};
    std::array<spa_meta, 3> metas{};
    spa_buffer buffer{};
};

const CastFormat bgrx{SPA_VIDEO_FORMAT_BGRx, {64, 48}, false};

TEST(CastPictureTest, EveryFormatBecomesBgra) {
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
        const auto picture = readPicture(sent.buffer, {each.format, {width, height}, false});
        ASSERT_TRUE(picture);
        const PixelBuffer drawn(PixelFormat::bgra, width, height);
        draw(*picture, {0, 0, width, height}, drawn.plane());
        for (int x = 0; x < width; ++x) {
            const std::uint8_t* pixel = drawn.plane().data + 2 * drawn.plane().stride + x * 4;
            EXPECT_EQ(std::vector<int>(pixel, pixel + 3), (std::vector<int>{3, 2, 1})) << x;
        }
    }
}

TEST(CastPictureTest, WhatCannotBeTrueIsNoPicture) {
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
        EXPECT_EQ(readPicture(sent.buffer, bgrx).has_value(), each.isPicture);
    }
}

TEST(CastPictureTest, ACropStaysInsideThePicture) {
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    const struct {
        spa_region crop;
        std::array<int, 4> taken;
    } cases[] = {{{{8, 4}, {32, 16}}, {8, 4, 32, 16}},
                 {{{0, 0}, {0, 0}}, {0, 0, 64, 48}},
                 {{{-5, -9}, {4000, 4000}}, {0, 0, 64, 48}},
                 {{{most, most}, {7, 7}}, {0, 0, 64, 48}},
                 {{{60, -3}, {0xffffffff, 5}}, {60, 0, 4, 2}}};
    for (const auto& each : cases) {
        SentBuffer sent(64 * 48 * 4);
        sent.crop.region = each.crop;
        const auto picture = readPicture(sent.buffer, bgrx);
        ASSERT_TRUE(picture);
        EXPECT_EQ((std::array{picture->x, picture->y, picture->plane.width, picture->plane.height}),
                  each.taken);
    }
}

TEST(CastPictureTest, WhatChangedIsBelievedInsideTheCropOnly) {
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    const struct {
        std::array<spa_region, 2> damage;
        std::optional<RectList> changes;
    } cases[] = {{{}, std::nullopt},
                 {{{{{8, 8}, {4, 4}}}}, RectList{{0, 4, 4, 4}}},
                 {{{{{0, 0}, {16, 6}}, {{most, 0}, {9, 9}}}}, RectList{{0, 0, 8, 2}, {}}},
                 {{{{{-9, -9}, {0xffffffff, 0xffffffff}}}}, RectList{{0, 0, 32, 16}}}};
    for (const auto& each : cases) {
        SentBuffer sent(64 * 48 * 4);
        sent.crop.region = {{8, 4}, {32, 16}};
        for (std::size_t i = 0; i < each.damage.size(); ++i) sent.damage[i].region = each.damage[i];
        const auto picture = readPicture(sent.buffer, bgrx);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->changes, each.changes);
    }
}

/// A grey of every pixel of a frame's luma, at (`x`, `y`).
int lumaAt(const ConstPixelBufferRef& frame, int x, int y) {
    return frame->plane().data[static_cast<std::ptrdiff_t>(y) * frame->plane().stride + x];
}

TEST(CastFramesTest, OnlyWhatChangedIsConvertedAndThePointerLeavesNoTrace) {
    for (const std::uint32_t format : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_xRGB}) {
        SCOPED_TRACE(format);
        StreamConfiguration configuration;
        configuration.width = 64;
        configuration.height = 48;
        configuration.acceptsPlanar = true;
        configuration.queueDepth = 1;  // the same frame each time
        CastFrames frames(configuration);
        SentBuffer sent(64 * 48 * 4);
        const auto show = [&](const spa_region& damage) {
            sent.damage[0].region = damage;
            auto picture = *readPicture(sent.buffer, {format, {64, 48}, false});
            frames.show(picture);
            return picture;
        };
        auto picture = show({});
        EXPECT_EQ(lumaAt(frames.make(picture, nullptr, -1), 40, 40), 16);

        std::memset(sent.memory.data(), 0xff, sent.memory.size());
        picture = show({{8, 8}, {8, 8}});
        auto frame = frames.make(picture, nullptr, -1);
        EXPECT_EQ(lumaAt(frame, 12, 12), 235);
        EXPECT_EQ(lumaAt(frame, 40, 40), 16) << "not said to have changed";
        frame.reset();
        picture = show({});
        EXPECT_EQ(lumaAt(frames.make(picture, nullptr, -1), 40, 40), 235);

        CastPointer pointer;
        struct {
            spa_meta_cursor cursor;
            spa_meta_bitmap bitmap;
            std::array<std::uint32_t, 9> pixels;
        } black{};
        black.cursor = {1, 0, {20, 20}, {0, 0}, sizeof black.cursor};
        black.bitmap = {SPA_VIDEO_FORMAT_BGRA, {3, 3}, 12, sizeof black.bitmap};
        black.pixels.fill(0xff000000);
        pointer.update(black.cursor, sizeof black);
        frame = frames.make(picture, &pointer, -1);
        EXPECT_EQ(lumaAt(frame, 22, 22), 16);
        EXPECT_EQ(lumaAt(frame, 23, 22), 235);
        EXPECT_FALSE(frames.claimRoom());
        frame.reset();
        black.cursor.position = {63, 47};
        pointer.update(black.cursor, sizeof black);
        frame = frames.make(picture, &pointer, -1);
        EXPECT_EQ(lumaAt(frame, 22, 22), 235);
        EXPECT_EQ(lumaAt(frame, 63, 47), 16);
        EXPECT_EQ(frames.takeDropped(), 1U);
    }
}

}  // namespace
}  // namespace platform::pipewire
