#pragma once

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
    /// Loads the network. Throws PlatformError("Vision", 3) when OpenCV can't.
    explicit NeuralSegmentation(const NeuralModel& model);

    /// Tries it on two pictures. Throws PlatformError("Vision", 3 or 4) when it answers with another shape,
    /// with numbers that are none, or always the same.
    void tryOut();

    const std::filesystem::path& file() const { return model_.file; }
    /// What the network wants to see; a picture of another size is brought to it.
    cv::Size input() const { return model_.input; }

    /// How likely each pixel of `picture`, of any size, is the person's, 0…1, at the size of input(). Throws
    /// PlatformError("Vision", 4) when the network answers nonsense.
    cv::Mat1f query(const cv::Mat3b& picture);

  private:
    cv::Mat1f personIn(const cv::Mat3b& picture);

    NeuralModel model_;
    cv::dnn::Net network_;
};

}  // namespace platform
