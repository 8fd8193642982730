#pragma once

#include <cstdint>
#include <optional>
#include <vector>

/// What the test camera draws, and how it is read back from a picture of any size. The picture is 8 columns
/// wide and 3 bands high: above a black band with a white column at the left edge and a gray one beside it;
/// in the middle a band that is white during a flash and dark otherwise; below a counter of 16 bits, in
/// cells that are a sixteenth of the width, the lowest bit at the left.
namespace rigPicture {

/// One plane of brightness, rows from the top.
struct Luma {
    std::vector<std::uint8_t> pixels;
    int width = 0;
    int height = 0;
};

inline Luma draw(int width, int height, std::uint16_t counter, bool flash) {
    Luma picture{
        std::vector<std::uint8_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)), width,
        height};
    constexpr std::uint8_t black = 16;
    constexpr std::uint8_t gray = 128;
    constexpr std::uint8_t white = 235;
    for (int y = 0; y < height; ++y) {
        const int band = 3 * y / height;
        for (int x = 0; x < width; ++x) {
            std::uint8_t value = black;
            if (band == 0)
                value = x < width / 8 ? white : x < width / 4 ? gray : black;
            else if (band == 1)
                value = flash ? white : black;
            else if ((counter >> (16 * x / width) & 1) != 0)
                value = white;
            picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                           static_cast<std::size_t>(x)] = value;
        }
    }
    return picture;
}

struct Reading {
    bool mirrored = false;
    bool flash = false;
    std::uint16_t counter = 0;
};

/// Absent when the picture is not one of the test camera's. `at(x, y)` gives the brightness at a place
/// given as fractions of the width and height.
template <typename BrightnessAt>
std::optional<Reading> read(BrightnessAt at) {
    constexpr int middle = 128;
    constexpr double topBand = 1.0 / 6;
    constexpr double middleBand = 3.0 / 6;
    constexpr double bottomBand = 5.0 / 6;
    const bool leftIsWhite = at(1.0 / 32, topBand) > middle + 50;
    const bool rightIsWhite = at(31.0 / 32, topBand) > middle + 50;
    if (leftIsWhite == rightIsWhite) return std::nullopt;
    Reading reading;
    reading.mirrored = rightIsWhite;
    reading.flash = at(0.5, middleBand) > middle;
    for (int bit = 0; bit < 16; ++bit) {
        const double x = (bit + 0.5) / 16;
        if (at(reading.mirrored ? 1 - x : x, bottomBand) > middle)
            reading.counter = static_cast<std::uint16_t>(reading.counter | 1U << bit);
    }
    return reading;
}

}  // namespace rigPicture
