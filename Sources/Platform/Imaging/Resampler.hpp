#pragma once

#include "Platform/Imaging/AxisFilter.hpp"

#include <cstdint>
#include <vector>

namespace platform::imaging {

/// Samples pictures at fractional places, axis by axis: first down the columns, then along the rows.
/// Remembers the weights of the latest maps, since most frames repeat them. One thread at a time.
class Resampler {
  public:
    /// Writes x.count × y.count samples of `channels` (1 or 4) bytes. `source` is sample (0, 0) of the
    /// whole plane; only the ranges of the samplings are read.
    void resample(const std::uint8_t* source, int sourceStride, int channels, const AxisSampling& x,
                  const AxisSampling& y, std::uint8_t* target, int targetStride);

  private:
    struct Remembered {
        AxisSampling sampling;
        bool vertical = false;
        std::uint64_t lastUse = 0;
        AxisFilter filter;
    };
    /// Valid until the next but one call.
    const AxisFilter& filterFor(const AxisSampling& sampling, bool vertical);

    std::vector<Remembered> remembered_;
    std::uint64_t uses_ = 0;
    std::vector<std::int16_t> sums_;
    std::vector<const std::uint8_t*> rows_;
};

}  // namespace platform::imaging
