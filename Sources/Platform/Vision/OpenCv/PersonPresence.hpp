#pragma once

#include "Platform/Vision/OpenCv/PersonPieces.hpp"

namespace platform {

/// Tells, frame by frame, whether what a network found is somebody: networks see people in things, too. Used
/// on one thread at a time.
class PersonPresence {
  public:
    /// `found` in the frame `view`, a picture of the same size; `changed`, what of it differs from the frame
    /// before (see changeBetween). Whether somebody is there.
    bool judge(const PersonPieces& found, const cv::Mat3b& view, const cv::Mat1b& changed);

    /// Whether somebody is there beyond doubt.
    bool isSure() const { return sure_; }
    /// Whether somebody was there in any frame.
    bool wasSeen() const { return seen_; }

  private:
    bool stirs(const PersonPieces& found, const cv::Mat3b& view);

    bool present_ = false, sure_ = false, seen_ = false;
    cv::Mat1b last_;      ///< the piece found in the frame before
    cv::Mat3b lastView_;  ///< that frame
    int moved_ = 0;
    cv::Mat3b stillView_;  ///< a frame of a little while ago
    int stillFrames_ = 0;  ///< since that frame
    int doubtfulFrames_ = 0;
};

}  // namespace platform
