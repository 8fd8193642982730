#include "Platform/Vision/OpenCv/ClassicalSegmentation.hpp"

#include "Platform/Vision/OpenCv/BandCut.hpp"
#include "Platform/Vision/OpenCv/FramePicture.hpp"
#include "Platform/Vision/OpenCv/GuidedMatte.hpp"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

using Quality = PersonSegmentationRequest::QualityLevel;

/// Below this side (pixels) nobody can be made out.
constexpr int smallestFrame = 48;
/// Log odds beyond which a pixel is not asked any more.
constexpr float certain = 6;
/// How much looks may say for or against a person, as log odds.
constexpr float mostLikeness = 3;
constexpr float smoothness = 4.5F;
/// A step of the head (of the frame's width) that tells a body that moves from one that sits.
constexpr double movingStep = 0.012;
/// No head moves so far, in its own size, from one frame to the next.
constexpr float strayDistance = 1.8F;
/// Frames in a row outside the person after which a pixel is taken for the room.
constexpr uchar settled = 3;
/// Frames in a row after which something that newly stands in the room belongs to it.
constexpr uchar strangePatience = 20;
/// Least part of the frame that a person without a visible face must cover.
constexpr double leastBlobShare = 0.015;
constexpr double leastPartShare = 0.002;
/// Somebody's place in a blob of colour counts in hundredths of the frame's width; the room's half of
/// that, because a wall or a shelf goes on behind the body.
constexpr float personPlaces = 100;
constexpr float roomPlaces = 50;
/// Outside the usual body, a change of the room in a colour so unlike the person (half squared deviations)
/// is no part of them: a screen, a lamp. Such a change keeps at most this evidence.
constexpr float strangerColour = 8;
constexpr float strangerEvidence = 1;
constexpr float outsideUsualBody = -0.5F;

cv::Mat1b grown(const cv::Mat1b& mask, int radius) {
    cv::Mat1b out;
    cv::dilate(mask, out, cv::getStructuringElement(cv::MORPH_ELLIPSE, {2 * radius + 1, 2 * radius + 1}));
    return out;
}

cv::Mat1b shrunk(const cv::Mat1b& mask, int radius) {
    cv::Mat1b out;
    cv::erode(mask, out, cv::getStructuringElement(cv::MORPH_ELLIPSE, {2 * radius + 1, 2 * radius + 1}));
    return out;
}

/// The largest difference of a channel, squared steps left out: how much each pixel moved.
cv::Mat1b movedPixels(const cv::Mat3f& a, const cv::Mat3f& b, float threshold) {
    cv::Mat1f off(a.size());
    for (int y = 0; y < a.rows; ++y)
        for (int x = 0; x < a.cols; ++x) {
            const cv::Vec3f d = a(y, x) - b(y, x);
            off(y, x) = std::max({std::abs(d[0]), std::abs(d[1]), std::abs(d[2])});
        }
    cv::blur(off, off, {3, 3});
    return off > threshold;
}

}  // namespace

ClassicalSegmentation::Settings ClassicalSegmentation::settingsFor(Quality quality) {
    switch (quality) {
        case Quality::accurate:
            return {82944, 230400, 102400, 4, 2, 4, 5};
        case Quality::balanced:
            return {40000, 129600, 57600, 5, 1, 3, 4};
        case Quality::fast:
            break;
    }
    return {22500, 102400, 102400, 7, 2, 3, 3};
}

ClassicalSegmentation::ClassicalSegmentation(Quality quality)
    : settings_(settingsFor(quality)), tracker_(settings_.detectEvery, settings_.looksPerFrame) {}

void ClassicalSegmentation::reset(cv::Size work) {
    workSize_ = work;
    background_.reset(work);
    personLooks_ = {};
    roomLooks_ = {};
    evidence_ = cv::Mat1f(work, 0.0F);
    lastMask_ = cv::Mat1b(work, uchar(0));
    freeRun_ = cv::Mat1b(work, uchar(settled));
    strangeRun_ = cv::Mat1b(work, uchar(0));
    lastWork_.release();
    lastFine_.release();
    lastMatte_.release();
    lastHead_.reset();
    lastStep_ = {0, 0};
    tracker_.drop();
    metSomebody_ = false;
    framesWithHead_ = 0;
}

