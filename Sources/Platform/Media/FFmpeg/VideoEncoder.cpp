#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/X264Encoder.hpp"
#include "Platform/Media/FFmpeg/X265Encoder.hpp"

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

// Players seek fast enough in this many seconds.
constexpr double offlineKeyFrameSeconds = 8;

Options h264RealTime() {
    return {{"preset", "superfast"}, {"tune", "zerolatency"}, {"forced-idr", "1"}, {"crf", "20"}};
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

// The encoder's way for real time, which looks at each picture once: its patient way takes seven times as
// long for half of the bits.
Options vp9Offline() {
    return {{"deadline", "realtime"}, {"cpu-used", "7"},          {"row-mt", "1"}, {"tile-columns", "2"},
            {"lag-in-frames", "0"},   {"tune-content", "screen"}, {"crf", "24"},   {"threads", "auto"}};
}

Options optionsFor(const std::string& encoder, const VideoSettings& settings) {
    if (encoder.starts_with("libvpx")) return vp9Offline();
    if (encoder.ends_with("_nvenc")) return nvidiaOptions(settings);
    if (isVaapi(encoder)) return vaapiOptions();
    return h264RealTime();
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

FramePtr onDevice(const AVCodecContext& encoder, const AVFrame& frame);
void coarsen(AVFrame& frame, double steps);

/// An encoder of FFmpeg's.
class LibraryEncoder final : public VideoEncoder {
  public:
    LibraryEncoder(CodecPtr encoder, bool isRealTime)
        : encoder_(std::move(encoder)), isRealTime_(isRealTime) {}

    std::string name() const override { return encoder_->codec->name; }
    const AVCodecContext& description() const override { return *encoder_; }

    void send(FramePtr picture, double coarser) override {
        if (picture && isRealTime_) coarsen(*picture, coarser);
        if (picture && encoder_->hw_frames_ctx) picture = onDevice(*encoder_, *picture);
        check(avcodec_send_frame(encoder_.get(), picture.get()), sentence());
    }
    bool receive(AVPacket& packet) override {
        const int result = avcodec_receive_packet(encoder_.get(), &packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return false;
        check(result, sentence());
        return true;
    }

  private:
    std::string sentence() const { return "The encoder " + name() + " failed"; }

    CodecPtr encoder_;
    bool isRealTime_;
};

}  // namespace

CodecPtr describe(const AVCodec* codec, const VideoSettings& settings) {
    CodecPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder) throw std::bad_alloc();
    encoder->width = settings.width + settings.width % 2;
    encoder->height = settings.height + settings.height % 2;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, videoTimescale};
    encoder->framerate = av_d2q(settings.expectedFrameRate, 1001000);
    encoder->sample_aspect_ratio = {1, 1};
    const ColorMarks marks = marksOf(settings.matrix);
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
        encoder->rc_buffer_size = static_cast<int>(settings.averageBitRate * ceilingSeconds);
        // libvpx takes the plain rate for the ceiling of a constant quality.
        (settings.codec == VideoCodec::vp9 ? encoder->bit_rate : encoder->rc_max_rate) =
            settings.averageBitRate;
        encoder->gop_size =
            static_cast<int>(std::lround(settings.expectedFrameRate * offlineKeyFrameSeconds));
    }
    if (settings.h264HighProfile && settings.codec == VideoCodec::h264)
        encoder->profile = FF_PROFILE_H264_HIGH;
    return encoder;
}

std::vector<std::string> videoEncoderCandidates(VideoCodec codec) {
    if (codec == VideoCodec::hevc) return {"hevc_nvenc", "hevc_vaapi", "libx265"};
    if (codec == VideoCodec::vp9) return {"libvpx-vp9"};
    return {"h264_nvenc", "h264_vaapi", "libx264"};
}

bool isHardware(const std::string& encoder) { return encoder.ends_with("_nvenc") || isVaapi(encoder); }

VideoEncoderPtr openVideoEncoder(const std::string& name, const VideoSettings& settings, bool globalHeaders) {
    captureLibraryLog();
    if (name == "libx265") return std::make_unique<X265Encoder>(settings);
    if (name == "libx264" && !settings.expectsMediaDataInRealTime)
        return std::make_unique<X264Encoder>(settings);
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    if (!codec) requireOpened(AVERROR_ENCODER_NOT_FOUND, name);
    CodecPtr encoder = describe(codec, settings);
    if (globalHeaders) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (isVaapi(name)) giveDeviceFrames(*encoder);
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : optionsFor(name, settings)) av_dict_set(&options, key, value.c_str(), 0);
    const int result = avcodec_open2(encoder.get(), codec, &options);
    av_dict_free(&options);
    requireOpened(result, name);
    return std::make_unique<LibraryEncoder>(std::move(encoder), settings.expectsMediaDataInRealTime);
}

namespace {

/// A copy in the device's memory for an encoder that reads nothing else.
FramePtr onDevice(const AVCodecContext& encoder, const AVFrame& frame) {
    const std::string sentence = std::string("The encoder ") + encoder.codec->name + " takes no picture";
    FramePtr moved = makeFrame();
    check(av_hwframe_get_buffer(encoder.hw_frames_ctx, moved.get(), 0), sentence);
    // Drivers take planar pictures seldom, interleaved chroma always.
    FramePtr interleaved = makeFrame();
    interleaved->format = AV_PIX_FMT_NV12;
    interleaved->width = frame.width;
    interleaved->height = frame.height;
    check(av_frame_get_buffer(interleaved.get(), 0), sentence);
    libyuv::I420ToNV12(frame.data[0], frame.linesize[0], frame.data[1], frame.linesize[1], frame.data[2],
                       frame.linesize[2], interleaved->data[0], interleaved->linesize[0],
                       interleaved->data[1], interleaved->linesize[1], frame.width, frame.height);
    check(av_hwframe_transfer_data(moved.get(), interleaved.get(), 0), sentence);
    check(av_frame_copy_props(moved.get(), &frame), sentence);
    return moved;
}

/// Has the frame quantised `steps` coarser; encoders that cannot ignore it. All frames of an encoder bear it
/// or none.
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

}  // namespace
}  // namespace platform::ffmpeg
