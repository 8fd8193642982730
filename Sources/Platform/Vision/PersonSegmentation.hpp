#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Asks where the person in a camera frame is. One request follows one camera: it may learn from the
/// frames it has seen. Used on one thread at a time.
class PersonSegmentationRequest {
  public:
    /// Trade-off between speed and edge quality; the numbers are part of the interface.
    enum class QualityLevel { accurate = 0, balanced = 1, fast = 2 };

    virtual ~PersonSegmentationRequest() = default;

    /// The masks found in `frame` (bgra or i420): gray8 buffers, 255 = person, of any size, covering
    /// the whole frame; black when whoever was there has left, none when nobody was there yet. Throws
    /// PlatformError when the request fails.
    virtual std::vector<ConstPixelBufferRef> perform(const PixelBuffer& frame) = 0;
};

class VisionService {
  public:
    virtual ~VisionService() = default;
    virtual std::unique_ptr<PersonSegmentationRequest> makePersonSegmentationRequest(
        PersonSegmentationRequest::QualityLevel quality) = 0;
    /// Why no person can be found; absent when requests are served.
    virtual std::optional<PlatformError> unavailable() = 0;
    /// What serves the requests, for a person to read.
    virtual std::string implementation() const = 0;
};

}  // namespace platform