ClassicalSegmentation::View ClassicalSegmentation::look(const PixelBuffer& frame) const {
    const cv::Size size(frame.width(), frame.height());
    View view;
    view.fine = readPicture(frame, workingSize(size, settings_.fineArea));
    cv::Mat3b work;
    cv::resize(view.fine, work, workSize_, 0, 0, cv::INTER_AREA);
    work.convertTo(view.work, CV_32F);
    cv::cvtColor(work, view.lab, cv::COLOR_BGR2Lab);
    cv::Mat3b detector;
    cv::resize(view.fine, detector, workingSize(size, settings_.detectorArea), 0, 0, cv::INTER_AREA);
    cv::cvtColor(detector, view.gray, cv::COLOR_BGR2GRAY);
    return view;
}

AppearanceModel::Feature ClassicalSegmentation::feature(const View& view, int x, int y,
                                                        const Head* origin) const {
    const cv::Vec3b& lab = view.lab(y, x);
    const float places = origin ? personPlaces : roomPlaces;
    const float scale = places / static_cast<float>(workSize_.width);
    const float left = origin ? origin->x * places : 0, top = origin ? origin->y * places : 0;
    return {lab[0] * 0.6F, lab[1] * 1.4F, lab[2] * 1.4F, static_cast<float>(x) * scale - left,
            static_cast<float>(y) * scale - top};
}

std::optional<Head> ClassicalSegmentation::findHead(const View& view) {
    auto head = tracker_.update(view.gray);
    // A tracker can cling to the wall behind somebody who left, and in a window's panes the detector can see
    // a face; the background knows better. Before anybody was met it may have learnt a person as the room.
    const bool plain = tracker_.seenByDetector() && tracker_.seenPlainly();
    if (head && metSomebody_ && !plain) {
        const BodyPrior prior(*head, workSize_);
        const cv::Mat1b familiarCore = prior.core & (background_.familiarity() > 2);
        const int known = cv::countNonZero(familiarCore);
        if (known * 3 > cv::countNonZero(prior.core) && cv::mean(evidence_, familiarCore)[0] < -1) {
            tracker_.drop();
            head.reset();
        }
    }
    if (head && lastHead_ &&
        std::hypot(head->x - lastHead_->x, head->y - lastHead_->y) > strayDistance * head->size) {
        // Another head: what was followed until now was none, and taught nothing.
        lastHead_.reset();
        lastMask_.setTo(0);
        lastMatte_.release();
        framesWithHead_ = 0;
    }
    return head;
}

std::optional<Head> ClassicalSegmentation::leavingHead() const {
    if (!lastHead_ || std::hypot(lastStep_.x, lastStep_.y) < movingStep) return std::nullopt;
    const Head next{lastHead_->x + lastStep_.x, lastHead_->y + lastStep_.y, lastHead_->size};
    const float bottom = static_cast<float>(workSize_.height) / static_cast<float>(workSize_.width);
    const float past = std::max({-next.x, next.x - 1, next.y - bottom}) / next.size;
    // From where the face is cut by the rim to where the shoulders have followed it.
    if (past < -0.9F || past > 2) return std::nullopt;
    return next;
}

cv::Mat1b ClassicalSegmentation::somebodyWithoutFace() const {
    if (!metSomebody_ || background_.knownShare() < 0.3) return {};
    cv::Mat1b strange = (evidence_ > 2) & (background_.familiarity() > 3);
    cv::medianBlur(strange, strange, 5);
    cv::Mat1i labels;
    cv::Mat stats, centres;
    const int count = cv::connectedComponentsWithStats(strange, labels, stats, centres);
    // Somebody comes in over a side or the bottom; one large part vouches for the smaller ones.
    cv::Mat1b somebody(workSize_, uchar(0));
    int largest = 0;
    for (int i = 1; i < count; ++i) {
        const int* part = stats.ptr<int>(i);
        const int left = part[cv::CC_STAT_LEFT], bottom = part[cv::CC_STAT_TOP] + part[cv::CC_STAT_HEIGHT];
        const bool atSide = left <= 1 || left + part[cv::CC_STAT_WIDTH] >= workSize_.width - 1;
        if (!atSide && bottom < workSize_.height - 1) continue;
        if (part[cv::CC_STAT_AREA] < leastPartShare * workSize_.area()) continue;
        largest = std::max(largest, part[cv::CC_STAT_AREA]);
        somebody.setTo(255, labels == i);
    }
    return largest > leastBlobShare * workSize_.area() ? somebody : cv::Mat1b();
}

