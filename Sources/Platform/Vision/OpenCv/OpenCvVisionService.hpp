#pragma once

#include "Platform/Foundation/LibraryVersion.hpp"
#include "Platform/Vision/OpenCv/PersonNetworks.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

namespace platform {

/// Person segmentation by a small neural network on OpenCV: the user's own when there is one that works, the
/// program's otherwise. Safe on any thread; each request belongs to one.
class OpenCvVisionService : public VisionService {
  public:
    /// See PersonNetworks for where the networks are looked for. `modelsFolder` need not exist.
    explicit OpenCvVisionService(std::filesystem::path modelsFolder,
                                 std::filesystem::path own = ownPersonNetwork());

    std::unique_ptr<PersonSegmentationRequest> makePersonSegmentationRequest(
        PersonSegmentationRequest::QualityLevel quality) override;
    /// Names the network that is used, and why another one that was found is not. Tries them the first time.
    std::string implementation() const override;
    /// Absent with a network that works.
    std::optional<PlatformError> unavailable() override;

  private:
    std::shared_ptr<PersonNetworks> networks_;
};

/// Any thread.
LibraryVersion openCvVersion();

}  // namespace platform
