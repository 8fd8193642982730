#include "Platform/Imaging/Tile.hpp"

#include <cstring>

namespace platform::imaging {

void Tile::clearOutside(const PixelBox& kept) {
    const auto clear = [this](int x0, int x1, int y) {
        if (x1 > x0)
            std::memset(at(x0, y), 0, static_cast<std::size_t>(x1 - x0) * static_cast<std::size_t>(channels));
    };
    for (int y = rect.top; y < rect.bottom; ++y) {
        if (y < kept.top || y >= kept.bottom) {
            clear(rect.left, rect.right, y);
        } else {
            clear(rect.left, kept.left, y);
            clear(kept.right, rect.right, y);
        }
    }
    blank = false;
}

}  // namespace platform::imaging
