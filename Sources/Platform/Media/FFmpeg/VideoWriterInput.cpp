#include "Platform/Media/FFmpeg/VideoWriterInput.hpp"

#include "Platform/Media/FFmpeg/EncoderTrial.hpp"

#include <algorithm>
#include <cmath>

namespace platform::ffmpeg {
namespace {

constexpr int queuedPictures = 8;
// Beside the queue: the picture being encoded and what the caller is drawing or has at hand.
constexpr std::size_t picturesElsewhere = 8;

// Key frames are for seeking, which decodes from the last one: what counts is how many pictures that are. On
// a screen that hardly changes they would be most of the movie. What was damaged on its way is mended by one,
// too.
constexpr std::int64_t keyFrameDistance = 2 * videoTimescale;
constexpr int picturesToSeekThrough = 60;
constexpr std::int64_t longestKeyFrameDistance = 10 * videoTimescale;

// No encoder works on more at a time.
constexpr int maxPicturesInside = 4;

// A picture that is repeated to refine it comes so long after it. Pauses are noticed later than that, so no
// picture that is still on its way has an earlier time.
constexpr std::int64_t refinementDelay = videoTimescale * 3 / 10;

}  // namespace

VideoWriterInput::VideoWriterInput(WriterState& state, const VideoSettings& settings)
    : WriterInput(state, queuedPictures, "encode.video"), settings_(settings) {
    if (settings.expectsMediaDataInRealTime) governor_.emplace(settings.averageBitRate);
}

void VideoWriterInput::open() {
    encoder_ = chooseVideoEncoder(settings_, state_.muxer.wantsGlobalHeaders(),
                                  videoEncoderCandidates(settings_.codec))
                   .encoder;
    track_ = state_.muxer.addTrack(encoder_->description());
    if (settings_.expectedDuration > 0)
        state_.muxer.reserveIndex(settings_.expectedDuration, settings_.expectedFrameRate);
    pool_.emplace(PixelFormat::i420, settings_.width, settings_.height, queuedPictures + picturesElsewhere,
                  settings_.matrix);
}

bool VideoWriterInput::accepts(const SampleBuffer& sample) const {
    return sample.image && sample.image->width() == settings_.width &&
           sample.image->height() == settings_.height && sample.image->format() != PixelFormat::gray8;
}

void VideoWriterInput::encode(const SampleBuffer& sample, double time) {
    std::int64_t timestamp = std::llround(time * videoTimescale);
    if (timestamp <= lastTime_) {
        if (!hasRepeated_) return;
        timestamp = lastTime_ + 1;
    }
    hasRepeated_ = false;
    encodePicture(sample.image, timestamp);
}

void VideoWriterInput::encodePicture(const ConstPixelBufferRef& picture, std::int64_t timestamp) {
    const double coarsening =
        governor_ ? governor_->coarsening(static_cast<double>(timestamp) / videoTimescale) : 0;
    coarse_ = coarsening > 0 ? picture : nullptr;
    if (governor_ && governor_->isExhausted()) return;
    lastTime_ = timestamp;
    if (governor_) lastPicture_ = picture;
    const bool isKeyFrame = governor_ && isKeyFrameDue(timestamp);
    FramePtr frame = conversion_.frame(picture, settings_.matrix);
    frame->pts = timestamp;
    if (isKeyFrame) {
        frame->pict_type = AV_PICTURE_TYPE_I;
        lastKeyFrame_ = timestamp;
        picturesSinceKeyFrame_ = 0;
    }
    ++picturesSinceKeyFrame_;
    if (governor_) governor_->expect(coarsening);
    feedEncoder(std::move(frame), coarsening);
}

void VideoWriterInput::feedEncoder(FramePtr picture, double coarser) {
    encoder_->send(std::move(picture), coarser);
    while (encoder_->receive(*packet_)) deliver(*packet_, encoder_->description().time_base);
}

bool VideoWriterInput::isKeyFrameDue(std::int64_t timestamp) const {
    if (!lastKeyFrame_) return true;
    const std::int64_t distance = timestamp - *lastKeyFrame_;
    if (distance >= longestKeyFrameDistance) return true;
    return governor_->isAtEase() && distance >= keyFrameDistance &&
           picturesSinceKeyFrame_ >= picturesToSeekThrough;
}

void VideoWriterInput::pause() {
    // An encoder that works on several pictures at a time gives one back only when as many have followed.
    const bool isHeldBack = lastPicture_ && !hasRepeated_ && lastEncoded_ < lastTime_;
    const auto picture = coarse_ ? coarse_ : isHeldBack ? lastPicture_ : nullptr;
    if (!picture) return;
    hasRepeated_ = true;
    const std::int64_t repeated = lastTime_ + refinementDelay;
    encodePicture(picture, repeated);
    for (int i = 0; i < maxPicturesInside && lastEncoded_ < repeated; ++i)
        encodePicture(picture, repeated + 1 + i);
}

bool VideoWriterInput::isWanted(const AVPacket& packet) {
    if (governor_) governor_->spend(8.0 * packet.size);
    lastEncoded_ = std::max(lastEncoded_, packet.pts);
    return true;
}

void VideoWriterInput::encodeRest() { feedEncoder(nullptr, 0); }

}  // namespace platform::ffmpeg
