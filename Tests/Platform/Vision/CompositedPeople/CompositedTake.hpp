#pragma once

#include <opencv2/core.hpp>

namespace cobaltreel::composited {

/// A photographed person, cut out by a mask that is known to be right.
struct Cutout {
    cv::Mat3b picture;
    cv::Mat1b mask;
};

/// A take of 1280 × 720 in which such a person sits before another room. The same description gives the same
/// frames on every machine.
class CompositedTake {
  public:
    enum class Trouble { none, noise, blur, exposure, compression };
    static constexpr int troubleCount = 5;

    struct Frame {
        cv::Mat3b picture;
        cv::Mat1b truth;  ///< 255 = person
    };

    /// `room` of any size. Somebody who `moves` sways and leans; else only the camera's noise changes.
    CompositedTake(Cutout person, const cv::Mat3b& room, Trouble trouble, bool moves);
    Frame at(double seconds) const;
    static const char* name(Trouble trouble);

  private:
    Cutout person_;
    cv::Mat3b room_;
    Trouble trouble_;
    bool moves_;
    cv::Mat3s noise_;
};

}  // namespace cobaltreel::composited
