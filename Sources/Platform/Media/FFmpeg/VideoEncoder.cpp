#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include <libyuv.h>

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
}

namespace platform::ffmpeg {
namespace {

using Options = std::vector<std::pair<const char*, std::string>>;

// A cut begins with a key frame of its own; between cuts players seek fast enough in this many seconds.
constexpr double offlineKeyFrameSeconds = 8;

double pixelsPerSecond(const VideoSettings& settings) {
    return static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
}

// Screen recording must hold its rate on two cores beside the programs that are being recorded. What a
// picture costs is above all the number of block sizes that are tried; measured on two cores with
// 1280 × 720 at 60 frames a second, 32-pixel blocks with 16-pixel transforms take 60 % of the time of
// the fastest preset alone and keep text legible. Smaller blocks save bits on text and are affordable
// for fewer pixels. One frame is encoded at a time, so that nothing waits in the encoder while the
// screen stands still; a large screen needs two at a time to occupy two cores.
//
// The quantiser is the same for every picture (qcomp=1): what moved a moment ago must not make the text
// coarse that stands still now. The library's own rate ceiling counts frames, not seconds, and is not used;
// adaptive quantisation of no strength to speak of is on because coarsening a frame goes through it. The
// library then reads an offset for each 16 pixels of the picture as it pads it, to whole blocks; FFmpeg hands
// over those of the picture itself. Where 32-pixel blocks would make more of them it read beyond the list,
// and crashed now and then.
Options hevcRealTime(const VideoSettings& settings) {
    constexpr double easyPixelsPerSecond = 1280.0 * 720 * 30;
    constexpr double oneAtATimePixelsPerSecond = 1280.0 * 720 * 60;
    constexpr double hardPixelsPerSecond = 1920.0 * 1080 * 45;
    std::string parameters =
        "log-level=none:bframes=0:rc-lookahead=0:scenecut=0:qcomp=1:ctu=32:max-tu-size=16:rd=1:"
        "max-merge=1:early-skip=1:fast-intra=1:aq-mode=1:aq-strength=0.01:cutree=0:psy-rd=0:"
        "no-weightp=1:repeat-headers=0";
    const auto isWhole = [](int side) { return (side + 15) / 16 % 2 == 0; };
    const bool largeBlocks = pixelsPerSecond(settings) > easyPixelsPerSecond && isWhole(settings.width) &&
                             isWhole(settings.height);
    parameters += largeBlocks ? ":min-cu-size=32" : ":min-cu-size=16";
    parameters +=
        pixelsPerSecond(settings) > oneAtATimePixelsPerSecond ? ":frame-threads=2" : ":frame-threads=1";
    if (pixelsPerSecond(settings) > hardPixelsPerSecond) parameters += ":no-deblock=1:no-temporal-mvp=1";
    return {{"preset", "ultrafast"}, {"crf", "20"}, {"forced-idr", "1"}, {"x265-params", parameters}};
}

Options hevcOffline() { return {{"preset", "fast"}, {"crf", "20"}, {"x265-params", "log-level=none"}}; }

Options h264RealTime() {
    return {{"preset", "superfast"}, {"tune", "zerolatency"}, {"forced-idr", "1"}, {"crf", "20"}};
}

// The same quantiser for every picture: by default what moves is coarser, and a zoom is all movement.
Options h264Offline() { return {{"preset", "superfast"}, {"crf", "20"}, {"x264-params", "qcomp=1"}}; }

Options softwareOptions(const VideoSettings& settings) {
    if (settings.codec == VideoCodec::hevc)
        return settings.expectsMediaDataInRealTime ? hevcRealTime(settings) : hevcOffline();
    return settings.expectsMediaDataInRealTime ? h264RealTime() : h264Offline();
}

// Hardware counts frames in its rate control, too: a constant quantiser, and in real time the governor's last
// resort of leaving frames out.
Options nvidiaOptions(const VideoSettings& settings) {
    Options options{{"rc", "constqp"}, {"qp", "21"}, {"forced-idr", "1"}};
    if (settings.expectsMediaDataInRealTime)
        options.insert(options.end(),
                       {{"preset", "p3"}, {"tune", "ull"}, {"zerolatency", "1"}, {"delay", "0"}});
    else
        options.insert(options.end(), {{"preset", "p5"}, {"tune", "hq"}});
    // It takes the profile from here alone.
    if (settings.codec == VideoCodec::h264 && settings.h264HighProfile)
        options.push_back({"profile", "high"});
    return options;
}

Options vaapiOptions() { return {{"rc_mode", "CQP"}, {"qp", "21"}}; }

bool isVaapi(const std::string& encoder) { return encoder.ends_with("_vaapi"); }

Options optionsFor(const std::string& encoder, const VideoSettings& settings) {
    if (encoder.ends_with("_nvenc")) return nvidiaOptions(settings);
    return isVaapi(encoder) ? vaapiOptions() : softwareOptions(settings);
}

/// A device that is not there is no file: none of the remedies for files fits.
void requireOpened(int code, const std::string& encoder) {
    if (code < 0)
        throw PlatformError("FFmpeg", code,
                            "The encoder " + encoder + " does not open: " + reasonOf(code) + ".");
}

/// Pictures in the device's memory for an encoder that takes no others.
void giveDeviceFrames(AVCodecContext& encoder) {
    const std::string name = encoder.codec->name;
    AVBufferRef* device = nullptr;
    requireOpened(av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0), name);
    AVBufferRef* frames = av_hwframe_ctx_alloc(device);
    av_buffer_unref(&device);  // the frames keep it
    if (!frames) throw std::bad_alloc();
    auto& context = *reinterpret_cast<AVHWFramesContext*>(frames->data);
    context.format = AV_PIX_FMT_VAAPI;
    context.sw_format = AV_PIX_FMT_NV12;
    context.width = encoder.width;
    context.height = encoder.height;
    context.initial_pool_size = 16;
    encoder.pix_fmt = AV_PIX_FMT_VAAPI;
    encoder.hw_frames_ctx = frames;  // the encoder's from here on, also when the next call fails
    requireOpened(av_hwframe_ctx_init(frames), name);
}

CodecPtr configured(const AVCodec* codec, const VideoSettings& settings, bool globalHeaders) {
    CodecPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder) throw std::bad_alloc();
    encoder->width = settings.width + settings.width % 2;
    encoder->height = settings.height + settings.height % 2;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, videoTimescale};
    encoder->framerate = av_d2q(settings.expectedFrameRate, 1001000);
    encoder->sample_aspect_ratio = {1, 1};
    const ColourMarks marks = marksOf(settings.matrix);
    encoder->colorspace = marks.space;
    encoder->color_primaries = AVCOL_PRI_BT709;
    encoder->color_trc = AVCOL_TRC_BT709;
    encoder->color_range = marks.range;
    // On screens pictures between two others save no bits and cost a quarter of the time.
    encoder->max_b_frames = 0;
    if (settings.expectsMediaDataInRealTime) {
        // The caller asks for key frames: by time, because frames are seldom while the screen stands still.
        encoder->gop_size = std::numeric_limits<int>::max() / 2;
    } else {
        // Frames come at their nominal rate here, so the encoder's ceiling holds in seconds.
        constexpr int ceilingSeconds = 2;
        encoder->rc_max_rate = settings.averageBitRate;
        encoder->rc_buffer_size = static_cast<int>(settings.averageBitRate * ceilingSeconds);
        encoder->gop_size =
            static_cast<int>(std::lround(settings.expectedFrameRate * offlineKeyFrameSeconds));
    }
    if (settings.h264HighProfile && settings.codec == VideoCodec::h264)
        encoder->profile = FF_PROFILE_H264_HIGH;
    if (globalHeaders) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return encoder;
}

}  // namespace

