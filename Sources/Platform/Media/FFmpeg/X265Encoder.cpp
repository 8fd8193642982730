#include "Platform/Media/FFmpeg/X265Encoder.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace platform::ffmpeg {
namespace {

constexpr int coarsestQuantiser = 51;
constexpr int quantiser = 21;
constexpr int keyFrameQuantiser = 19;  // the pictures that follow copy most of it

// Recording must hold its rate on two cores beside the programs that are being recorded. What a picture costs
// is above all the number of block sizes that are tried: 32-pixel blocks with 16-pixel transforms keep text
// legible. Smaller blocks save bits on text and are affordable for fewer pixels. Pictures are worked on side
// by side, one a thread, which costs less than rows side by side; a small screen needs one thread, and then
// nothing waits in the encoder while the screen stands still.
X265Work workFor(const VideoSettings& settings) {
    constexpr double easyPixelsPerSecond = 1280.0 * 720 * 30;
    constexpr double hardPixelsPerSecond = 1920.0 * 1080 * 90;
    const double pixelsPerSecond =
        static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
    const int side = std::min(settings.width, settings.height);
    X265Work work;
    if (pixelsPerSecond <= easyPixelsPerSecond) {
        work.largestBlock = side >= 64 ? 64 : side >= 32 ? 32 : 16;
        work.smallestBlock = 16;
        work.deblocks = true;
    } else {
        const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
        work.threads = pixelsPerSecond <= hardPixelsPerSecond ? 2 : std::clamp(cores, 2, 4);
    }
    return work;
}

CodecPtr describeHevc(const VideoSettings& settings) {
    CodecPtr description = describe(nullptr, settings);
    description->codec_type = AVMEDIA_TYPE_VIDEO;
    description->codec_id = AV_CODEC_ID_HEVC;
    return description;
}

}  // namespace

X265Encoder::X265Encoder(const VideoSettings& settings)
    : description_(describeHevc(settings)), library_(*description_, workFor(settings)) {
    const Bytes& headers = library_.headers();
    description_->extradata =
        static_cast<std::uint8_t*>(av_mallocz(headers.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!description_->extradata) throw std::bad_alloc();
    description_->extradata_size = static_cast<int>(headers.size());
    std::memcpy(description_->extradata, headers.data(), headers.size());
    stream_ = HevcStream::of(library_.sequenceSet(), library_.pictureSet());
    if (stream_) patches_.emplace(*description_, *stream_);
}

void X265Encoder::send(FramePtr picture, double coarser) {
    if (!picture) {
        drain();
        return;
    }
    const bool isKeyFrame = isFirst_ || picture->pict_type == AV_PICTURE_TYPE_I;
    isFirst_ = false;
    const int target =
        std::min(coarsestQuantiser, (isKeyFrame ? keyFrameQuantiser : quantiser) +
                                        static_cast<int>(std::lround(std::min(coarser, 51.0))));
    if (isKeyFrame) number_ = distance_ = libraryNumber_ = 0;
    if (isKeyFrame || !patch(*picture, target)) {
        sent_.push_back({picture->pts, {number_, distance_}, number_ != libraryNumber_, nullptr});
        take(library_.encode(*picture, isKeyFrame, target));
        ++libraryNumber_;
        distance_ = 0;
        coarsest_ = target;
    }
    ++number_;
    ++distance_;
    if (patches_) patches_->setPrevious(std::move(picture));
}

/// Whether little enough has changed. What was coarser than is asked for now is not shown again.
bool X265Encoder::patch(const AVFrame& picture, int target) {
    if (!canMove_ || target < coarsest_) return false;
    const HevcStream::Place place{number_, 1, distance_ > 1 ? distance_ : 0};
    const Bytes slices = patches_->encode(picture, place, target);
    if (slices.empty()) return false;
    sent_.push_back({picture.pts, place, true, makePacket(slices)});
    coarsest_ = std::max(coarsest_, target);
    // The library gives a picture back when it gets the next.
    if (distance_ > 1) drain();
    return true;
}

void X265Encoder::drain() {
    while (library_.inside() > 0) take(library_.drain());
}

/// The first of the pictures that the library was given has come out.
void X265Encoder::take(X265Library::Coded coded) {
    if (coded.slice.empty()) return;
    const auto sent = std::find_if(sent_.begin(), sent_.end(), [](const Sent& each) { return !each.packet; });
    if (stream_ && !coded.isKeyFrame && (sent->isMoved || !canMove_)) {
        canMove_ = stream_->move(coded.slice, sent->place);
        if (!canMove_ && sent->isMoved) throw PlatformError("libx265", -1, "The encoder libx265 failed.");
    }
    Bytes bytes;
    appendWithStartCode(bytes, coded.slice);
    sent->packet = makePacket(bytes);
    if (coded.isKeyFrame) sent->packet->flags |= AV_PKT_FLAG_KEY;
}

bool X265Encoder::receive(AVPacket& packet) {
    if (sent_.empty() || !sent_.front().packet) return false;
    av_packet_move_ref(&packet, sent_.front().packet.get());
    packet.pts = packet.dts = sent_.front().time;  // nothing is reordered
    sent_.pop_front();
    return true;
}

}  // namespace platform::ffmpeg
