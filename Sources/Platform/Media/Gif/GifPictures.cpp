#include "Platform/Media/Gif/GifPictures.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace platform::gif {
namespace {

// What differs by no more in any channel is the noise of the recording's codec. The difference is one to what
// was drawn, so a slow change shows once it is larger.
constexpr int noise = 7;

// What moved leaves such differences behind, which show on plain areas. A tile in which nothing has moved for
// a moment is drawn again where it is off by more than this.
constexpr int settledNoise = 2;
constexpr double settleTime = 0.25;  // seconds
constexpr int tileSide = 32;

// Players take anything shorter for a tenth of a second.
constexpr std::int64_t minDelay = 2, maxDelay = 65535;

std::int64_t hundredths(double seconds) { return std::llround(seconds * 100); }

/// Leaves out the colors that no pixel has, so that each pixel takes fewer bits.
void dropUnused(Patch& patch, const std::vector<Color>& colors) {
    constexpr int unused = -1;
    std::array<int, 256> place;
    place.fill(unused);
    for (std::uint8_t& pixel : patch.pixels) {
        int& at = place[pixel];
        if (at == unused) {
            at = static_cast<int>(patch.palette.size());
            const bool isColor = pixel < colors.size();
            if (!isColor) patch.transparent = at;
            patch.palette.push_back(isColor ? colors[pixel] : Color{});
        }
        pixel = static_cast<std::uint8_t>(at);
    }
}

}  // namespace

GifPictures::GifPictures(const std::filesystem::path& path, int width, int height)
    : file_(path, width, height),
      width_(width),
      height_(height),
      changed_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
      quietSince_(static_cast<std::size_t>((width + tileSide - 1) / tileSide) *
                  static_cast<std::size_t>((height + tileSide - 1) / tileSide)) {}

std::size_t GifPictures::markChanges(const PixelBuffer& picture, double time) {
    isSettled_ = true;
    std::size_t count = 0;
    auto quietSince = quietSince_.begin();
    for (int top = 0; top < height_; top += tileSide)
        for (int left = 0; left < width_; left += tileSide)
            count += markTile(picture, left, top, time, *quietSince++);
    return count;
}

std::size_t GifPictures::markTile(const PixelBuffer& picture, int left, int top, double time,
                                  double& quietSince) {
    const int width = std::min(tileSide, width_ - left), bottom = std::min(top + tileSide, height_);
    const Plane& plane = picture.plane();
    const auto eachRow = [&](auto&& markRow) {
        unsigned sum = 0;
        for (int y = top; y < bottom; ++y) {
            const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                            static_cast<std::size_t>(left);
            const std::uint8_t* now = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride + left * 4;
            sum += markRow(now, at);
        }
        return sum;
    };
    const auto difference = [](const std::uint8_t* a, const std::uint8_t* b) {
        return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
    };
    const auto distance = [](const std::uint8_t* a, const Color& b) {
        const int blue = a[0] - b.b, green = a[1] - b.g, red = a[2] - b.r;
        return blue * blue + green * green + red * red;
    };
    unsigned inexact = 0;
    unsigned marked = eachRow([&](const std::uint8_t* now, std::size_t at) {
        const std::uint8_t* before = shown_.data() + at * 4;
        std::uint8_t* marks = changed_.data() + at;
        const auto bytes = static_cast<std::size_t>(width) * 4;
        if (std::memcmp(now, before, bytes) == 0) {
            std::fill_n(marks, width, std::uint8_t{0});
            return 0U;
        }
        // Loops of a fixed length over bytes, which the compiler turns into vector code.
        constexpr std::size_t side = tileSide;
        std::array<std::uint8_t, side * 4> a{}, b{}, noisy{}, rough{};
        std::memcpy(a.data(), now, bytes);
        std::memcpy(b.data(), before, bytes);
        for (std::size_t i = 0; i < side * 4; ++i) {
            const auto off = static_cast<std::uint8_t>(std::max(a[i], b[i]) - std::min(a[i], b[i]));
            noisy[i] = off > noise;
            rough[i] = off > settledNoise;
        }
        unsigned markedInRow = 0, inexactInRow = 0;
        for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x) {
            marks[x] = noisy[x * 4] | noisy[x * 4 + 1] | noisy[x * 4 + 2];
            markedInRow += marks[x];
            inexactInRow += static_cast<unsigned>(rough[x * 4] | rough[x * 4 + 1] | rough[x * 4 + 2]);
        }
        inexact += inexactInRow;
        return markedInRow;
    });
    if (marked == 0 && inexact > 0 && time - quietSince >= settleTime) {
        quietSince = time;
        inexact = 0;
        marked = eachRow([&](const std::uint8_t* now, std::size_t at) {
            unsigned markedInRow = 0;
            for (int x = 0; x < width; ++x, now += 4, ++at) {
                // Drawing it in a color that is off as much as what is there helps nobody, unless new colors
                // do.
                const bool helps =
                    distance(now, palette_.color(now)) < distance(now, canvas_[at]) || !palette_.serves(now);
                const bool isOff = difference(now, shown_.data() + at * 4) > settledNoise;
                changed_[at] = static_cast<std::uint8_t>(isOff && helps);
                markedInRow += changed_[at];
            }
            return markedInRow;
        });
    }
    if (marked > 0) quietSince = time;
    if (inexact > 0) isSettled_ = false;
    return marked;
}

