#include "Platform/Imaging/Resampler.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/PixelKernels.hpp"
#include "Platform/Imaging/YuvPlanes.hpp"
#include "Platform/Imaging/YuvToBgra.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numeric>

namespace platform {
namespace {

using namespace imaging;

/// Screen, camera and mask, each with luma and chroma on two axes, and some to spare.
constexpr std::size_t rememberedFilters = 24;

bool isPlace(const Rect& r) {
    // Larger numbers than these are no place in a picture, and their fractions are lost.
    constexpr double most = 1e9;
    const auto isUsable = [](double v) { return std::abs(v) < most; };
    return isUsable(r.x) && isUsable(r.y) && isUsable(r.w) && isUsable(r.h) && r.w > 1 / most &&
           r.h > 1 / most;
}

/// A run of pixels on one axis.
struct Run {
    int first;
    int count;
};

/// The pixels whose centers [start, start + size) covers. The small tolerance keeps a rounding error from
/// moving an edge that is meant to lie on a center.
Run covered(double start, double size, int pixels) {
    const auto edge = [pixels](double value) {
        return static_cast<int>(std::clamp(std::ceil(value - 0.5 - 1e-6), 0.0, static_cast<double>(pixels)));
    };
    return {edge(start), edge(start + size) - edge(start)};
}

/// Samples [from, from + fromSize) of a line of `samples` fill [to, to + toSize) of the outputs.
AxisSampling samplingOf(double from, double fromSize, double to, double toSize, const Run& outputs,
                        int samples) {
    constexpr double tolerance = 1e-6;
    const auto whole = [samples](double v) {
        return static_cast<int>(std::clamp(v, 0.0, static_cast<double>(samples)));
    };
    AxisSampling sampling;
    sampling.a = fromSize / toSize;
    sampling.b = from + (outputs.first - to) * sampling.a;
    sampling.low = std::min(whole(std::floor(from + tolerance)), samples - 1);
    sampling.high = std::max(whole(std::ceil(from + fromSize - tolerance)), sampling.low + 1);
    sampling.count = outputs.count;
    return sampling;
}

/// Weights of the 2 · reach + 1 samples around an output.
std::vector<std::int16_t> bellOf(double sigma, int reach) {
    std::vector<double> bell;
    for (int d = -reach; d <= reach; ++d) bell.push_back(std::exp(-0.5 * d * d / (sigma * sigma)));
    const double total = std::accumulate(bell.begin(), bell.end(), 0.0);
    std::vector<std::int16_t> weights;
    // Rounding the running total keeps the sum exact.
    double running = 0;
    int given = 0;
    for (const double weight : bell) {
        running += weight / total;
        const int upToHere = static_cast<int>(std::lround(running * filterUnit));
        weights.push_back(static_cast<std::int16_t>(upToHere - given));
        given = upToHere;
    }
    return weights;
}

}  // namespace

bool Resampler::draw(const PixelBuffer& source, const Rect& from, PixelBuffer& target, const Rect& to) {
    if (!isPlace(from) || !isPlace(to)) return false;
    const Run columns = covered(to.x, to.w, target.width()), rows = covered(to.y, to.h, target.height());
    if (columns.count <= 0 || rows.count <= 0) return true;

    const bool isPlanar = source.format() == PixelFormat::i420;
    // Chroma samples lie in the middle of their two by two pixels: measured from the picture's edge they are
    // simply half as many. An i420 target's own are seen the same way.
    const auto across = [&](int plane, int targetStep) {
        const int step = plane == 0 ? 1 : 2;
        const Run run{columns.first / targetStep, (columns.count + targetStep - 1) / targetStep};
        return samplingOf(from.x / step, from.w / step, to.x / targetStep, to.w / targetStep, run,
                          source.plane(plane).width);
    };
    const auto down = [&](int plane, int targetStep) {
        const int step = plane == 0 ? 1 : 2;
        const Run run{rows.first / targetStep, (rows.count + targetStep - 1) / targetStep};
        return samplingOf(from.y / step, from.h / step, to.y / targetStep, to.h / targetStep, run,
                          source.plane(plane).height);
    };

    if (isPlanar && target.format() == PixelFormat::i420) {
        const I420View view = viewOf(target, columns.first, rows.first, columns.count, rows.count);
        for (int plane = 0; plane < 3; ++plane) {
            AxisSampling x = across(plane, plane == 0 ? 1 : 2), y = down(plane, plane == 0 ? 1 : 2);
            x.kernel = y.kernel = AxisKernel::cubic;
            const auto place = static_cast<std::size_t>(plane);
            resample(source.plane(plane), 1, x, y, view.data[place], view.stride[place]);
        }
        convertMatrix(view, source.matrix(), target.matrix());
        return true;
    }
    const int channels = target.format() == PixelFormat::bgra ? 4 : 1;
    std::uint8_t* const out = target.row(rows.first) + static_cast<std::ptrdiff_t>(columns.first) * channels;
    const int stride = target.plane().stride;
    const AxisSampling x = across(0, 1), y = down(0, 1);
    if (source.format() == target.format()) {
        resample(source.plane(), channels, x, y, out, stride);
    } else if (isPlanar && target.format() == PixelFormat::bgra) {
        if (x.isCopy() && y.isCopy() && x.copyStart() % 2 == 0 && y.copyStart() % 2 == 0) {
            i420ToBgra(viewOf(source, x.copyStart(), y.copyStart(), x.count, y.count), source.matrix(), out,
                       stride);
            return true;
        }
        const std::size_t bytes = static_cast<std::size_t>(x.count) * static_cast<std::size_t>(y.count);
        planes_.resize(std::max(planes_.size(), 3 * bytes));
        I420View whole{{planes_.data(), planes_.data() + bytes, planes_.data() + 2 * bytes},
                       {x.count, x.count, x.count},
                       x.count,
                       y.count};
        for (int plane = 0; plane < 3; ++plane)
            resample(source.plane(plane), 1, plane == 0 ? x : across(1, 1), plane == 0 ? y : down(1, 1),
                     whole.data[static_cast<std::size_t>(plane)], x.count);
        i444ToBgra(whole, source.matrix(), out, stride);
    } else {
        throw PlatformError("Imaging", 2,
                            "A picture of this kind cannot be drawn on one of that kind; convert it first.");
    }
    return true;
}

void Resampler::blur(const PixelBuffer& source, PixelBuffer& target, double sigma) {
    const PixelKernels& kernels = pixelKernels();
    const int width = source.width(), height = source.height(),
              reach = std::max(1, static_cast<int>(std::ceil(3 * sigma)));
    const std::vector<std::int16_t> bell = bellOf(sigma, reach);
    const auto pixels = static_cast<std::size_t>(width),
               lineBytes = pixels + 2 * static_cast<std::size_t>(reach);
    planes_.resize(std::max(planes_.size(), pixels * static_cast<std::size_t>(height) + lineBytes));
    sums_.resize(std::max(sums_.size(), pixels));
    rows_.resize(std::max(rows_.size(), bell.size()));

    // The samples that an output of a row is made of are the row itself, moved on by one for each.
    std::uint8_t* const line = planes_.data() + pixels * static_cast<std::size_t>(height);
    std::fill_n(line, lineBytes, std::uint8_t{0});
    for (std::size_t t = 0; t < bell.size(); ++t) rows_[t] = line + t;
    const auto halfBlurred = [&](int y) { return planes_.data() + pixels * static_cast<std::size_t>(y); };
    for (int y = 0; y < height; ++y) {
        std::memcpy(line + reach, source.row(y), pixels);
        kernels.weighBytes(rows_.data(), bell.data(), 2 * reach + 1, width, sums_.data());
        kernels.roundSums(sums_.data(), width, halfBlurred(y));
    }
    for (int y = 0; y < height; ++y) {
        const int first = std::max(0, y - reach), last = std::min(height, y + reach + 1);
        for (int row = first; row < last; ++row)
            rows_[static_cast<std::size_t>(row - first)] = halfBlurred(row);
        kernels.weighBytes(rows_.data(), &bell[static_cast<std::size_t>(first - (y - reach))], last - first,
                           width, sums_.data());
        kernels.roundSums(sums_.data(), width, target.row(y));
    }
}

const AxisFilter& Resampler::filterFor(const AxisSampling& sampling, bool vertical) {
    // References into the list must survive the next call, so that it never grows.
    remembered_.reserve(rememberedFilters);
    ++uses_;
    for (Remembered& entry : remembered_) {
        if (entry.vertical == vertical && entry.sampling == sampling) {
            entry.lastUse = uses_;
            return entry.filter;
        }
    }
    AxisFilter filter = vertical ? makeVerticalFilter(sampling) : makeHorizontalFilter(sampling);
    if (remembered_.size() < rememberedFilters) {
        remembered_.push_back({sampling, vertical, uses_, std::move(filter)});
        return remembered_.back().filter;
    }
    auto oldest = std::min_element(remembered_.begin(), remembered_.end(),
                                   [](const auto& l, const auto& r) { return l.lastUse < r.lastUse; });
    *oldest = {sampling, vertical, uses_, std::move(filter)};
    return oldest->filter;
}

void Resampler::resample(const Plane& source, int channels, const AxisSampling& x, const AxisSampling& y,
                         std::uint8_t* target, int targetStride) {
    const auto rowAt = [&](int row, int column) {
        return source.data + static_cast<std::ptrdiff_t>(row) * source.stride +
               static_cast<std::ptrdiff_t>(column) * channels;
    };
    const auto targetRow = [&](int row) { return target + static_cast<std::ptrdiff_t>(row) * targetStride; };

    if (x.isCopy() && y.isCopy()) {
        for (int row = 0; row < y.count; ++row)
            std::memcpy(targetRow(row), rowAt(y.copyStart() + row, x.copyStart()),
                        static_cast<std::size_t>(x.count) * static_cast<std::size_t>(channels));
        return;
    }

    const PixelKernels& kernels = pixelKernels();
    const AxisFilter& vertical = filterFor(y, true);
    const AxisFilter& along = filterFor(x, false);
    const int values = along.span * channels;
    sums_.resize(std::max(sums_.size(), static_cast<std::size_t>(values) + rowOverhang));
    // What lies beyond the span weighs nothing, but must be readable.
    std::fill_n(sums_.begin() + values, rowOverhang, std::int16_t{0});
    rows_.resize(std::max(rows_.size(), static_cast<std::size_t>(vertical.taps)));
    for (int row = 0; row < y.count; ++row) {
        const int first = vertical.low + vertical.starts[static_cast<std::size_t>(row)];
        for (int t = 0; t < vertical.taps; ++t)
            rows_[static_cast<std::size_t>(t)] = rowAt(first + t, along.low);
        kernels.weighBytes(
            rows_.data(),
            &vertical.weights[static_cast<std::size_t>(row) * static_cast<std::size_t>(vertical.taps)],
            vertical.taps, values, sums_.data());
        if (channels == 4)
            kernels.filterBgra(sums_.data(), along, targetRow(row));
        else
            kernels.filterGray(sums_.data(), along, targetRow(row));
    }
}

}  // namespace platform
