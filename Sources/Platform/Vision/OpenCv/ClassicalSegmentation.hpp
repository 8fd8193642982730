#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Vision/OpenCv/AppearanceModel.hpp"
#include "Platform/Vision/OpenCv/BodyPrior.hpp"
#include "Platform/Vision/OpenCv/HeadTracker.hpp"
#include "Platform/Vision/OpenCv/StillBackground.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <optional>

#include <opencv2/core.hpp>

namespace platform {

/// Cuts a person out of a camera's frames without a trained network: a face says where a body can be,
/// the still background and the looks of person and room say which pixels it has, and a cut along the
/// picture's edges draws the border. Follows one camera; used on one thread at a time.
class ClassicalSegmentation {
  public:
    explicit ClassicalSegmentation(PersonSegmentationRequest::QualityLevel quality);

    /// The person in the next frame, 0…255 at a working size; empty when nobody is there.
    cv::Mat1b segment(const PixelBuffer& frame);
    /// False when the distribution's face cascade is missing: then nobody is ever found.
    bool available() const { return tracker_.available(); }

  private:
    struct Settings {
        double workArea;      ///< pixels of the size everything is decided at
        double fineArea;      ///< pixels of the result
        double detectorArea;  ///< pixels in which the face is looked for
        int detectEvery;      ///< frames between looks for the face while it is followed
        int looksPerFrame;    ///< searches of a frame while nobody is followed
        int firstRounds;      ///< of learning and cutting on the first frame with a person
        int matteRadius;      ///< pixels of the working size
    };
    struct View {  ///< one frame at the sizes the steps need
        cv::Mat3b fine;
        cv::Mat3f work;
        cv::Mat3b lab;
        cv::Mat1b gray;
    };
    static Settings settingsFor(PersonSegmentationRequest::QualityLevel quality);

    void reset(cv::Size work);
    View look(const PixelBuffer& frame) const;
    std::optional<Head> findHead(const View& view);
    /// Where a head must be that just went out over the rim of the frame.
    std::optional<Head> leavingHead() const;
    cv::Mat1b somebodyWithoutFace() const;
    cv::Mat1f oddsFromBefore(const View& view, const std::optional<Head>& head) const;
    /// Takes evidence from what changed in the room without looking like the person.
    void doubtStrangers(const View& view, const BodyPrior& prior);
    void addLooks(cv::Mat1f& odds, const View& view, const Head& head) const;
    void learnLooks(const View& view, const cv::Mat1b& person, const cv::Mat1b& room, const Head& head,
                    bool anew);
    cv::Mat1b cutWithHead(const View& view, const Head& head, bool seen);
    cv::Mat1b cutWithoutHead(const View& view, const cv::Mat1b& blob);
    cv::Mat1b tidied(const cv::Mat1b& mask, const cv::Mat1b& anchor) const;
    cv::Mat1b finished(const View& view, const cv::Mat1b& mask);
    void learnRoom(const View& view, const cv::Mat1b& mask, const cv::Mat1b& doubtful);
    AppearanceModel::Feature feature(const View& view, int x, int y, const Head* origin) const;

    Settings settings_;
    HeadTracker tracker_;
    StillBackground background_;
    AppearanceModel personLooks_, roomLooks_;
    cv::Size workSize_;
    cv::Mat1f evidence_;    ///< of the background's difference, for the frame in hand
    cv::Mat1b lastMask_;    ///< at the working size; all zero when nobody was there
    cv::Mat1b freeRun_;     ///< frames in a row that a pixel was outside the person
    cv::Mat1b strangeRun_;  ///< frames in a row that a pixel did not look like the room behind it
    cv::Mat3f lastWork_;
    cv::Mat3b lastFine_;
    cv::Mat1f lastMatte_;
    std::optional<Head> lastHead_;
    cv::Point2f lastStep_{0, 0};  ///< of the head from frame to frame, fractions of the width, smoothed
    bool metSomebody_ = false;
    int framesWithHead_ = 0;
};

}  // namespace platform
