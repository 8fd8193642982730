#include "Platform/Media/FFmpeg/VideoTrackReader.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <new>
#include <utility>

namespace platform::ffmpeg {
namespace {

constexpr std::size_t framesAhead = 4;

}  // namespace

VideoTrackReader::VideoTrackReader(const std::filesystem::path& path, const AssetTrack& track,
                                   const TimeRange& range, PixelFormat format)
    : DecodeAheadReader(framesAhead, "decode.video"), input_(path), range_(range), format_(format) {
    if (track.type != MediaType::video)
        throw PlatformError(
            "FFmpeg", AVERROR(EINVAL),
            "Track " + std::to_string(track.index) + " of " + path.string() + " holds no pictures.");
    input_.selectStream(track.index);
    decoder_ = input_.openDecoder();
}

VideoTrackReader::~VideoTrackReader() { stop(); }

void VideoTrackReader::produce() {
    // Without a place to go to the movie is read from its beginning.
    if (range_.start > 0) input_.seek(range_.start);
    const PacketPtr packet = makePacket();
    std::optional<PlatformError> failure;
    try {
        while (!isStopped() && input_.read(*packet))
            if (!decode(packet.get())) return;
    } catch (const PlatformError& error) {
        failure = error;  // what the decoder still holds is delivered first
    }
    if (isStopped() || !decode(nullptr) || !deliverHeld()) return;
    if (!failure) failure = damage_;
    // A damaged movie ends where nothing more can be made of it.
    if (failure && !(isDamage(*failure) && lastTimestamp_)) throw PlatformError(*failure);
}

/// Feeds a packet, or the end with null, and takes the frames that come out; false when no more is
/// wanted. Damage that a later frame follows is passed over.
bool VideoTrackReader::decode(const AVPacket* packet) {
    const std::string sentence = "A picture of " + input_.path().string() + " cannot be decoded";
    const int sent = avcodec_send_packet(decoder_.get(), packet);
    if (sent == AVERROR_INVALIDDATA)
        damage_ = libraryError(sent, sentence);
    else if (sent != AVERROR_EOF)
        check(sent, sentence);
    for (;;) {
        const int received = avcodec_receive_frame(decoder_.get(), frame_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return true;
        if (received == AVERROR_INVALIDDATA) {
            damage_ = libraryError(received, sentence);
            continue;
        }
        check(received, sentence);
        damage_.reset();
        const bool wanted = take(*frame_);
        av_frame_unref(frame_.get());
        if (!wanted) return false;
    }
}

bool VideoTrackReader::take(const AVFrame& frame) {
    if (frame.best_effort_timestamp == AV_NOPTS_VALUE) return true;
    const std::int64_t timestamp = input_.movieTimestamp(frame.best_effort_timestamp);
    if (lastTimestamp_ && timestamp <= *lastTimestamp_) return true;
    lastTimestamp_ = timestamp;
    const double time = input_.movieSeconds(frame.best_effort_timestamp);
    if (time <= range_.start) {
        held_.reset(av_frame_clone(&frame));
        if (!held_) throw std::bad_alloc();
        return !isStopped();
    }
    if (!deliverHeld()) return false;
    return time < range_.end && deliverFrame(frame);
}

bool VideoTrackReader::deliverHeld() {
    if (!held_) return true;
    const FramePtr frame = std::move(held_);
    return range_.start < range_.end && deliverFrame(*frame);
}

bool VideoTrackReader::deliverFrame(const AVFrame& frame) {
    // Time bases of movies are one over a whole number; of any other kind the nearest nanosecond is
    // near enough.
    const AVRational base = decoder_->pkt_timebase;
    const std::int64_t timestamp = input_.movieTimestamp(frame.best_effort_timestamp);
    const MediaTime time =
        base.num == 1
            ? MediaTime{timestamp, base.den}
            : MediaTime::fromSeconds(static_cast<double>(timestamp) * av_q2d(base), nanosecondTimescale);
    return deliver({time, conversion_.buffer(frame, format_), nullptr});
}

}  // namespace platform::ffmpeg
