#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/OpenCv/ClassicalSegmentation.hpp"
#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

#include <opencv2/core/version.hpp>

namespace platform {
namespace {

using Quality = PersonSegmentationRequest::QualityLevel;

/// Pixels of an accurate mask behind a neural model; its own output is much coarser.
constexpr double neuralFineArea = 230400;

std::filesystem::path findModel(const std::filesystem::path& folder) {
    if (const char* named = std::getenv("COBALTREEL_SEGMENTATION_MODEL"); named && *named) return named;
    std::filesystem::path first;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().extension() == ".onnx" && (first.empty() || entry->path() < first))
            first = entry->path();
    return first;
}

ConstPixelBufferRef asBuffer(const cv::Mat1b& mask) {
    auto buffer = std::make_shared<PixelBuffer>(PixelFormat::gray8, mask.cols, mask.rows);
    const Plane& plane = buffer->plane();
    mask.copyTo(cv::Mat(mask.rows, mask.cols, CV_8UC1, plane.data, static_cast<std::size_t>(plane.stride)));
    return buffer;
}

}  // namespace

/// What is known about the user's model, shared by the service and its requests.
class UserModel {
  public:
    explicit UserModel(std::filesystem::path modelsFolder) : folder_(std::move(modelsFolder)) {}

    /// The model's network for one request; null when there is none that works.
    std::unique_ptr<NeuralSegmentation> load() {
        const std::lock_guard lock(mutex_);
        if (!searched_) {
            searched_ = true;
            file_ = findModel(folder_);
        }
        if (file_.empty() || !problem_.empty()) return nullptr;
        try {
            if (!description_) description_ = NeuralModel::describe(file_);
            auto network = std::make_unique<NeuralSegmentation>(*description_);
            works_ = true;
            return network;
        } catch (const std::exception& e) {
            problem_ = e.what();
            return nullptr;
        }
    }
    void tryOnce() {
        {
            const std::lock_guard lock(mutex_);
            if (searched_) return;
        }
        load();
    }
    /// The file of the model that works, empty without one; then the second says why, if there was one.
    std::pair<std::filesystem::path, std::string> verdict() {
        tryOnce();
        const std::lock_guard lock(mutex_);
        return {works_ && problem_.empty() ? file_ : std::filesystem::path(), problem_};
    }
    /// The model answered nonsense: nobody uses it any more.
    void reject(const std::string& reason) {
        const std::lock_guard lock(mutex_);
        problem_ = reason;
    }

  private:
    const std::filesystem::path folder_;
    std::mutex mutex_;
    bool searched_ = false;
    bool works_ = false;
    std::filesystem::path file_;
    std::optional<NeuralModel> description_;
    std::string problem_;
};

namespace {

class OpenCvRequest : public PersonSegmentationRequest {
  public:
    OpenCvRequest(std::shared_ptr<UserModel> model, QualityLevel quality)
        : model_(std::move(model)), quality_(quality), classical_(quality) {}

    std::vector<ConstPixelBufferRef> perform(const PixelBuffer& frame) override {
        cv::Mat1b mask;
        try {
            mask = find(frame);
        } catch (const cv::Exception& e) {
            throw PlatformError("Vision", e.code,
                                "OpenCV can't search a camera frame of " + std::to_string(frame.width()) +
                                    " × " + std::to_string(frame.height()) + " for a person: " + e.err);
        }
        if (mask.empty()) return {};
        return {asBuffer(mask)};
    }

  private:
    cv::Mat1b find(const PixelBuffer& frame) {
        if (!asked_) {
            asked_ =
                true;  // here and not in the constructor: loading takes a while, and this is no main thread
            network_ = model_->load();
        }
        if (network_) {
            try {
                return network_->segment(frame, quality_ == QualityLevel::fast ? 0 : neuralFineArea);
            } catch (const PlatformError& e) {
                if (e.code() == 1) throw;  // the frame, not the model
                model_->reject(e.description());
                network_.reset();
            }
        }
        return classical_.segment(frame);
    }

    std::shared_ptr<UserModel> model_;
    QualityLevel quality_;
    bool asked_ = false;
    std::unique_ptr<NeuralSegmentation> network_;
    ClassicalSegmentation classical_;
};

}  // namespace

OpenCvVisionService::OpenCvVisionService(std::filesystem::path modelsFolder)
    : model_(std::make_shared<UserModel>(std::move(modelsFolder))) {}

OpenCvVisionService::~OpenCvVisionService() = default;

std::unique_ptr<PersonSegmentationRequest> OpenCvVisionService::makePersonSegmentationRequest(
    Quality quality) {
    return std::make_unique<OpenCvRequest>(model_, quality);
}

std::string OpenCvVisionService::implementation() const {
    const auto [file, problem] = model_->verdict();
    const std::string library = "OpenCV " CV_VERSION ", ";
    if (!file.empty()) return library + "neural model " + file.string();
    return library + "classical vision" + (problem.empty() ? "" : ". " + problem);
}

std::optional<PlatformError> OpenCvVisionService::unavailable() {
    const auto [file, problem] = model_->verdict();
    if (!file.empty() || !HeadTracker::cascadePath().empty()) return std::nullopt;
    return PlatformError("Vision", 2,
                         "There is no way to find a person. Install the package opencv-data." +
                             (problem.empty() ? std::string() : " " + problem));
}

}  // namespace platform
