#pragma once

#include <memory>
#include <optional>
#include <string>

#include <opencv2/objdetect.hpp>

namespace platform {

/// A head, in fractions of the frame's width; origin at the top left, y downwards. `size` is the side
/// of the square that a frontal face detector draws: about ear to ear, forehead to chin.
struct Head {
    float x = 0;
    float y = 0;
    float size = 0;
};

/// Finds a face and follows it from frame to frame: by detection now and then, by its picture between.
class HeadTracker {
  public:
    /// `detectEvery`: frames from one look by the detector to the next while a head is followed.
    /// `looksPerFrame`: how often a frame is searched, differently each time, while none is.
    HeadTracker(int detectEvery, int looksPerFrame);

    /// Looks at the next frame, 8-bit gray at a working size (about 426 × 240).
    std::optional<Head> update(const cv::Mat1b& gray);
    /// Forgets the head that was followed, because other evidence says that nobody is there.
    void drop() {
        head_.reset();
        doubtfulFrames_ = 0;
    }
    /// True when the last update saw the face itself, not only something like its last picture.
    bool seenByDetector() const { return seenByDetector_; }
    /// True when the last face that was seen needed neither a witness nor a second sight.
    bool seenPlainly() const { return votes_ >= plainVotes; }
    bool available() const { return !cascade_.empty(); }

    /// The path of the face cascade of the distribution; empty when it is not installed.
    static std::string cascadePath();

  private:
    /// A face that so many neighbouring windows agree on needs no witness.
    static constexpr int plainVotes = 12;

    std::optional<Head> detect(const cv::Mat1b& gray, const cv::Rect& area, int smallest, int largest,
                               cv::Point2f near);
    bool confirmed(const cv::Mat1b& picture, const cv::Rect& face);
    bool follow(const cv::Mat1b& gray);
    void remember(const cv::Mat1b& gray);

    cv::CascadeClassifier cascade_;
    cv::CascadeClassifier witness_;  ///< a second opinion on faces the first is not sure of
    bool stretchNext_ = false;
    cv::Point2f doubtful_{-1e6F, -1e6F};  ///< where the last face was that nothing confirmed
    int detectEvery_;
    int looksPerFrame_;
    int framesSinceLook_ = 0;
    int framesUnseen_ = 0;
    int doubtfulFrames_ = 0;
    bool seenByDetector_ = false;
    int votes_ = 0;  ///< neighbouring windows that agreed on the last face
    std::optional<Head> head_;
    cv::Point2f velocity_{0, 0};
    cv::Mat1b appearance_;
};

}  // namespace platform
