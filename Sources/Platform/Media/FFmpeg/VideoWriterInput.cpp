#include "Platform/Media/FFmpeg/VideoWriterInput.hpp"

#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <cmath>

namespace platform::ffmpeg {
namespace {

constexpr int queuedPictures = 8;
// Beside the queue: the picture being encoded and what the caller is drawing or has at hand.
constexpr std::size_t picturesElsewhere = 8;
constexpr std::int64_t keyFrameDistance = 2 * videoTimescale;

}  // namespace

VideoWriterInput::VideoWriterInput(WriterState& state, const VideoSettings& settings)
    : WriterInput(state, queuedPictures, "encode.video"), settings_(settings) {}

void VideoWriterInput::open() {
    encoder_ = openVideoEncoder(settings_, state_.muxer.wantsGlobalHeaders(),
                                videoEncoderCandidates(settings_.codec));
    track_ = state_.muxer.addTrack(*encoder_);
    pool_.emplace(PixelFormat::i420, settings_.width, settings_.height, queuedPictures + picturesElsewhere,
                  ColourMatrix::bt709Limited);
}

bool VideoWriterInput::accepts(const SampleBuffer& sample) const {
    return sample.image && sample.image->width() == settings_.width &&
           sample.image->height() == settings_.height && sample.image->format() != PixelFormat::gray8;
}

void VideoWriterInput::encode(const SampleBuffer& sample, double time) {
    const std::int64_t timestamp = std::llround(time * videoTimescale);
    if (timestamp <= lastTime_) return;
    lastTime_ = timestamp;
    const FramePtr frame = conversion_.frame(sample.image);
    frame->pts = timestamp;
    const bool keyFrameDue = !lastKeyFrame_ || timestamp - *lastKeyFrame_ >= keyFrameDistance;
    if (settings_.expectsMediaDataInRealTime && keyFrameDue) {
        frame->pict_type = AV_PICTURE_TYPE_I;
        lastKeyFrame_ = timestamp;
    }
    feedEncoder(frame.get());
}

void VideoWriterInput::encodeRest() { feedEncoder(nullptr); }

}  // namespace platform::ffmpeg
