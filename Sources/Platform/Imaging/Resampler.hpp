#pragma once

#include "Platform/Imaging/AxisFilter.hpp"
#include "Platform/Imaging/Geometry.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstdint>
#include <vector>

namespace platform {

/// Draws pictures at any size and place, fractions of a pixel included, and blurs them; axis by axis, first
/// down the columns, then along the rows. Remembers the weights of the latest calls, since most frames repeat
/// them, and keeps its scratch memory. One thread at a time.
class Resampler {
  public:
    /// Draws the part `from` of `source` so that it fills `to` of `target`; both in pixels, origin at the top
    /// left, y down. Changes the pixels whose centers lie in `to`; reads no sample outside of `from`, rounded
    /// outwards, and repeats the outermost ones. Draws i420 on i420 (where `to` has even edges), i420 and
    /// bgra on bgra, gray8 on gray8; throws PlatformError("Imaging", 2) for other pairs. False, and nothing
    /// drawn, for rectangles that are none.
    bool draw(const PixelBuffer& source, const Rect& from, PixelBuffer& target, const Rect& to);

    /// Fills `target` with `source`, both gray8 and of one size, blurred with standard deviation `sigma`
    /// pixels, 16 at most. Beyond the source lies black.
    void blur(const PixelBuffer& source, PixelBuffer& target, double sigma);

  private:
    struct Remembered {
        imaging::AxisSampling sampling;
        bool vertical = false;
        std::uint64_t lastUse = 0;
        imaging::AxisFilter filter;
    };
    /// Valid until the next but one call.
    const imaging::AxisFilter& filterFor(const imaging::AxisSampling& sampling, bool vertical);
    /// Writes x.count × y.count samples of `channels` (1 or 4) bytes.
    void resample(const Plane& source, int channels, const imaging::AxisSampling& x,
                  const imaging::AxisSampling& y, std::uint8_t* target, int targetStride);

    std::vector<Remembered> remembered_;
    std::uint64_t uses_ = 0;
    std::vector<std::int16_t> sums_;
    std::vector<const std::uint8_t*> rows_;
    std::vector<std::uint8_t> planes_;  // of what is half done
};

/// All of a buffer.
inline Rect boundsOf(const PixelBuffer& buffer) {
    return {0, 0, static_cast<double>(buffer.width()), static_cast<double>(buffer.height())};
}

}  // namespace platform
