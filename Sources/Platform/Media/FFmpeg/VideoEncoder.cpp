#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <cmath>
#include <new>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::ffmpeg {
namespace {

using Options = std::vector<std::pair<const char*, std::string>>;

constexpr double keyFrameSeconds = 2;

double pixelsPerSecond(const VideoSettings& settings) {
    return static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
}

// Screen recording must hold its rate on two cores beside the programs that are being recorded. What a
// picture costs is above all the number of block sizes that are tried; measured on two cores with
// 1280 × 720 at 60 frames a second, 32-pixel blocks with 16-pixel transforms take 60 % of the time of
// the fastest preset alone and keep text legible. Smaller blocks save bits on text and are affordable
// for fewer pixels. One frame is encoded at a time, so that nothing waits in the encoder while the
// screen stands still; a large screen needs two at a time to occupy two cores.
Options hevcRealTime(const VideoSettings& settings) {
    constexpr double easyPixelsPerSecond = 1280.0 * 720 * 30;
    constexpr double oneAtATimePixelsPerSecond = 1280.0 * 720 * 60;
    constexpr double hardPixelsPerSecond = 1920.0 * 1080 * 45;
    std::string parameters =
        "log-level=none:bframes=0:rc-lookahead=0:scenecut=0:ctu=32:max-tu-size=16:rd=1:"
        "max-merge=1:early-skip=1:fast-intra=1:aq-mode=0:cutree=0:psy-rd=0:no-weightp=1:repeat-headers=0";
    parameters += pixelsPerSecond(settings) <= easyPixelsPerSecond ? ":min-cu-size=16" : ":min-cu-size=32";
    parameters +=
        pixelsPerSecond(settings) > oneAtATimePixelsPerSecond ? ":frame-threads=2" : ":frame-threads=1";
    if (pixelsPerSecond(settings) > hardPixelsPerSecond) parameters += ":no-deblock=1:no-temporal-mvp=1";
    return {{"preset", "ultrafast"}, {"crf", "20"}, {"forced-idr", "1"}, {"x265-params", parameters}};
}

Options hevcOffline() { return {{"preset", "fast"}, {"x265-params", "log-level=none"}}; }

Options h264RealTime() {
    return {{"preset", "superfast"}, {"tune", "zerolatency"}, {"forced-idr", "1"}, {"crf", "20"}};
}

Options h264Offline() { return {{"preset", "veryfast"}}; }

Options nvidia(const VideoSettings& settings) {
    if (settings.expectsMediaDataInRealTime)
        return {{"preset", "p3"}, {"tune", "ull"}, {"zerolatency", "1"}, {"forced-idr", "1"}, {"delay", "0"}};
    return {{"preset", "p5"}, {"tune", "hq"}};
}

Options optionsFor(const std::string& encoder, const VideoSettings& settings) {
    if (encoder.ends_with("_nvenc")) return nvidia(settings);
    if (settings.codec == VideoCodec::hevc)
        return settings.expectsMediaDataInRealTime ? hevcRealTime(settings) : hevcOffline();
    return settings.expectsMediaDataInRealTime ? h264RealTime() : h264Offline();
}

CodecPtr configured(const AVCodec* codec, const VideoSettings& settings, bool globalHeaders) {
    CodecPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder) throw std::bad_alloc();
    const bool realTime = settings.expectsMediaDataInRealTime;
    encoder->width = settings.width + settings.width % 2;
    encoder->height = settings.height + settings.height % 2;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, videoTimescale};
    encoder->framerate = av_d2q(settings.expectedFrameRate, 1001000);
    encoder->sample_aspect_ratio = {1, 1};
    encoder->colorspace = AVCOL_SPC_BT709;
    encoder->color_primaries = AVCOL_PRI_BT709;
    encoder->color_trc = AVCOL_TRC_BT709;
    encoder->color_range = AVCOL_RANGE_MPEG;
    // In real time quality is constant as long as the asked rate suffices, which then caps it: a still
    // screen costs next to nothing. Otherwise the asked rate is the average.
    if (realTime) {
        encoder->rc_max_rate = settings.averageBitRate;
        encoder->rc_buffer_size = static_cast<int>(settings.averageBitRate);
        encoder->max_b_frames = 0;
    } else {
        encoder->bit_rate = settings.averageBitRate;
        encoder->rc_max_rate = settings.averageBitRate * 2;
        encoder->rc_buffer_size = static_cast<int>(settings.averageBitRate * 2);
    }
    // Key frames come by time; in real time, where frames are seldom while the screen stands still, the
    // caller asks for them.
    encoder->gop_size = static_cast<int>(std::lround(settings.expectedFrameRate * keyFrameSeconds));
    if (settings.h264HighProfile && settings.codec == VideoCodec::h264)
        encoder->profile = FF_PROFILE_H264_HIGH;
    if (globalHeaders) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return encoder;
}

CodecPtr openOne(const std::string& name, const VideoSettings& settings, bool globalHeaders) {
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    const std::string sentence = "The encoder " + name + " does not open";
    if (!codec) throw libraryError(AVERROR_ENCODER_NOT_FOUND, sentence);
    CodecPtr encoder = configured(codec, settings, globalHeaders);
    if (name.ends_with("_nvenc") && settings.expectsMediaDataInRealTime)
        encoder->bit_rate = settings.averageBitRate;  // it knows no cap without an average
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : optionsFor(name, settings)) av_dict_set(&options, key, value.c_str(), 0);
    const int result = avcodec_open2(encoder.get(), codec, &options);
    av_dict_free(&options);
    check(result, sentence);
    return encoder;
}

}  // namespace

std::vector<std::string> videoEncoderCandidates(VideoCodec codec) {
    if (codec == VideoCodec::hevc) return {"hevc_nvenc", "libx265"};
    return {"h264_nvenc", "libx264"};
}

CodecPtr openVideoEncoder(const VideoSettings& settings, bool globalHeaders,
                          const std::vector<std::string>& candidates) {
    captureLibraryLog();
    std::string tried;
    int code = AVERROR_ENCODER_NOT_FOUND;
    for (const std::string& name : candidates) {
        try {
            return openOne(name, settings, globalHeaders);
        } catch (const PlatformError& problem) {
            code = problem.code();
            tried += " " + problem.description();
        }
    }
    const char* codec = settings.codec == VideoCodec::hevc ? "HEVC" : "H.264";
    throw PlatformError("FFmpeg", code,
                        std::string("No encoder for ") + codec + " of " + std::to_string(settings.width) +
                            " × " + std::to_string(settings.height) + " pixels works here." + tried +
                            " Install FFmpeg with libx264 and libx265.");
}

}  // namespace platform::ffmpeg
