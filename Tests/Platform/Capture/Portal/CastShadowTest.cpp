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

TEST(CastShadow, OnlyAShadowIsCutOff) {
    const struct {
        const char* what;
        void (*draw)(SentWindow&);
        PixelRect left;
    } cases[] = {
        {"no border", [](SentWindow& sent) { sent.fill(all, white); }, all},
        {"a clear border", [](SentWindow& sent) { sent.fill(window, white); }, window},
        {"a shadow all around",
         [](SentWindow& sent) {
             sent.fill(all, shadow);
             sent.fill(window, white);
         },
         window},
        {"round corners",
         [](SentWindow& sent) {
             sent.fill(window, white);
             for (const auto& corner : {PixelRect{9, 7, 3, 3}, PixelRect{46, 24, 3, 3}})
                 sent.fill(corner, shadow);
         },
         window},
        {"an empty place inside",
         [](SentWindow& sent) {
             sent.fill(all, white);
             sent.fill(window, clear);
         },
         all},
        {"a translucent window in its shadow",
         [](SentWindow& sent) {
             sent.fill(all, shadow);
             sent.fill(window, glass);
         },
         window},
        {"colored glass to the edge", [](SentWindow& sent) { sent.fill(all, 0x60402010); }, all},
        {"a black frame where no alpha is kept", [](SentWindow& sent) { sent.fill(window, unknownAlpha); },
         all},
        {"nothing yet", [](SentWindow&) {}, all},
        {"three bytes a pixel",
         [](SentWindow& sent) {
             sent.fill(window, white);
             sent.picture.format = SPA_VIDEO_FORMAT_BGR;
         },
         all},
        {"alpha in front",
         [](SentWindow& sent) {
             sent.fill(all, 0x00000060);
             sent.fill(window, white);
             sent.picture.format = SPA_VIDEO_FORMAT_ARGB;
         },
         window},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        SentWindow sent;
        each.draw(sent);
        CastShadow cut;
        EXPECT_EQ(sent.leftBy(cut), each.left);
    }
}

TEST(CastShadow, IsFoundAnewWhenTheWindowChanges) {
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
