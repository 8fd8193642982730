#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <filesystem>

#include <opencv2/dnn.hpp>

namespace platform {

/// How pictures go into a network and how its answer is read. What the ONNX file leaves open comes
/// from a sidecar document beside it (the same name with the ending .json, or model.json).
struct NeuralModel {
    enum class Activation { automatic, none, sigmoid, softmax };

    std::filesystem::path file;
    cv::Size input;
    bool channelsLast = false;
    bool redFirst = true;
    double scale = 1.0 / 255;       ///< applied after `mean` was taken off
    cv::Scalar mean;                ///< 0…255, in the order of the network's channels
    cv::Scalar deviation{1, 1, 1};  ///< divides what remains after mean and scale
    int personClass = 1;            ///< when the answer has more than one channel
    Activation activation = Activation::automatic;

    /// Reads both files. Throws PlatformError("Vision", 3) that names the file and what is wrong.
    static NeuralModel describe(const std::filesystem::path& file);
};

/// A network that tells where the person is. Used on one thread at a time.
class NeuralSegmentation {
  public:
    /// Loads the network and tries it on a picture. Throws PlatformError("Vision", 3) when OpenCV can't
    /// load it, or when it answers with another shape, with numbers that are none, or always the same.
    explicit NeuralSegmentation(const NeuralModel& model);

    const std::filesystem::path& file() const { return model_.file; }

    /// What the network wants to see of a camera frame. Throws PlatformError("Vision", 1) for a frame that is
    /// no colour picture.
    cv::Mat3b view(const PixelBuffer& frame) const;
    /// How likely each pixel of such a view is the person's, 0…1. Throws PlatformError("Vision", 4) when the
    /// network answers nonsense.
    cv::Mat1f ask(const cv::Mat3b& view);

  private:
    NeuralModel model_;
    cv::dnn::Net network_;
};

}  // namespace platform