void GifPictures::keepChanges(const PixelBuffer& picture) {
    const Plane& plane = picture.plane();
    const std::uint8_t* mark = changed_.data();
    std::uint8_t* shown = shown_.data();
    for (int y = 0; y < height_; ++y) {
        const std::uint8_t* now = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride;
        for (int x = 0; x < width_; ++x, now += 4, shown += 4)
            if (*mark++) std::memcpy(shown, now, 4);
    }
}

Patch GifPictures::patchOf(const PixelBuffer& picture) {
    Patch patch;
    int left = width_, right = 0, top = height_, bottom = 0;
    for (int y = 0; y < height_; ++y) {
        const auto row = changed_.begin() + static_cast<std::ptrdiff_t>(y) * width_;
        const auto first = std::find(row, row + width_, 1);
        if (first == row + width_) continue;
        top = std::min(top, y);
        bottom = y + 1;
        left = std::min(left, static_cast<int>(first - row));
        const auto last =
            std::find(std::make_reverse_iterator(row + width_), std::make_reverse_iterator(row), 1);
        right = std::max(right, static_cast<int>(last.base() - row));
    }
    patch.x = left;
    patch.y = top;
    patch.width = right - left;
    patch.height = bottom - top;
    patch.pixels.reserve(static_cast<std::size_t>(patch.width) * static_cast<std::size_t>(patch.height));
    const Plane& plane = picture.plane();
    const auto still = static_cast<std::uint8_t>(palette_.colors().size());
    for (int y = top; y < bottom; ++y) {
        const std::uint8_t* pixels = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride;
        const std::uint8_t* mark = changed_.data() + static_cast<std::ptrdiff_t>(y) * width_;
        Color* canvas = canvas_.data() + static_cast<std::ptrdiff_t>(y) * width_;
        for (int x = left; x < right; ++x) {
            if (!mark[x]) {
                patch.pixels.push_back(still);
                continue;
            }
            const std::uint8_t index = palette_.nearest(pixels + x * 4);
            canvas[x] = palette_.colors()[index];
            patch.pixels.push_back(index);
        }
    }
    dropUnused(patch, palette_.colors());
    return patch;
}

void GifPictures::add(const PixelBuffer& picture, double time) {
    std::size_t count = changed_.size();
    if (shown_.empty()) {
        shown_.resize(changed_.size() * 4);
        canvas_.resize(changed_.size());
        std::ranges::fill(changed_, std::uint8_t{1});
    } else {
        count = markChanges(picture, time);
    }
    if (count == 0) return;
    keepChanges(picture);
    if (!palette_.serves(picture, changed_)) palette_.choose(picture, changed_);
    const std::int64_t at = hundredths(time);
    if (waiting_) write(*waiting_, at);
    waiting_ = patchOf(picture);
    waitingTime_ = at;
}

void GifPictures::write(const Patch& patch, std::int64_t until) {
    std::int64_t left = std::max(until - waitingTime_, minDelay);
    file_.add(patch, static_cast<int>(std::min(left, maxDelay)));
    // A picture can be shown for eleven minutes at most; one that changes nothing goes on with it.
    while ((left -= maxDelay) > 0)
        file_.add({0, 0, 1, 1, {0}, {{}}, 0}, static_cast<int>(std::clamp(left, minDelay, maxDelay)));
}

void GifPictures::finish(double time) {
    if (waiting_) write(*waiting_, hundredths(time));
    file_.finish();
}

}  // namespace platform::gif
