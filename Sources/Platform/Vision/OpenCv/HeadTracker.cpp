#include "Platform/Vision/OpenCv/HeadTracker.hpp"

#include <algorithm>
#include <filesystem>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// The least face, as part of the width: smaller ones sit too far away to be who records; the
/// detector itself needs 20 pixels.
constexpr double smallestShare = 0.065;
/// A face never fills more than this part of the frame's shorter side.
constexpr double largestShare = 0.5;
/// How alike (normalised correlation) a place must be to the head's last picture to be the head.
constexpr double alike = 0.55;
/// Below this the likeness is doubtful: a wall can be as alike, so the detector is asked at once.
constexpr double plainlyAlike = 0.75;
/// Doubtful frames in a row, the detector seeing nothing, after which the head is given up.
constexpr int doubtfulPatience = 8;
/// Part of the face box that is remembered: the face, with little of what is behind it.
constexpr float rememberedPart = 0.8F;
/// Frames for which a head is believed without the detector seeing a face: somebody who looks away.
constexpr int patience = 150;
/// Frames without the detector seeing the face after which it looks for one in the whole frame: what is
/// followed may be a picture on the wall.
constexpr int strayPatience = 10;

cv::Point2f middle(const cv::Rect& box) {
    return {static_cast<float>(box.x) + static_cast<float>(box.width) / 2,
            static_cast<float>(box.y) + static_cast<float>(box.height) / 2};
}

std::string installedCascade(const char* name) {
    for (const char* root : {"/usr/share/opencv4", "/usr/local/share/opencv4", "/usr/share/opencv"}) {
        const auto path = std::filesystem::path(root) / "haarcascades" / name;
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored)) return path.string();
    }
    return {};
}

cv::Rect square(cv::Point2f centre, float side, cv::Size limit) {
    const cv::Rect box(cvRound(centre.x - side / 2), cvRound(centre.y - side / 2), cvRound(side),
                       cvRound(side));
    return box & cv::Rect({0, 0}, limit);
}

}  // namespace

std::string HeadTracker::cascadePath() { return installedCascade("haarcascade_frontalface_alt2.xml"); }

HeadTracker::HeadTracker(int detectEvery, int looksPerFrame)
    : detectEvery_(detectEvery), looksPerFrame_(looksPerFrame) {
    const std::string path = cascadePath(), witness = installedCascade("haarcascade_frontalface_alt.xml");
    if (!path.empty()) cascade_.load(path);
    if (!witness.empty()) witness_.load(witness);
}

std::optional<Head> HeadTracker::detect(const cv::Mat1b& gray, const cv::Rect& area, int smallest,
                                        int largest, cv::Point2f near) {
    const cv::Rect inside = area & cv::Rect({0, 0}, gray.size());
    if (cascade_.empty() || std::min(inside.width, inside.height) < smallest) return std::nullopt;
    cv::Mat1b part = gray(inside);
    // In the dark or against a window the plain picture shows the detector too little: every other
    // look for a new face is at a picture whose contrast is evened out.
    if (!head_) {
        if (stretchNext_) {
            cv::Mat1b even;
            cv::createCLAHE(3, {4, 4})->apply(gray(inside), even);
            part = even;
        }
        stretchNext_ = !stretchNext_;
    }
    std::vector<cv::Rect> faces;
    std::vector<int> votes;
    cascade_.detectMultiScale(part, faces, votes, 1.1, 3, 0, {smallest, smallest}, {largest, largest});
    const cv::Point2f corner(static_cast<float>(inside.x), static_cast<float>(inside.y));
    std::optional<cv::Rect> best;
    double bestScore = 0;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        if (!head_ && votes[i] < plainVotes && !confirmed(part, faces[i])) {
            const cv::Point2f here = corner + middle(faces[i]);
            const bool again = cv::norm(here - doubtful_) < 0.25 * faces[i].width;
            doubtful_ = here;
            if (!again) continue;
        }
        const double score =
            faces[i].width / (1.0 + 3 * cv::norm(corner + middle(faces[i]) - near) / gray.cols);
        if (score > bestScore) {
            best = faces[i];
            bestScore = score;
            votes_ = votes[i];
        }
    }
    if (!best) return std::nullopt;
    const auto width = static_cast<float>(gray.cols);
    const cv::Point2f centre = corner + middle(*best);
    return Head{centre.x / width, centre.y / width, static_cast<float>(best->width) / width};
}

bool HeadTracker::confirmed(const cv::Mat1b& picture, const cv::Rect& face) {
    if (witness_.empty()) return true;
    const cv::Rect around = square(middle(face), static_cast<float>(face.width) * 2.2F, picture.size());
    std::vector<cv::Rect> faces;
    witness_.detectMultiScale(picture(around), faces, 1.1, 2, 0, face.size() * 2 / 3, face.size() * 2);
    const cv::Point2f corner(static_cast<float>(around.x), static_cast<float>(around.y));
    return std::any_of(faces.begin(), faces.end(), [&](const cv::Rect& other) {
        return cv::norm(corner + middle(other) - middle(face)) < 0.35 * face.width;
    });
}

void HeadTracker::remember(const cv::Mat1b& gray) {
    const auto width = static_cast<float>(gray.cols);
    const cv::Rect box =
        square({head_->x * width, head_->y * width}, head_->size * width * rememberedPart, gray.size());
    appearance_ = box.width >= 8 && box.height >= 8 ? gray(box).clone() : cv::Mat1b();
}

