#pragma once

#include "Platform/Vision/OpenCv/PersonPieces.hpp"

namespace platform {

/// Tells, frame by frame, whether what a network found is somebody: networks see people in things, too. Used
/// on one thread at a time.
class PersonPresence {
  public:
    /// `found` in this frame, and what differs from the frame before, 0…255, at its size (empty: not known).
    /// Whether somebody is there.
    bool judge(const PersonPieces& found, const cv::Mat1b& changed);

    /// Whether somebody is there beyond doubt.
    bool isSure() const { return sure_; }
    /// Whether somebody was there in any frame.
    bool wasSeen() const { return seen_; }

  private:
    bool present_ = false, sure_ = false, seen_ = false;
    cv::Mat1b last_;  ///< the piece found in the frame before
    int moved_ = 0;
};

}  // namespace platform
