#pragma once

#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"

namespace platform {

/// Looks at the frames of one camera: at the whole frame, and closer at the part of it where the person is,
/// mirrored. The two err in different places. Used on one thread at a time.
class PersonLooks {
  public:
    /// What looks: at whole frames, and closely. One network may do both.
    struct Networks {
        NeuralSegmentation &whole, &close;
    };

    /// Both looks at every frame; or one that counts together with the one before where the picture has not
    /// changed: closely at every frame and at the whole of every other one, or in turn.
    enum class Effort { both, mostlyClose, inTurn };

    /// How likely each pixel is the person's, 0…1, at the size of the whole look's input.
    struct Answer {
        cv::Mat1f person;
        cv::Mat1f cautious;  ///< what one look alone sees is in doubt here; for whether somebody is there
    };

    /// Looks at `frame`. `view` is the frame at the size of the answer, and `changed` what of it differs from
    /// the frame before (see changeBetween). Throws PlatformError("Vision", 4) when a network answers
    /// nonsense.
    Answer look(const Networks& networks, const cv::Mat3b& frame, const cv::Mat3b& view,
                const cv::Mat1b& changed, Effort effort);

    /// The person that was found in it, 255, at that size; the next close look goes there.
    void onPersonFound(const cv::Mat1b& person);

  private:
    cv::Mat1f lookCloser(NeuralSegmentation& network, const cv::Mat3b& frame, const cv::Mat1b& lift,
                         const cv::Mat1f& elsewhere) const;

    cv::Rect place_;           ///< of the close look, at the size of the answers; empty: nobody to look at
    cv::Mat1f whole_, close_;  ///< the last look at a whole frame, and the last close one
    bool isWholeNew_ = false;  ///< whether the frame before was looked at as a whole
};

}  // namespace platform