cv::Mat1f ClassicalSegmentation::oddsFromBefore(const View& view, const std::optional<Head>& head) const {
    cv::Mat1f odds(workSize_, 0.0F);
    if (lastWork_.empty() || cv::countNonZero(lastMask_) == 0) return odds;
    const cv::Mat1b moved = movedPixels(view.work, lastWork_, 7);
    cv::Point2f step(0, 0);
    if (head && lastHead_)
        step =
            cv::Point2f(head->x - lastHead_->x, head->y - lastHead_->y) * static_cast<float>(workSize_.width);
    cv::Mat1b carried;
    const cv::Matx23f shift(1, 0, step.x, 0, 1, step.y);
    cv::warpAffine(lastMask_, carried, shift, workSize_, cv::INTER_NEAREST, cv::BORDER_REPLICATE);
    // While the body moves, what stays where it was without being under the body is the room's.
    const bool moves = cv::norm(step) > movingStep * workSize_.width;
    for (int y = 0; y < workSize_.height; ++y)
        for (int x = 0; x < workSize_.width; ++x) {
            if (moved(y, x))
                odds(y, x) = carried(y, x) ? 0.9F : -0.9F;
            else if (moves)
                odds(y, x) = carried(y, x) ? 0.7F : -1.6F;
            else
                odds(y, x) = lastMask_(y, x) ? 1.6F : -1.6F;
            // The room's own picture is a better witness than what was thought a frame ago.
            if (evidence_(y, x) > 2) odds(y, x) = std::max(odds(y, x), -0.3F);
        }
    return odds;
}

void ClassicalSegmentation::doubtStrangers(const View& view, const BodyPrior& prior) {
    if (!personLooks_.known()) return;
    for (int y = 0; y < workSize_.height; ++y)
        for (int x = 0; x < workSize_.width; ++x) {
            float& value = evidence_(y, x);
            if (value <= strangerEvidence || prior.odds(y, x) > outsideUsualBody) continue;
            const float unlike = personLooks_.colourDistance(feature(view, x, y, nullptr));
            const float own = std::clamp(2 - 2 * unlike / strangerColour, 0.0F, 1.0F);
            value = strangerEvidence + (value - strangerEvidence) * own;
        }
}

void ClassicalSegmentation::addLooks(cv::Mat1f& odds, const View& view, const Head& head) const {
    if (!personLooks_.known() || !roomLooks_.known()) return;
    for (int y = 0; y < workSize_.height; ++y)
        for (int x = 0; x < workSize_.width; ++x) {
            float& value = odds(y, x);
            if (std::abs(value) >= certain + 1) continue;
            const float like = roomLooks_.energy(feature(view, x, y, nullptr)) -
                               personLooks_.energy(feature(view, x, y, &head));
            // That the whole room has such colours says little where this very place is known to look
            // otherwise.
            const float least = evidence_(y, x) > 2 ? -1 : -mostLikeness;
            value += std::clamp(like * 0.5F, least, mostLikeness);
        }
}

void ClassicalSegmentation::learnLooks(const View& view, const cv::Mat1b& person, const cv::Mat1b& room,
                                       const Head& head, bool anew) {
    std::vector<AppearanceModel::Feature> people, rooms;
    // About two thousand samples of each are plenty.
    const int step = std::max(1, static_cast<int>(std::sqrt(workSize_.area() / 4000.0)));
    for (int y = 0; y < workSize_.height; y += step)
        for (int x = 0; x < workSize_.width; x += step) {
            if (person(y, x)) people.push_back(feature(view, x, y, &head));
            if (room(y, x) && evidence_(y, x) < 1.5F) rooms.push_back(feature(view, x, y, nullptr));
        }
    if (anew) {
        personLooks_.fit(people);
        roomLooks_.fit(rooms);
    } else {
        personLooks_.follow(people, 0.2F);
        roomLooks_.follow(rooms, 0.2F);
    }
}

