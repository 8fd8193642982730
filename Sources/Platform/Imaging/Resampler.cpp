#include "Platform/Imaging/Resampler.hpp"

#include "Platform/Imaging/PixelKernels.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace platform::imaging {
namespace {

/// Screen, camera and mask, each with luma and chroma on two axes, and some to spare.
constexpr std::size_t rememberedFilters = 24;

}  // namespace

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

void Resampler::resample(const std::uint8_t* source, int sourceStride, int channels, const AxisSampling& x,
                         const AxisSampling& y, std::uint8_t* target, int targetStride) {
    if (x.count <= 0 || y.count <= 0 || x.high <= x.low || y.high <= y.low) return;
    const auto rowAt = [&](int row, int column) {
        return source + static_cast<std::ptrdiff_t>(row) * sourceStride +
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
    const AxisFilter& down = filterFor(y, true);
    const AxisFilter& along = filterFor(x, false);
    const int values = along.span * channels;
    sums_.resize(std::max(sums_.size(), static_cast<std::size_t>(values) + rowOverhang));
    // What lies beyond the span weighs nothing, but must be readable.
    std::fill_n(sums_.begin() + values, rowOverhang, std::int16_t{0});
    rows_.resize(std::max(rows_.size(), static_cast<std::size_t>(down.taps)));
    for (int row = 0; row < y.count; ++row) {
        const int first = down.low + down.starts[static_cast<std::size_t>(row)];
        for (int t = 0; t < down.taps; ++t) rows_[static_cast<std::size_t>(t)] = rowAt(first + t, along.low);
        kernels.weighBytes(rows_.data(),
                           &down.weights[static_cast<std::size_t>(row) * static_cast<std::size_t>(down.taps)],
                           down.taps, values, sums_.data());
        if (channels == 4)
            kernels.filterBgra(sums_.data(), along, targetRow(row));
        else
            kernels.filterGray(sums_.data(), along, targetRow(row));
    }
}

}  // namespace platform::imaging
