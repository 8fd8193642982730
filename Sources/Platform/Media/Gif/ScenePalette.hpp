#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Media/Gif/GifFile.hpp"

#include <cstdint>
#include <vector>

namespace platform::gif {

/// The colors of a scene, and the nearest of them to any color. One thread.
class ScenePalette {
  public:
    /// One index is kept for what does not change.
    static constexpr int maxColors = 255;

    ScenePalette();

    /// Chooses the colors for a bgra picture. Those of the pixels that `mask` (one byte each) marks count
    /// more. Throws PlatformError when the library fails.
    void choose(const PixelBuffer& picture, const std::vector<std::uint8_t>& mask);

    /// Whether the marked pixels look right in these colors.
    bool serves(const PixelBuffer& picture, const std::vector<std::uint8_t>& mask);

    /// The same of one bgra pixel.
    bool serves(const std::uint8_t* bgra) { return found(binOf(bgra)).distance <= visibleDistance; }

    const std::vector<Color>& colors() const { return colors_; }
    /// The index of the color nearest to that of a bgra pixel.
    std::uint8_t nearest(const std::uint8_t* bgra) { return found(binOf(bgra)).index; }
    const Color& color(const std::uint8_t* bgra) { return colors_[nearest(bgra)]; }

  private:
    /// A color that is off by more than four levels, in the mean of the channels, shows on plain areas.
    static constexpr int visibleDistance = 3 * 4 * 4;
    /// Colors that differ by less than four levels in each channel are looked up as one.
    static constexpr int binBits = 6;
    static constexpr std::size_t bins = std::size_t{1} << (3 * binBits);
    static std::size_t binOf(const std::uint8_t* bgra) {
        constexpr int drop = 8 - binBits;
        return static_cast<std::size_t>(bgra[2] >> drop) << (2 * binBits) |
               static_cast<std::size_t>(bgra[1] >> drop) << binBits |
               static_cast<std::size_t>(bgra[0] >> drop);
    }

    struct Found {
        std::uint8_t index = 0;
        bool isKnown = false;
        std::uint16_t distance = 0;  // squared, in levels
    };
    const Found& found(std::size_t bin) {
        Found& entry = found_[bin];
        if (!entry.isKnown) search(bin, entry);
        return entry;
    }
    void search(std::size_t bin, Found& entry) const;

    std::vector<Color> colors_;
    std::vector<Found> found_;
};

}  // namespace platform::gif