std::vector<std::string> videoEncoderCandidates(VideoCodec codec) {
    if (codec == VideoCodec::hevc) return {"hevc_nvenc", "hevc_vaapi", "libx265"};
    return {"h264_nvenc", "h264_vaapi", "libx264"};
}

bool isHardware(const std::string& encoder) { return encoder.ends_with("_nvenc") || isVaapi(encoder); }

CodecPtr openVideoEncoder(const std::string& name, const VideoSettings& settings, bool globalHeaders) {
    captureLibraryLog();
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    if (!codec) requireOpened(AVERROR_ENCODER_NOT_FOUND, name);
    CodecPtr encoder = configured(codec, settings, globalHeaders);
    if (isVaapi(name)) giveDeviceFrames(*encoder);
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : optionsFor(name, settings)) av_dict_set(&options, key, value.c_str(), 0);
    const int result = avcodec_open2(encoder.get(), codec, &options);
    av_dict_free(&options);
    requireOpened(result, name);
    return encoder;
}

FramePtr frameFor(const AVCodecContext& encoder, FramePtr frame) {
    if (!encoder.hw_frames_ctx) return frame;
    const std::string sentence = std::string("The encoder ") + encoder.codec->name + " takes no picture";
    FramePtr onDevice = makeFrame();
    check(av_hwframe_get_buffer(encoder.hw_frames_ctx, onDevice.get(), 0), sentence);
    // Drivers take planar pictures seldom, interleaved chroma always.
    FramePtr interleaved = makeFrame();
    interleaved->format = AV_PIX_FMT_NV12;
    interleaved->width = frame->width;
    interleaved->height = frame->height;
    check(av_frame_get_buffer(interleaved.get(), 0), sentence);
    libyuv::I420ToNV12(frame->data[0], frame->linesize[0], frame->data[1], frame->linesize[1], frame->data[2],
                       frame->linesize[2], interleaved->data[0], interleaved->linesize[0],
                       interleaved->data[1], interleaved->linesize[1], frame->width, frame->height);
    check(av_hwframe_transfer_data(onDevice.get(), interleaved.get(), 0), sentence);
    check(av_frame_copy_props(onDevice.get(), frame.get()), sentence);
    return onDevice;
}

void coarsen(AVFrame& frame, double steps) {
    AVFrameSideData* data =
        av_frame_new_side_data(&frame, AV_FRAME_DATA_REGIONS_OF_INTEREST, sizeof(AVRegionOfInterest));
    if (!data) throw std::bad_alloc();
    constexpr int quantiserSteps = 51;  // the offset's unit is the quantiser's whole range
    constexpr int precision = 100;
    *reinterpret_cast<AVRegionOfInterest*>(data->data) = {
        .self_size = sizeof(AVRegionOfInterest),
        .top = 0,
        .bottom = frame.height,
        .left = 0,
        .right = frame.width,
        .qoffset = {static_cast<int>(std::lround(std::min<double>(steps, quantiserSteps) * precision)),
                    quantiserSteps * precision}};
}

}  // namespace platform::ffmpeg
