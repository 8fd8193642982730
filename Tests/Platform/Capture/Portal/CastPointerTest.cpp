#include "Platform/Capture/PipeWire/CastPointer.hpp"

#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {
namespace {

/// Cursor metadata as a compositor writes it: an opaque white pointer of 4 by 4 pixels.
struct SentCursor {
    explicit SentCursor(int x = 10, int y = 20)
        : memory(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + 64) {
        cursor().id = 1;
        cursor().position = {x, y};
        cursor().hotspot = {1, 1};
        cursor().bitmap_offset = sizeof(spa_meta_cursor);
        bitmap().format = SPA_VIDEO_FORMAT_RGBA;
        bitmap().size = {4, 4};
        bitmap().stride = 16;
        bitmap().offset = sizeof(spa_meta_bitmap);
        std::memset(memory.data() + sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap), 0xff, 64);
    }
    spa_meta_cursor& cursor() { return *reinterpret_cast<spa_meta_cursor*>(memory.data()); }
    spa_meta_bitmap& bitmap() {
        return *reinterpret_cast<spa_meta_bitmap*>(memory.data() + sizeof(spa_meta_cursor));
    }
    void size(std::uint32_t width, std::uint32_t height) { bitmap().size = {width, height}; }
    void hotspot(int x, int y) { cursor().hotspot = {x, y}; }
    void place(int x, int y) { cursor().position = {x, y}; }
    bool tell(CastPointer& pointer) { return pointer.update(cursor(), memory.size()); }

    std::vector<std::uint8_t> memory;
};

/// How many pixels of a black picture the pointer covers.
int drawnPixels(const CastPointer& pointer) {
    const PixelBuffer picture(PixelFormat::bgra, 100, 80);
    if (const auto at = pointer.position()) pointer.image().draw(picture.plane(), at->x, at->y);
    int count = 0;
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 100; ++x)
            count += picture.plane().data[y * picture.plane().stride + x * 4] != 0 ? 1 : 0;
    return count;
}

TEST(CastPointerTest, FollowsPlaceAndShape) {
    CastPointer pointer;
    SentCursor sent;
    EXPECT_TRUE(sent.tell(pointer));
    EXPECT_EQ(pointer.position(), (CastPointer::Position{10, 20}));
    EXPECT_EQ(drawnPixels(pointer), 16);

    sent.cursor().bitmap_offset = 0;  // the same shape
    sent.cursor().position = {0, 0};
    EXPECT_TRUE(sent.tell(pointer));
    EXPECT_EQ(drawnPixels(pointer), 9) << "cut off at the picture's edge";
    EXPECT_FALSE(sent.tell(pointer)) << "nothing new";

    sent.cursor().id = 0;
    EXPECT_TRUE(sent.tell(pointer));
    EXPECT_FALSE(pointer.position());
    EXPECT_EQ(drawnPixels(pointer), 0);
}

TEST(CastPointerTest, HostileMetadataIsNotBelieved) {
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    constexpr auto least = std::numeric_limits<std::int32_t>::min();
    const struct {
        const char* what;
        void (*spoil)(SentCursor&);
        int pixels;  // that are still drawn
    } cases[] = {
        {"bitmap inside the head", [](SentCursor& sent) { sent.cursor().bitmap_offset = 4; }, 16},
        {"bitmap beyond the end", [](SentCursor& sent) { sent.cursor().bitmap_offset = 0xfffffff0; }, 16},
        {"an absurd size", [](SentCursor& sent) { sent.size(30000, 30000); }, 16},
        {"a size that overflows", [](SentCursor& sent) { sent.size(0xffffffff, 0xffffffff); }, 16},
        {"more rows than memory", [](SentCursor& sent) { sent.size(4, 5); }, 16},
        {"rows backwards", [](SentCursor& sent) { sent.bitmap().stride = -16; }, 16},
        {"rows far apart", [](SentCursor& sent) { sent.bitmap().stride = most; }, 16},
        {"pixels in the head", [](SentCursor& sent) { sent.bitmap().offset = 4; }, 16},
        {"pixels beyond the end", [](SentCursor& sent) { sent.bitmap().offset = 0xfffffff0; }, 16},
        {"a format that is none", [](SentCursor& sent) { sent.bitmap().format = 9999; }, 16},
        {"a hot spot far away", [](SentCursor& sent) { sent.hotspot(most, least); }, 16},
        {"a place far away", [](SentCursor& sent) { sent.place(most, least); }, 0},
        {"a place off the picture", [](SentCursor& sent) { sent.place(-500, 90000); }, 0},
        {"no picture any more", [](SentCursor& sent) { sent.size(0, 0); }, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        CastPointer pointer;
        SentCursor good, bad;
        good.tell(pointer);
        each.spoil(bad);
        bad.tell(pointer);
        EXPECT_EQ(drawnPixels(pointer), each.pixels);
    }
}

}  // namespace
}  // namespace platform::pipewire
