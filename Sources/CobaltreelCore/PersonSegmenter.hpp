#pragma once

#include "Platform/Imaging/Image.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <memory>
#include <optional>
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

    /// The person in `frame` (bgra or i420, not null): white on black, extent (0, 0, width, height) of
    /// the frame, soft edges; its pixels are computed at most once. On a failure the last good mask,
    /// absent when there is none yet; the first failure writes one line to the standard error stream.
    std::optional<platform::Image> mask(const platform::ConstPixelBufferRef& frame);

    /// The most recent good mask.
    const std::optional<platform::Image>& lastMask() const { return lastMask_; }

    Quality quality() const { return quality_; }

    /// `image` where `mask` is white, transparent where it is black. Both share origin and size.
    static std::optional<platform::Image> apply(const platform::Image& mask, const platform::Image& image);

  private:
    std::optional<platform::Image> noteFailure(std::string_view reason);

    Quality quality_;
    std::shared_ptr<platform::VisionService> vision_;
    std::unique_ptr<platform::PersonSegmentationRequest> request_;
    std::optional<platform::Image> lastMask_;
    bool didLogFailure_ = false;
};

}  // namespace cobaltreel
