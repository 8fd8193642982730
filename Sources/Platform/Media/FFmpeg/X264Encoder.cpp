#include "Platform/Media/FFmpeg/X264Encoder.hpp"

#include "Platform/Media/FFmpeg/ChangedBlocks.hpp"
#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <span>
#include <utility>

#include <x264.h>

namespace platform::ffmpeg {
namespace {

constexpr double constantQuality = 21;
/// A picture of which the ceiling took more than this from the quality is encoded again while it stands.
constexpr double tolerance = 0.5;
/// What changed is refined once.
constexpr int codings = 2;
constexpr std::size_t lengthBytes = 4;

PlatformError failure(int width, int height) {
    return {"libx264", -1,
            "The encoder libx264 does not open for " + std::to_string(width) + " × " +
                std::to_string(height) + " pixels."};
}

// The same quantiser for every picture (qcomp): by default what moves is coarser, and a zoom is all movement.
// Bits are coded the simpler way and cuts not looked for; both together save a fifth of the time for a tenth
// more bits. Fades, which weights are for, are seldom on screens.
x264_param_t parametersOf(const VideoSettings& settings, const AVCodecContext& description) {
    x264_param_t parameters;
    if (x264_param_default_preset(&parameters, "superfast", nullptr) < 0)
        throw failure(description.width, description.height);
    parameters.i_log_level = X264_LOG_NONE;
    parameters.i_width = description.width;
    parameters.i_height = description.height;
    parameters.i_csp = X264_CSP_I420;
    parameters.i_fps_num = static_cast<std::uint32_t>(description.framerate.num);
    parameters.i_fps_den = static_cast<std::uint32_t>(description.framerate.den);
    parameters.i_timebase_num = static_cast<std::uint32_t>(description.time_base.num);
    parameters.i_timebase_den = static_cast<std::uint32_t>(description.time_base.den);
    parameters.b_vfr_input = 1;
    parameters.b_annexb = 0;
    parameters.b_repeat_headers = 0;
    parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;  // ours come by count, repetitions included
    parameters.i_scenecut_threshold = 0;
    parameters.i_bframe = description.max_b_frames;
    parameters.b_cabac = 0;
    parameters.analyse.i_weighted_pred = X264_WEIGHTP_NONE;
    parameters.analyse.b_mb_info = 1;
    parameters.rc.i_rc_method = X264_RC_CRF;
    parameters.rc.f_rf_constant = static_cast<float>(constantQuality);
    parameters.rc.f_qcompress = 1;
    parameters.rc.i_vbv_max_bitrate = static_cast<int>(description.rc_max_rate / 1000);
    parameters.rc.i_vbv_buffer_size = description.rc_buffer_size / 1000;
    parameters.vui.i_sar_width = parameters.vui.i_sar_height = 1;
    parameters.vui.b_fullrange = description.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
    parameters.vui.i_colorprim = description.color_primaries;
    parameters.vui.i_transfer = description.color_trc;
    parameters.vui.i_colmatrix = description.colorspace;
    if (settings.h264HighProfile && x264_param_apply_profile(&parameters, "high") < 0)
        throw failure(description.width, description.height);
    return parameters;
}

/// A unit without its length.
std::span<const std::uint8_t> contentOf(const x264_nal_t& unit) {
    return {unit.p_payload + lengthBytes, static_cast<std::size_t>(unit.i_payload) - lengthBytes};
}

void appendWithLength(Bytes& packet, std::span<const std::uint8_t> unit) {
    for (int shift = 24; shift >= 0; shift -= 8)
        packet.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    packet.insert(packet.end(), unit.begin(), unit.end());
}

}  // namespace

void X264Encoder::Free::operator()(x264_t* encoder) const { x264_encoder_close(encoder); }

X264Encoder::X264Encoder(const VideoSettings& settings) : description_(describe(nullptr, settings)) {
    description_->codec_type = AVMEDIA_TYPE_VIDEO;
    description_->codec_id = AV_CODEC_ID_H264;
    x264_param_t parameters = parametersOf(settings, *description_);
    encoder_.reset(x264_encoder_open(&parameters));
    if (!encoder_) throw failure(description_->width, description_->height);
    constant_.resize(static_cast<std::size_t>(macroblocks(description_->width)) *
                     static_cast<std::size_t>(macroblocks(description_->height)));
    readHeaders();
}

void X264Encoder::readHeaders() {
    x264_nal_t* units = nullptr;
    int count = 0;
    if (x264_encoder_headers(encoder_.get(), &units, &count) < 0)
        throw failure(description_->width, description_->height);
    std::span<const std::uint8_t> sequenceSet, pictureSet;
    for (const x264_nal_t& unit : std::span(units, static_cast<std::size_t>(count))) {
        if (unit.i_type == NAL_SPS) sequenceSet = contentOf(unit);
        if (unit.i_type == NAL_PPS) pictureSet = contentOf(unit);
    }
    if (sequenceSet.size() < 4 || pictureSet.empty())
        throw failure(description_->width, description_->height);
    stream_ = H264Stream::of(sequenceSet, pictureSet);
    const Bytes record = avcConfiguration(sequenceSet, pictureSet);
    description_->extradata =
        static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!description_->extradata) throw std::bad_alloc();
    description_->extradata_size = static_cast<int>(record.size());
    std::copy(record.begin(), record.end(), description_->extradata);
    description_->profile = sequenceSet[1];
    description_->level = sequenceSet[3];
}

