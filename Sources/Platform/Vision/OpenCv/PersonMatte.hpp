#pragma once

#include "Platform/Vision/OpenCv/PersonLooks.hpp"
#include "Platform/Vision/OpenCv/PersonPresence.hpp"

namespace platform {

/// Makes the masks that are shown from a network's answers to the frames of one camera: leaves out scraps,
/// fills small holes, draws the border along the picture's edges, and holds still what did not move.
/// Used on one thread at a time.
class PersonMatte {
  public:
    /// `answer`, what was seen in a frame; `view`, the frame at that size; `changed`, what of it differs from
    /// the frame before (see changeBetween); `fine`, the frame as large as the mask is wanted. The person,
    /// 0…255, at the size of `fine`; black when whoever was there has left; empty when nobody was there yet.
    cv::Mat1b refine(const PersonLooks::Answer& answer, const cv::Mat3b& view, const cv::Mat1b& changed,
                     const cv::Mat3b& fine);

    /// What was found in the last frame, somebody or not: 255 at the size of its answer.
    const cv::Mat1b& found() const { return solid_; }

    /// Whether somebody was there in the last frame, beyond doubt.
    bool isSure() const { return presence_.isSure(); }

  private:
    PersonPresence presence_;
    cv::Mat1b solid_;
    cv::Mat1f heldPerson_, heldMatte_;
    cv::Mat3b heldFine_;  ///< the frame that heldMatte_ belongs to
};

}  // namespace platform
