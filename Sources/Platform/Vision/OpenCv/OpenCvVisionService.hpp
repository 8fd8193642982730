#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <filesystem>
#include <memory>

namespace platform {

class UserModel;

/// Person segmentation on OpenCV: a neural model of the user's when there is one that works, classical
/// vision otherwise. Safe on any thread; each request belongs to one.
class OpenCvVisionService : public VisionService {
  public:
    /// A model is the file that the environment variable COBALTREEL_SEGMENTATION_MODEL names, else the
    /// first *.onnx, by name, in `modelsFolder` (which need not exist).
    explicit OpenCvVisionService(std::filesystem::path modelsFolder);
    ~OpenCvVisionService() override;

    std::unique_ptr<PersonSegmentationRequest> makePersonSegmentationRequest(
        PersonSegmentationRequest::QualityLevel quality) override;
    /// Names the way that is used, and why a model that was found is not. Tries the model the first time.
    std::string implementation() const override;
    /// Absent with a working model, or with the face cascade that classical vision needs.
    std::optional<PlatformError> unavailable() override;

  private:
    std::shared_ptr<UserModel> model_;
};

}  // namespace platform