void X264Encoder::send(FramePtr picture, double) {
    if (!picture) {
        drain();
        return;
    }
    const bool isKeyFrame =
        !last_ || sinceKeyFrame_ >= description_->gop_size || picture->pict_type == AV_PICTURE_TYPE_I;
    const bool isSame = last_ && compareBlocks<macroblockSide>(*picture, *last_, constant_) == 0;
    sinceKeyFrame_ = isKeyFrame ? 1 : sinceKeyFrame_ + 1;
    times_.push_back(picture->pts);
    if (stream_ && isSame && !isKeyFrame && good_ >= codings) {
        // What is still inside looks the same and is shown later, so that nothing piles up behind it.
        Bytes packet;
        appendWithLength(packet, stream_->repetition(frameNumber_));
        deliver(packet, false);
        return;
    }
    if (!isSame || isKeyFrame) {
        standsFrom_ = given_;
        good_ = 0;
    }
    ++given_;
    encode(*picture, isKeyFrame, last_ != nullptr);
    last_ = std::move(picture);
}

void X264Encoder::encode(const AVFrame& frame, bool isKeyFrame, bool hasPrevious) {
    x264_picture_t picture, out;
    x264_picture_init(&picture);
    picture.i_type = isKeyFrame ? X264_TYPE_IDR : X264_TYPE_AUTO;
    picture.i_pts = frame.pts;
    picture.img.i_csp = X264_CSP_I420;
    picture.img.i_plane = 3;
    for (int i = 0; i < 3; ++i) {
        picture.img.plane[i] = frame.data[i];
        picture.img.i_stride[i] = frame.linesize[i];
    }
    if (hasPrevious && !isKeyFrame) {
        // The library keeps it longer than the call.
        auto* blocks = static_cast<std::uint8_t*>(std::malloc(constant_.size()));
        if (!blocks) throw std::bad_alloc();
        static_assert(X264_MBINFO_CONSTANT == 1);
        std::copy(constant_.begin(), constant_.end(), blocks);
        picture.prop.mb_info = blocks;
        picture.prop.mb_info_free = std::free;
    }
    x264_nal_t* units = nullptr;
    int count = 0;
    const int result = x264_encoder_encode(encoder_.get(), &units, &count, &picture, &out);
    if (result < 0) throw PlatformError("libx264", result, "The encoder libx264 failed.");
    if (result > 0) take(units, count, out.prop.f_crf_avg - constantQuality);
}

void X264Encoder::drain() {
    while (x264_encoder_delayed_frames(encoder_.get()) > 0) {
        x264_picture_t out;
        x264_nal_t* units = nullptr;
        int count = 0;
        const int result = x264_encoder_encode(encoder_.get(), &units, &count, nullptr, &out);
        if (result < 0) throw PlatformError("libx264", result, "The encoder libx264 failed.");
        if (result > 0) take(units, count, out.prop.f_crf_avg - constantQuality);
    }
}

/// Takes what one picture became.
void X264Encoder::take(const void* first, int count, double coarsening) {
    const std::span units(static_cast<const x264_nal_t*>(first), static_cast<std::size_t>(count));
    const bool isKeyFrame = std::any_of(units.begin(), units.end(),
                                        [](const x264_nal_t& unit) { return unit.i_type == NAL_SLICE_IDR; });
    if (isKeyFrame) frameNumber_ = 0;
    Bytes packet;
    for (const x264_nal_t& unit : units) {
        const auto content = contentOf(unit);
        Bytes bytes(content.begin(), content.end());
        // Repetitions in between are unknown to the library.
        if (unit.i_type == NAL_SLICE && stream_) stream_->setFrameNumber(bytes, frameNumber_);
        appendWithLength(packet, bytes);
    }
    if (taken_++ >= standsFrom_) good_ = coarsening <= tolerance ? good_ + 1 : 0;
    deliver(packet, isKeyFrame);
}

/// What is shown at the first of the times that wait.
void X264Encoder::deliver(const Bytes& bytes, bool isKeyFrame) {
    PacketPtr packet = makePacket(bytes);
    if (isKeyFrame) packet->flags |= AV_PKT_FLAG_KEY;
    packet->pts = packet->dts = times_.front();  // nothing is reordered
    times_.pop_front();
    ++frameNumber_;
    packets_.push_back(std::move(packet));
}

bool X264Encoder::receive(AVPacket& packet) {
    if (packets_.empty()) return false;
    av_packet_move_ref(&packet, packets_.front().get());
    packets_.pop_front();
    return true;
}

}  // namespace platform::ffmpeg