cv::Mat1b ClassicalSegmentation::cutWithHead(const View& view, const Head& head, bool seen) {
    BodyPrior prior(head, workSize_);
    if (!seen) cv::min(prior.odds, 1.5, prior.odds);
    const bool first = framesWithHead_ == 0;
    if (first && cv::mean(evidence_, prior.core)[0] < 0.5) {
        // Somebody sat there before the face was seen: what was learnt here is not the room.
        background_.forget(prior.reach);
        evidence_.setTo(0, prior.reach);
    }
    doubtStrangers(view, prior);
    // Only where a body usually is does a mask teach the person's looks: a piece of the room that was
    // taken for the person must not vouch for itself.
    const cv::Mat1b usual = prior.odds > 0;
    const int margin = std::max(1, workSize_.width / 60);
    cv::Mat1f base = prior.odds.clone();
    for (int y = 0; y < workSize_.height; ++y)
        for (int x = 0; x < workSize_.width; ++x) {
            // Where the room is known it says more than the measures of a usual body: arms reach far.
            const float known = background_.familiarity()(y, x);
            if (base(y, x) < 0) base(y, x) *= 1 - 0.75F * known / (known + 1);
        }
    base += evidence_ + oddsFromBefore(view, head);
    if (first) learnLooks(view, prior.odds > 1.0F, grown(prior.reach, margin) == 0, head, true);
    cv::Mat1b mask;
    for (int round = 0; round < (first ? settings_.firstRounds : 1); ++round) {
        cv::Mat1f odds = base.clone();
        addLooks(odds, view, head);
        mask = cutAlongEdges(odds, view.work, background_.expected(), background_.familiarity(), certain,
                             smoothness);
        mask = tidied(mask, prior.core);
        if (first && round + 1 < settings_.firstRounds)
            learnLooks(view, shrunk(mask, 1) & usual, grown(mask, margin) == 0, head, true);
    }
    learnLooks(view, shrunk(mask, 1) & usual, grown(mask, margin) == 0, head, false);
    return mask;
}

cv::Mat1b ClassicalSegmentation::cutWithoutHead(const View& view, const cv::Mat1b& blob) {
    cv::Mat1f odds = evidence_ + oddsFromBefore(view, std::nullopt);
    const cv::Mat1b away = grown(blob, std::max(2, workSize_.width / 25)) == 0;
    odds -= 0.5F;
    odds.setTo(-certain - 1, away);
    cv::Mat1b mask = cutAlongEdges(odds, view.work, background_.expected(), background_.familiarity(),
                                   certain, smoothness);
    return tidied(mask, blob);
}

cv::Mat1b ClassicalSegmentation::tidied(const cv::Mat1b& mask, const cv::Mat1b& anchor) const {
    cv::Mat1b kept(workSize_, uchar(0));
    cv::Mat1i labels;
    cv::Mat stats, centres;
    int count = cv::connectedComponentsWithStats(mask, labels, stats, centres, 4);
    const double frameArea = workSize_.area();
    for (int i = 1; i < count; ++i) {
        const int* s = stats.ptr<int>(i);
        const cv::Rect box(s[0], s[1], s[2], s[3]);
        const cv::Mat1b part = labels(box) == i;
        bool keep = cv::countNonZero(part & anchor(box)) > 0;
        // A hand that comes in from below hangs on an arm outside the picture, and stays a hand when its
        // sleeve can't be told from the room.
        const bool atBottom = box.br().y >= workSize_.height - 1;
        if (!keep && s[cv::CC_STAT_AREA] > frameArea * 0.004 &&
            (atBottom || cv::countNonZero(part & lastMask_(box)) > 0))
            keep = cv::mean(evidence_(box), part)[0] > 2;
        if (keep) kept(box).setTo(255, part);
    }
    const cv::Mat1b rest = kept == 0;
    count = cv::connectedComponentsWithStats(rest, labels, stats, centres, 4);
    for (int i = 1; i < count; ++i) {
        const int* s = stats.ptr<int>(i);
        const cv::Rect box(s[0], s[1], s[2], s[3]);
        const bool enclosed =
            box.x > 0 && box.y > 0 && box.br().x < workSize_.width && box.br().y < workSize_.height;
        if (!enclosed) continue;
        const cv::Mat1b part = labels(box) == i;
        if (s[cv::CC_STAT_AREA] < frameArea * 0.0015 || cv::mean(evidence_(box), part)[0] > -1)
            kept(box).setTo(255, part);
    }
    cv::medianBlur(kept, kept, 3);
    return kept;
}

