#pragma once

#include "Platform/Imaging/ConvertPixels.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>

// Small pictures for the tests. Rows count from the top, as in memory.

namespace platform::test {

constexpr ColorMatrix matrices[] = {ColorMatrix::bt601Limited, ColorMatrix::bt601Full,
                                    ColorMatrix::bt709Limited, ColorMatrix::bt709Full};

/// Blue, green, red, alpha.
using Pixel = std::array<int, 4>;

inline std::uint8_t* sampleAt(const PixelBuffer& buffer, int x, int row, int plane = 0) {
    const Plane& p = buffer.plane(plane);
    return p.data + static_cast<std::ptrdiff_t>(row) * p.stride +
           x * (buffer.format() == PixelFormat::bgra ? 4 : 1);
}

inline Pixel pixelAt(const PixelBuffer& buffer, int x, int row) {
    const std::uint8_t* p = sampleAt(buffer, x, row);
    return {p[0], p[1], p[2], p[3]};
}

template <typename At>
PixelBufferRef bgraPicture(int width, int height, At at) {
    auto buffer = std::make_shared<PixelBuffer>(PixelFormat::bgra, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Pixel pixel = at(x, y);
            for (std::size_t c = 0; c < 4; ++c)
                sampleAt(*buffer, x, y)[c] = static_cast<std::uint8_t>(pixel[c]);
        }
    return buffer;
}

inline PixelBufferRef flatPicture(int width, int height, const Pixel& pixel) {
    return bgraPicture(width, height, [&](int, int) { return pixel; });
}

template <typename At>
PixelBufferRef grayPicture(int width, int height, At at) {
    auto buffer = std::make_shared<PixelBuffer>(PixelFormat::gray8, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) *sampleAt(*buffer, x, y) = static_cast<std::uint8_t>(at(x, y));
    return buffer;
}

/// Planes of arbitrary bytes.
inline PixelBufferRef noise(PixelFormat format, int width, int height, unsigned seed = 1,
                            ColorMatrix matrix = ColorMatrix::bt709Limited) {
    std::mt19937 random(seed);
    auto buffer = std::make_shared<PixelBuffer>(format, width, height, matrix);
    for (int i = 0; i < buffer->planeCount(); ++i) {
        const Plane& plane = buffer->plane(i);
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < plane.width * (format == PixelFormat::bgra ? 4 : 1); ++x)
                plane.data[y * plane.stride + x] = static_cast<std::uint8_t>(random());
    }
    if (format == PixelFormat::bgra)  // premultiplied
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                std::uint8_t* p = sampleAt(*buffer, x, y);
                for (int c = 0; c < 3; ++c) p[c] = std::min(p[c], p[3]);
            }
    return buffer;
}

/// Gentle waves in valid colors, each channel its own: what a camera sees, without hard edges.
inline PixelBufferRef waves(int width, int height) {
    return bgraPicture(width, height, [](int x, int y) {
        const auto wave = [](double phase) {
            return static_cast<int>(std::lround(128 + 90 * std::sin(phase)));
        };
        return Pixel{wave(x * 0.11), wave(y * 0.13 + 1), wave((x + y) * 0.07 + 2), 255};
    });
}

inline PixelBufferRef converted(const PixelBuffer& from, PixelFormat format,
                                ColorMatrix matrix = ColorMatrix::bt709Limited) {
    auto to = std::make_shared<PixelBuffer>(format, from.width(), from.height(), matrix);
    convertPixels(from, *to);
    return to;
}

inline int largestDifference(const PixelBuffer& a, const PixelBuffer& b, int plane = 0, int margin = 0) {
    const Plane &p = a.plane(plane), &q = b.plane(plane);
    const int bytes = a.format() == PixelFormat::bgra ? 4 : 1;
    int largest = 0;
    for (int y = margin; y < p.height - margin; ++y)
        for (int x = margin * bytes; x < (p.width - margin) * bytes; ++x)
            largest = std::max(largest, std::abs(p.data[y * p.stride + x] - q.data[y * q.stride + x]));
    return largest;
}

/// Of the colors of two bgra pictures, in decibels.
inline double peakSignalToNoise(const PixelBuffer& a, const PixelBuffer& b) {
    double squares = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (std::size_t c = 0; c < 3; ++c) {
                const double d = pixelAt(a, x, y)[c] - pixelAt(b, x, y)[c];
                squares += d * d;
            }
    return 10 * std::log10(255.0 * 255.0 * 3 * a.width() * a.height() / std::max(squares, 1e-9));
}

}  // namespace platform::test