bool HeadTracker::follow(const cv::Mat1b& gray) {
    if (appearance_.empty()) return false;
    const auto width = static_cast<float>(gray.cols);
    const cv::Point2f expected = cv::Point2f(head_->x * width, head_->y * width) + velocity_;
    const float reach = std::max(12.0F, 0.9F * head_->size * width);
    const cv::Rect area = square(expected, static_cast<float>(appearance_.cols) + 2 * reach, gray.size());
    if (area.width < appearance_.cols || area.height < appearance_.rows) return false;
    // Half the resolution is enough to find the place, and four times as fast twice over.
    cv::Mat1b smallArea, smallHead;
    cv::resize(gray(area), smallArea, {}, 0.5, 0.5, cv::INTER_AREA);
    cv::resize(appearance_, smallHead, {}, 0.5, 0.5, cv::INTER_AREA);
    if (smallArea.cols < smallHead.cols || smallArea.rows < smallHead.rows) return false;
    cv::Mat1f score;
    cv::matchTemplate(smallArea, smallHead, score, cv::TM_CCOEFF_NORMED);
    double best = 0;
    cv::Point at;
    cv::minMaxLoc(score, nullptr, &best, nullptr, &at);
    if (!(best > alike)) return false;
    doubtfulFrames_ = best > plainlyAlike ? 0 : doubtfulFrames_ + 1;
    const cv::Point2f previous(head_->x * width, head_->y * width);
    cv::Point2f found(
        static_cast<float>(area.x) + 2 * static_cast<float>(at.x) + static_cast<float>(appearance_.cols) / 2,
        static_cast<float>(area.y) + 2 * static_cast<float>(at.y) + static_cast<float>(appearance_.rows) / 2);
    // A step of one half-resolution pixel is no movement.
    if (cv::norm(found - previous) < 2.1) found = previous + (found - previous) * 0.3F;
    velocity_ = found - previous;
    head_->x = found.x / width;
    head_->y = found.y / width;
    return true;
}

std::optional<Head> HeadTracker::update(const cv::Mat1b& gray) {
    const auto width = static_cast<float>(gray.cols);
    const int largest = static_cast<int>(largestShare * std::min(gray.cols, gray.rows));
    const int smallestFace = std::max(20, static_cast<int>(smallestShare * gray.cols));
    seenByDetector_ = false;
    ++framesSinceLook_;
    if (!head_) {
        velocity_ = {0, 0};
        if (framesSinceLook_ < std::max(1, detectEvery_ / 2) && framesUnseen_ > 0) {
            ++framesUnseen_;
            return std::nullopt;
        }
        framesSinceLook_ = 0;
        const cv::Point2f centre(static_cast<float>(gray.cols) / 2, static_cast<float>(gray.rows) / 2);
        for (int look = 0; look < looksPerFrame_ && !head_; ++look)
            head_ = detect(gray, cv::Rect({0, 0}, gray.size()), smallestFace, largest, centre);
        seenByDetector_ = head_.has_value();
        framesUnseen_ = head_ ? 0 : framesUnseen_ + 1;
        if (head_) {
            stretchNext_ = false;
            doubtful_ = {-1e6F, -1e6F};
            remember(gray);
        }
        return head_;
    }

    const bool followed = follow(gray);
    const bool plainly = followed && doubtfulFrames_ == 0;
    if (framesSinceLook_ >= detectEvery_ || !plainly) {
        framesSinceLook_ = 0;
        const float side = head_->size * width;
        const cv::Point2f centre(head_->x * width, head_->y * width);
        const float reach = plainly ? 1.7F : 3.2F;
        const auto seen =
            detect(gray, square(centre + (followed ? cv::Point2f() : velocity_), side * reach, gray.size()),
                   std::max(smallestFace, static_cast<int>(side * 0.75F)),
                   std::min(largest, static_cast<int>(side * 1.35F) + 1), centre);
        if (seen) {
            // The detector's boxes tremble; the place is taken from the tracker where the two agree.
            const float share = followed ? 0.35F : 1.0F;
            const bool moved = std::hypot(seen->x - head_->x, seen->y - head_->y) > 0.25F * head_->size;
            head_->x += (seen->x - head_->x) * (moved ? 1.0F : share);
            head_->y += (seen->y - head_->y) * (moved ? 1.0F : share);
            head_->size += (seen->size - head_->size) * 0.2F;
            seenByDetector_ = true;
            doubtfulFrames_ = 0;
        } else if (framesUnseen_ >= strayPatience) {
            const auto other = detect(gray, cv::Rect({0, 0}, gray.size()), smallestFace, largest, centre);
            if (other && seenPlainly()) {
                head_ = other;
                velocity_ = {0, 0};
                seenByDetector_ = true;
                doubtfulFrames_ = 0;
            }
        }
    }
    framesUnseen_ = seenByDetector_ ? 0 : framesUnseen_ + 1;
    if ((!followed && !seenByDetector_) || framesUnseen_ > patience || doubtfulFrames_ > doubtfulPatience) {
        drop();
        return std::nullopt;
    }
    if (seenByDetector_) remember(gray);
    return head_;
}

}  // namespace platform
