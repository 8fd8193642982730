#include "Platform/Media/Gif/ScenePalette.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <limits>
#include <memory>

#include <libimagequant.h>

namespace platform::gif {
namespace {

// So many of the pixels may be off visibly.
constexpr double bearableShare = 0.02;

// What is drawn now counts so many times as much as what is on screen already and may be drawn later.
constexpr unsigned drawnWeight = 3;

// The library's scale from 1, the best, to 10. 8 takes half of the time of its default, 4, for a difference
// that nobody sees on screens.
constexpr int quantiserSpeed = 8;

struct FreeAttributes {
    void operator()(liq_attr* each) const { liq_attr_destroy(each); }
};
struct FreeHistogram {
    void operator()(liq_histogram* each) const { liq_histogram_destroy(each); }
};
struct FreeResult {
    void operator()(liq_result* each) const { liq_result_destroy(each); }
};

void require(liq_error result) {
    if (result == LIQ_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != LIQ_OK)
        throw PlatformError("ImageQuant", result, "The colors of a GIF's scene cannot be chosen.");
}

/// The sum of the colors in a bin.
struct Tally {
    std::uint32_t count = 0;
    std::uint64_t r = 0, g = 0, b = 0;  // a large white picture would not fit into 32 bits
};

}  // namespace

ScenePalette::ScenePalette() : found_(bins) {}

void ScenePalette::choose(const PixelBuffer& picture, const std::vector<std::uint8_t>& mask) {
    std::vector<Tally> tallies(bins);
    const Plane& plane = picture.plane();
    const std::uint8_t* marked = mask.data();
    for (int y = 0; y < plane.height; ++y) {
        const std::uint8_t* pixel = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride;
        for (int x = 0; x < plane.width; ++x, pixel += 4, ++marked) {
            const std::uint32_t weight = *marked ? drawnWeight : 1;
            Tally& tally = tallies[binOf(pixel)];
            tally.count += weight;
            tally.r += weight * pixel[2];
            tally.g += weight * pixel[1];
            tally.b += weight * pixel[0];
        }
    }
    std::vector<liq_histogram_entry> entries;
    for (const Tally& tally : tallies) {
        if (tally.count == 0) continue;
        const auto mean = [&](std::uint64_t sum) {
            return static_cast<unsigned char>((sum + tally.count / 2) / tally.count);
        };
        entries.push_back({{mean(tally.r), mean(tally.g), mean(tally.b), 255}, tally.count});
    }

    const std::unique_ptr<liq_attr, FreeAttributes> attributes(liq_attr_create());
    if (!attributes) throw std::bad_alloc();
    require(liq_set_max_colors(attributes.get(), maxColors));
    require(liq_set_speed(attributes.get(), quantiserSpeed));
    const std::unique_ptr<liq_histogram, FreeHistogram> histogram(liq_histogram_create(attributes.get()));
    if (!histogram) throw std::bad_alloc();
    constexpr double unknownGamma = 0;  // sRGB
    require(liq_histogram_add_colors(histogram.get(), attributes.get(), entries.data(),
                                     static_cast<int>(entries.size()), unknownGamma));
    liq_result* quantised = nullptr;
    require(liq_histogram_quantize(histogram.get(), attributes.get(), &quantised));
    const std::unique_ptr<liq_result, FreeResult> result(quantised);
    const liq_palette* palette = liq_get_palette(result.get());
    colors_.clear();
    for (unsigned i = 0; i < palette->count; ++i)
        colors_.push_back({palette->entries[i].r, palette->entries[i].g, palette->entries[i].b});
    std::ranges::fill(found_, Found{});
}

bool ScenePalette::serves(const PixelBuffer& picture, const std::vector<std::uint8_t>& mask) {
    if (colors_.empty()) return false;
    const Plane& plane = picture.plane();
    std::size_t all = 0, off = 0;
    const std::uint8_t* marked = mask.data();
    for (int y = 0; y < plane.height; ++y) {
        const std::uint8_t* pixel = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride;
        for (int x = 0; x < plane.width; ++x, pixel += 4, ++marked) {
            if (!*marked) continue;
            ++all;
            off += serves(pixel) ? 0U : 1U;
        }
    }
    return static_cast<double>(off) <= bearableShare * static_cast<double>(all);
}

void ScenePalette::search(std::size_t bin, Found& entry) const {
    constexpr int mask = (1 << binBits) - 1, drop = 8 - binBits, middle = 1 << (drop - 1);
    const auto level = [&](int shift) {
        return (static_cast<int>(bin >> shift) & mask) * (1 << drop) + middle;
    };
    const int r = level(2 * binBits), g = level(binBits), b = level(0);
    int best = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < colors_.size(); ++i) {
        const int dr = colors_[i].r - r, dg = colors_[i].g - g, db = colors_[i].b - b;
        const int distance = dr * dr + dg * dg + db * db;
        if (distance < best) {
            best = distance;
            entry.index = static_cast<std::uint8_t>(i);
        }
    }
    entry.distance =
        static_cast<std::uint16_t>(std::min<int>(best, std::numeric_limits<std::uint16_t>::max()));
    entry.isKnown = true;
}

}  // namespace platform::gif