cv::Mat1b ClassicalSegmentation::finished(const View& view, const cv::Mat1b& mask) {
    const int radius = settings_.matteRadius;
    cv::Mat1f matte = guidedMatte(mask, view.work, view.fine, radius, 4e-4F);
    cv::Mat1b outer, inner;
    cv::resize(grown(mask, radius), outer, view.fine.size(), 0, 0, cv::INTER_NEAREST);
    cv::resize(shrunk(mask, radius), inner, view.fine.size(), 0, 0, cv::INTER_NEAREST);
    const bool steady = !lastMatte_.empty() && lastMatte_.size() == matte.size();
    for (int y = 0; y < matte.rows; ++y) {
        float* value = matte[y];
        const float* before = steady ? lastMatte_[y] : nullptr;
        const cv::Vec3b *now = view.fine[y], *then = steady ? lastFine_[y] : nullptr;
        for (int x = 0; x < matte.cols; ++x) {
            float v = std::clamp((value[x] - 0.5F) * 1.8F + 0.5F, 0.0F, 1.0F);
            if (!outer(y, x)) v = 0;
            if (inner(y, x)) v = 1;
            if (steady) {
                // What does not move keeps its border; what moves, or changes sides, is believed at once.
                int step = 0;
                for (int c = 0; c < 3; ++c) step += std::abs(now[x][c] - then[x][c]);
                const float hold = std::clamp(1.4F - static_cast<float>(step) / 24.0F, 0.0F, 0.8F);
                if (std::abs(before[x] - v) < 0.6F) v += hold * (before[x] - v);
            }
            value[x] = v;
        }
    }
    lastMatte_ = matte;
    cv::Mat1b out;
    matte.convertTo(out, CV_8U, 255);
    return out;
}

void ClassicalSegmentation::learnRoom(const View& view, const cv::Mat1b& mask, const cv::Mat1b& doubtful) {
    const cv::Mat1b near = grown(mask, std::max(2, workSize_.width / 50));
    const bool firstSight = framesWithHead_ == 1;
    cv::Mat1b free(workSize_), anew(workSize_, uchar(0));
    for (int y = 0; y < workSize_.height; ++y)
        for (int x = 0; x < workSize_.width; ++x) {
            // Close to somebody, or where they just were, a pixel must stay outside for a while before
            // it counts as room.
            uchar& run = freeRun_(y, x);
            if (near(y, x) || (firstSight && doubtful(y, x)))
                run = 0;
            else
                run = std::min<uchar>(settled, run + 1);
            free(y, x) = run >= settled ? 255 : 0;
            // What looks unlike the room it hides may be a hand nobody made out yet; only what stays is
            // furniture.
            uchar& strange = strangeRun_(y, x);
            strange = evidence_(y, x) > 2 ? std::min<uchar>(250, strange + 1) : uchar(0);
            if (!strange || !free(y, x)) continue;
            if (strange > strangePatience)
                anew(y, x) = 255;
            else
                free(y, x) = 0;
        }
    background_.forget(anew);
    background_.learn(view.work, free);
}

cv::Mat1b ClassicalSegmentation::segment(const PixelBuffer& frame) {
    const cv::Size size(frame.width(), frame.height());
    if (std::min(size.width, size.height) < smallestFrame || !tracker_.available()) return {};
    const cv::Size work = workingSize(size, settings_.workArea);
    if (work != workSize_) reset(work);
    const View view = look(frame);
    if (!lastFine_.empty() && lastFine_.size() != view.fine.size()) reset(work);

    background_.compare(view.work, grown(lastMask_, std::max(2, work.width / 40)), evidence_);
    auto head = findHead(view);
    const bool seen = head.has_value();
    if (!seen) head = leavingHead();
    cv::Mat1b mask, result;
    if (head) {
        mask = cutWithHead(view, *head, seen);
        ++framesWithHead_;
        metSomebody_ = true;
    } else if (const cv::Mat1b blob = somebodyWithoutFace(); !blob.empty()) {
        mask = cutWithoutHead(view, blob);
    }
    if (mask.empty() || cv::countNonZero(mask) == 0) {
        lastMask_ = cv::Mat1b(work, uchar(0));
        lastMatte_.release();
        framesWithHead_ = 0;
    } else {
        lastMask_ = mask;
        result = finished(view, mask);
    }
    learnRoom(view, lastMask_, head ? BodyPrior(*head, work).reach : cv::Mat1b(work, uchar(0)));
    lastWork_ = view.work;
    lastFine_ = view.fine;
    if (seen && lastHead_)
        lastStep_ = (lastStep_ + cv::Point2f(head->x - lastHead_->x, head->y - lastHead_->y)) * 0.5F;
    else if (seen || !head)
        lastStep_ = {0, 0};
    lastHead_ = head;
    return result;
}

}  // namespace platform
