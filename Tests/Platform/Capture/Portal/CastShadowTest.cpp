#include "Platform/Capture/PipeWire/CastShadow.hpp"

#include <vector>

#include <gtest/gtest.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {
namespace {

constexpr std::uint32_t clear = 0, shadow = 0x60000000, white = 0xffffffff, glass = 0xc0101010,
                        unknownAlpha = 0x00ffffff;
constexpr PixelRect all{0, 0, 60, 40}, window{9, 7, 40, 20};

/// A picture that lies at (100, 50) of its stream.
struct SentWindow {
    SentWindow() : pixels(std::size_t{60} * 40) {
        picture.format = SPA_VIDEO_FORMAT_BGRx;
        picture.x = 100;
        picture.y = 50;
        picture.plane = {reinterpret_cast<std::uint8_t*>(pixels.data()), 60 * 4, 60, 40};
    }
    void fill(const PixelRect& area, std::uint32_t bgra) {
        for (int y = area.y; y < area.maxY(); ++y)
            for (int x = area.x; x < area.maxX(); ++x) pixels[static_cast<std::size_t>(y * 60 + x)] = bgra;
    }
    PixelRect leftBy(CastShadow& cut) const {
        CastPicture left = picture;
        cut.cutOff(left);
        const auto offset = (left.plane.data - picture.plane.data) / 4;
        EXPECT_EQ(offset, (left.y - 50) * 60 + left.x - 100) << "rows and place must agree";
        return {left.x - 100, left.y - 50, left.plane.width, left.plane.height};
    }
    std::vector<std::uint32_t> pixels;
    CastPicture picture;
};

TEST(CastShadowTest, OnlyAShadowIsCutOff) {
    using Fills = std::vector<std::pair<PixelRect, std::uint32_t>>;
    const struct {
        const char* what;
        Fills fills;
        PixelRect left;
        std::uint32_t format = SPA_VIDEO_FORMAT_BGRx;
    } cases[] = {
        {"no border", {{all, white}}, all},
        {"a clear border", {{window, white}}, window},
        {"a shadow all around", {{all, shadow}, {window, white}}, window},
        {"round corners", {{window, white}, {{9, 7, 3, 3}, shadow}, {{46, 24, 3, 3}, shadow}}, window},
        {"an empty place inside", {{all, white}, {window, clear}}, all},
        {"a translucent window in its shadow", {{all, shadow}, {window, glass}}, window},
        {"colored glass to the edge", {{all, 0x60402010}}, all},
        {"a black frame where no alpha is kept", {{window, unknownAlpha}}, all},
        {"nothing yet", {}, all},
        {"three bytes a pixel", {{window, white}}, all, SPA_VIDEO_FORMAT_BGR},
        {"alpha in front", {{all, 0x00000060}, {window, white}}, window, SPA_VIDEO_FORMAT_ARGB},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        SentWindow sent;
        for (const auto& [area, color] : each.fills) sent.fill(area, color);
        sent.picture.format = each.format;
        CastShadow cut;
        EXPECT_EQ(sent.leftBy(cut), each.left);
    }
}

TEST(CastShadowTest, IsFoundAnewWhenTheWindowChanges) {
    SentWindow sent;
    CastShadow cut;
    EXPECT_EQ(sent.leftBy(cut), all) << "nothing is drawn yet";
    sent.fill(window, white);
    EXPECT_EQ(sent.leftBy(cut), window);
    sent.fill({9, 7, 40, 9}, clear);
    EXPECT_EQ(sent.leftBy(cut), window) << "dark for a moment at its edge";
    constexpr PixelRect larger{9, 7, 45, 20};
    sent.fill(larger, white);
    EXPECT_EQ(sent.leftBy(cut), larger);
    sent.fill(all, clear);
    sent.fill(window, white);
    sent.picture.x = 0;
    sent.picture.y = 0;
    CastPicture moved = sent.picture;
    moved.changes = RectList{{0, 0, 5, 5}, {10, 8, 50, 2}};
    cut.cutOff(moved);
    EXPECT_EQ((PixelRect{moved.x, moved.y, moved.plane.width, moved.plane.height}), window);
    EXPECT_EQ(moved.changes, (RectList{{1, 1, 39, 2}}));
}

}  // namespace
}  // namespace platform::pipewire
