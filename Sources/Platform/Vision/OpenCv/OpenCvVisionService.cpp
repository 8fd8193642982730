#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/OpenCv/FrameChange.hpp"
#include "Platform/Vision/OpenCv/FramePicture.hpp"
#include "Platform/Vision/OpenCv/PersonLooks.hpp"
#include "Platform/Vision/OpenCv/PersonMatte.hpp"

#include <utility>

#include <opencv2/core/utility.hpp>
#include <opencv2/core/version.hpp>
#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

using Quality = PersonSegmentationRequest::QualityLevel;

/// Pixels of the masks: a quarter and half of a 1280 × 720 frame's sides.
constexpr double fastArea = 320 * 180, accurateArea = 640 * 360;

ConstPixelBufferRef asBuffer(const cv::Mat1b& mask) {
    auto buffer = std::make_shared<PixelBuffer>(PixelFormat::gray8, mask.cols, mask.rows);
    const Plane& plane = buffer->plane();
    mask.copyTo(cv::Mat(mask.rows, mask.cols, CV_8UC1, plane.data, static_cast<std::size_t>(plane.stride)));
    return buffer;
}

class OpenCvRequest : public PersonSegmentationRequest {
  public:
    OpenCvRequest(std::shared_ptr<PersonNetworks> networks, QualityLevel quality)
        : networks_(std::move(networks)), quality_(quality) {}

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
        const cv::Size size(frame.width(), frame.height());
        const cv::Mat3b detailed = readPicture(frame, workingSize(size, accurateArea));
        cv::Mat3b picture = detailed;
        if (quality_ != QualityLevel::accurate)
            cv::resize(detailed, picture, workingSize(size, fastArea), 0, 0, cv::INTER_AREA);
        for (;;) {
            // Here and not in the constructor: loading takes a while, and this is no main thread.
            if (!network_) {
                network_ = networks_->load();
                close_ = networks_->loadClose(*network_);
            }
            try {
                const cv::Mat3b view = resized(detailed, network_->input());
                const cv::Mat1b changed = changeBetween(before_, view);
                // Whether somebody is there at all is worth two looks.
                const auto effort = !matte_.isSure()                ? PersonLooks::Effort::both
                                    : quality_ == Quality::accurate ? PersonLooks::Effort::mostlyClose
                                                                    : PersonLooks::Effort::inTurn;
                const auto person =
                    looks_.look({*network_, close_ ? *close_ : *network_}, detailed, view, changed, effort);
                const cv::Mat1b mask = matte_.refine(person, view, changed, picture);
                looks_.onPersonFound(matte_.found());
                before_ = view;
                return mask;
            } catch (const PlatformError& e) {
                auto& failed = close_ ? close_ : network_;
                networks_->giveUp(failed->file(), e.description());
                failed.reset();
            }
        }
    }

    std::shared_ptr<PersonNetworks> networks_;
    QualityLevel quality_;
    std::unique_ptr<NeuralSegmentation> network_, close_;
    PersonLooks looks_;
    PersonMatte matte_;
    cv::Mat3b before_;  ///< what the network saw of the frame before
};

}  // namespace

OpenCvVisionService::OpenCvVisionService(std::filesystem::path modelsFolder, std::filesystem::path own)
    : networks_(std::make_shared<PersonNetworks>(std::move(modelsFolder), std::move(own))) {
    // A second thread makes a frame hardly faster and costs half as much processor time again.
    cv::setNumThreads(1);
}

std::unique_ptr<PersonSegmentationRequest> OpenCvVisionService::makePersonSegmentationRequest(
    Quality quality) {
    return std::make_unique<OpenCvRequest>(networks_, quality);
}

std::string OpenCvVisionService::implementation() const {
    const auto [file, close, problems] = networks_->verdict();
    const std::string library = "OpenCV " CV_VERSION;
    if (file.empty()) return library + ", no network";
    return library + ", neural model " + file.string() +
           (close.empty() ? "" : " with " + close.filename().string()) +
           (problems.empty() ? "" : ". " + problems);
}

std::optional<PlatformError> OpenCvVisionService::unavailable() {
    if (!networks_->verdict().file.empty()) return std::nullopt;
    try {
        networks_->load();
    } catch (const PlatformError& error) {
        return error;
    }
    return std::nullopt;
}

LibraryVersion openCvVersion() { return {"OpenCV", cv::getVersionString()}; }

}  // namespace platform
