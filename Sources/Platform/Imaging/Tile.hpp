#pragma once

#include "Platform/Imaging/AxisMap.hpp"

#include <cstddef>
#include <cstdint>

namespace platform::imaging {

/// A piece of the output, y downwards: premultiplied bgra with four channels, or one channel.
struct Tile {
    PixelBox rect;
    std::uint8_t* data = nullptr;
    int stride = 0;
    int channels = 4;
    /// Nothing has been drawn: the memory holds anything, and counts as transparent.
    bool blank = true;

    std::uint8_t* at(int x, int y) const {
        return data + static_cast<std::ptrdiff_t>(y - rect.top) * stride +
               static_cast<std::ptrdiff_t>(x - rect.left) * channels;
    }
    /// The same memory, a part of it; blank.
    Tile part(const PixelBox& r) const { return {r, at(r.left, r.top), stride, channels}; }

    /// Makes everything outside `kept` transparent in memory; the tile is no longer blank.
    void clearOutside(const PixelBox& kept);
    /// Makes a blank tile transparent in memory.
    void settle() {
        if (blank) clearOutside({});
    }
};

}  // namespace platform::imaging
