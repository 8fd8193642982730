#pragma once

#include <optional>
#include <vector>

#include <opencv2/core.hpp>

namespace cobaltreel::benchmarks {

/// How well masks of one quality level fit the truth, gathered frame by frame.
class Scores {
  public:
    /// One take begins: nothing carries over but the sums.
    void beginTake();
    /// `mask` 0…255 at any size, empty when nobody was found; `truth` exact, of the frame's size;
    /// `seconds` since the take began. Returns the intersection over union, nothing when the frame shows
    /// too little of a person to be judged.
    std::optional<double> add(const cv::Mat1b& mask, const cv::Mat1b& truth, double seconds, bool still);
    void addTime(double cpuMs, double wallMs);
    /// A frame without anybody in it.
    void addEmpty(bool personFound);

    double meanIoU() const { return frames_ ? sumIoU_ / frames_ : 0; }
    double worstIoU() const { return worst_; }
    double borderPx() const { return borderFrames_ ? sumBorder_ / borderFrames_ : 0; }
    double flickerShare() const { return flickerFrames_ ? sumFlicker_ / flickerFrames_ : 0; }
    double cpuMsPerFrame() const { return timedFrames_ ? sumCpu_ / timedFrames_ : 0; }
    double wallMsPerFrame() const { return timedFrames_ ? sumWall_ / timedFrames_ : 0; }
    double slowestCpuMs() const { return slowestCpu_; }
    double emptyRoomPersonShare() const {
        return emptyFrames_ ? static_cast<double>(emptyFound_) / emptyFrames_ : 0;
    }
    int judgedFrames() const { return frames_; }
    int lowFrames() const { return low_; }
    int emptyFrames() const { return emptyFrames_; }

  private:
    cv::Mat1b previous_;
    int frames_ = 0, low_ = 0, borderFrames_ = 0, flickerFrames_ = 0, timedFrames_ = 0, emptyFrames_ = 0,
        emptyFound_ = 0;
    double sumIoU_ = 0, worst_ = 1, sumBorder_ = 0, sumFlicker_ = 0, sumCpu_ = 0, sumWall_ = 0,
           slowestCpu_ = 0;
};

}  // namespace cobaltreel::benchmarks
