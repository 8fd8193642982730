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

/// Person segmentation by a network of the user's. Used on one thread at a time.
class NeuralSegmentation {
  public:
    /// Loads the network and tries it on a picture. Throws PlatformError("Vision", 3) when OpenCV can't
    /// load it, or when it answers with another shape, with numbers that are none, or always the same.
    explicit NeuralSegmentation(const NeuralModel& model);

    /// The person, 0…255; empty when nobody is there. `fineArea`: pixels of the wanted mask; 0 takes the
    /// network's own size. Throws PlatformError("Vision", 4) when the answer is nonsense.
    cv::Mat1b segment(const PixelBuffer& frame, double fineArea);

  private:
    cv::Mat1f ask(const cv::Mat3b& picture);

    NeuralModel model_;
    cv::dnn::Net network_;
};

}  // namespace platform
