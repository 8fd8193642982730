#pragma once

#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"

namespace platform {

/// Looks at the frames of one camera through a network: at the whole frame, and closer at the part of it
/// where the person is, mirrored. The two err in different places. Used on one thread at a time.
class PersonLooks {
  public:
    /// Both looks at every frame, or one of them in turn, which counts together with the one before where the
    /// picture has not changed.
    enum class Effort { both, inTurn };

    /// How likely each pixel of `frame` is the person's, 0…1, at the size of the network's input. `view` is
    /// the frame at that size, and `changed` what of it differs from the frame before (see changeBetween).
    /// Throws PlatformError("Vision", 4) when the network answers nonsense.
    cv::Mat1f look(NeuralSegmentation& network, const cv::Mat3b& frame, const cv::Mat3b& view,
                   const cv::Mat1b& changed, Effort effort);

    /// The person that was found in it, 255, at that size; the next close look goes there.
    void onPersonFound(const cv::Mat1b& person);

  private:
    cv::Mat1f lookCloser(NeuralSegmentation& network, const cv::Mat3b& frame, const cv::Mat1b& lift,
                         const cv::Mat1f& elsewhere) const;

    cv::Rect place_;  ///< of the close look, at the size of the answers; empty: nobody to look at
    cv::Mat1f last_;  ///< the look at the frame before
    bool closer_ = false;
};

}  // namespace platform
