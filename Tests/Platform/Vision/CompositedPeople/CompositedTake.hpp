#pragma once

#include <optional>

#include <opencv2/core.hpp>

namespace cobaltreel::composited {

/// A photographed person, cut out by a mask that is known to be right.
struct Cutout {
    cv::Mat3b picture;
    cv::Mat1b mask;
};

/// The person of a photograph that Debian's python-matplotlib-data brings; absent where it is not installed.
std::optional<Cutout> photographedPerson();
/// A room with a shelf, a window and a table, another for each seed.
cv::Mat3b drawnRoom(unsigned seed);

/// A take of 1280 × 720 in which such a person sits before another room. The same description gives the same
/// frames on every machine.
class CompositedTake {
  public:
    enum class Trouble { none, noise, blur, exposure, compression };
    static constexpr int troubleCount = 5;

    /// Somebody who is still meets the camera's noise alone; who sways leans as well; who leaves sits until
    /// 1.6 s, is out of the picture from about 2.4 to 3.2 s, and sits again at 4.2 s.
    enum class Motion { still, sway, leaveAndReturn };

    struct Frame {
        cv::Mat3b picture;
        cv::Mat1b truth;  ///< 255 = person
    };

    /// `room` of any size.
    CompositedTake(Cutout person, const cv::Mat3b& room, Trouble trouble, Motion motion);
    Frame at(double seconds) const;
    static const char* name(Trouble trouble);

  private:
    Cutout person_;
    cv::Mat3b room_;
    Trouble trouble_;
    Motion motion_;
    cv::Mat3s noise_;
};

}  // namespace cobaltreel::composited
