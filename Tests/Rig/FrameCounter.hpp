#pragma once

#include <cstdint>
#include <optional>

/// The scene's frame counter as a strip of black and white cells, so that a program can read it back from a
/// grabbed or a decoded picture. From the left: white, black (to find the strip), 24 bits of the counter
/// with the highest first, 4 bits of check sum. White is 1.
namespace rig {

inline constexpr int counterBits = 24;
inline constexpr int checkBits = 4;
inline constexpr int counterCells = 2 + counterBits + checkBits;
inline constexpr int counterCellSize = 16;  ///< pixels; large enough to survive a lossy encoder
inline constexpr int counterWidth = counterCells * counterCellSize;
inline constexpr int counterHeight = counterCellSize;
inline constexpr std::uint32_t counterMask = (1U << counterBits) - 1;

inline std::uint32_t counterCheck(std::uint32_t counter) {
    std::uint32_t check = 0x5;  // so that an all-black strip is no counter
    for (int shift = 0; shift < counterBits; shift += checkBits) check ^= counter >> shift & 0xf;
    return check & 0xf;
}

/// Whether cell `index` is white for this counter.
inline bool counterCell(std::uint32_t counter, int index) {
    if (index < 2) return index == 0;
    const std::uint32_t code = (counter & counterMask) << checkBits | counterCheck(counter & counterMask);
    return (code >> (counterCells - 1 - index) & 1) != 0;
}

/// Reads the counter from a picture that shows the whole desktop. `luma(x, y)` is the brightness (0…255) at
/// a place in fractions 0…1 of the picture's width and height; the desktop's size is in pixels. Absent when
/// the strip cannot be read.
template <typename Luma>
std::optional<std::uint32_t> readCounter(int desktopWidth, int desktopHeight, Luma luma) {
    std::uint32_t code = 0;
    for (int index = 0; index < counterCells; ++index) {
        const double x = (index + 0.5) * counterCellSize / desktopWidth;
        const double y = 0.5 * counterCellSize / desktopHeight;
        const bool white = luma(x, y) > 127;
        if (index < 2 && white != (index == 0)) return std::nullopt;
        if (index >= 2) code = code << 1 | (white ? 1U : 0U);
    }
    const std::uint32_t counter = code >> checkBits;
    if ((code & 0xf) != counterCheck(counter)) return std::nullopt;
    return counter;
}

}  // namespace rig
