#pragma once

#include "Platform/Imaging/Resampler.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <memory>
#include <string_view>

namespace cobaltreel {

/// Turns the frames of one camera into soft person masks. A frame that fails gets the last good mask.
/// Used on one thread at a time; every owner has an instance of its own, because the request behind it
/// learns from the frames it has seen.
class PersonSegmenter {
  public:
    /// `fast` for what is shown live, `accurate` for an export.
    enum class Quality { fast, accurate };

    /// `vision` must be there; it is first asked when the first frame comes.
    PersonSegmenter(Quality quality, std::shared_ptr<platform::VisionService> vision);

    /// The person in `frame` (bgra or i420, not null): white on black with soft edges, a gray8 buffer of the
    /// frame's size. On a failure the last good mask, null when there is none yet; the first failure writes
    /// one line to the standard error stream.
    platform::ConstPixelBufferRef mask(const platform::ConstPixelBufferRef& frame);

    /// The most recent good mask; null before the first.
    const platform::ConstPixelBufferRef& lastMask() const { return lastMask_; }

    Quality quality() const { return quality_; }

    /// A bgra copy of `image` (bgra or i420): the picture where `mask` is white, transparent where it is
    /// black. Null when their sizes differ.
    static platform::PixelBufferRef apply(const platform::PixelBuffer& mask,
                                          const platform::PixelBuffer& image);

  private:
    platform::ConstPixelBufferRef noteFailure(std::string_view reason);
    platform::ConstPixelBufferRef softMask(const platform::PixelBuffer& found,
                                           const platform::PixelBuffer& frame);

    Quality quality_;
    std::shared_ptr<platform::VisionService> vision_;
    std::unique_ptr<platform::PersonSegmentationRequest> request_;
    platform::Resampler resampler_;
    platform::ConstPixelBufferRef lastMask_;
    bool didLogFailure_ = false;
};

}  // namespace cobaltreel
