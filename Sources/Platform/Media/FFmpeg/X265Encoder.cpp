#include "Platform/Media/FFmpeg/X265Encoder.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include <x265.h>

namespace platform::ffmpeg {
namespace {

constexpr int bitDepth = 8;
constexpr int coarsestQuantiser = 51;
constexpr int quantiser = 21;
constexpr int keyFrameQuantiser = 19;  // the pictures that follow copy most of it
// The fewest decisions that can be loaded: a picture's kind, none of its blocks.
constexpr int pictureDecisions = 1;

using Options = std::vector<std::pair<const char*, std::string>>;

PlatformError failure(const VideoSettings& settings) {
    return {"libx265", -1,
            "The encoder libx265 does not open for " + std::to_string(settings.width) + " × " +
                std::to_string(settings.height) + " pixels."};
}

// Recording must hold its rate on two cores beside the programs that are being recorded. What a picture costs
// is above all the number of block sizes that are tried: 32-pixel blocks with 16-pixel transforms take 60 %
// of the time of the fastest preset alone and keep text legible. Smaller blocks save bits on text and are
// affordable for fewer pixels. Pictures are worked on side by side, one a thread, which costs less than rows
// side by side; a small screen needs one thread, and then nothing waits in the encoder while the screen
// stands still.
//
// The quantiser is the caller's alone (no adaptive quantisation, no tree, no rate control), so that what
// moved a moment ago does not make the text coarse that stands still now.
Options optionsFor(const VideoSettings& settings) {
    constexpr double easyPixelsPerSecond = 1280.0 * 720 * 30;
    constexpr double hardPixelsPerSecond = 1920.0 * 1080 * 45;
    const double pixelsPerSecond =
        static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
    const int side = std::min(settings.width, settings.height);
    const int largest = side >= 64 ? 64 : side >= 32 ? 32 : 16;
    const int smallest = std::min(largest, pixelsPerSecond > easyPixelsPerSecond ? 32 : 16);
    const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const int threads = pixelsPerSecond <= easyPixelsPerSecond       ? 1
                        : pixelsPerSecond <= hardPixelsPerSecond * 2 ? 2
                                                                     : std::clamp(cores, 2, 4);
    Options options{
        {"qp", std::to_string(quantiser)},
        {"aq-mode", "0"},
        {"cutree", "0"},
        {"bframes", "0"},
        {"rc-lookahead", "0"},
        {"scenecut", "0"},
        // The caller asks for key frames: by time, because frames are seldom while the screen stands.
        {"keyint", "-1"},
        {"ctu", std::to_string(largest)},
        {"min-cu-size", std::to_string(smallest)},
        {"max-tu-size", "16"},
        {"rd", "1"},
        {"psy-rd", "0"},
        {"max-merge", "1"},
        {"early-skip", "1"},
        {"fast-intra", "1"},
        {"weightp", "0"},
        {"wpp", "0"},
        {"pools", "none"},
        {"frame-threads", std::to_string(threads)},
        {"repeat-headers", "0"},
        {"info", "0"},
        {"log-level", "none"}};
    // A number would set the filter's strength and leave it on.
    if (pixelsPerSecond > hardPixelsPerSecond)
        options.insert(options.end(), {{"deblock", "false"}, {"temporal-mvp", "0"}});
    return options;
}

// The file that decisions are loaded from is a pointer in older headers and an array in newer ones. Either
// must hold something for decisions to be taken from memory, too.
constexpr const char* noFile = "none";
[[maybe_unused]] void setFile(const char*& field) { field = noFile; }
template <std::size_t size>
[[maybe_unused]] void setFile(char (&field)[size]) {
    std::strncpy(field, noFile, size - 1);
}

/// Has the library take each picture's kind from the caller. It would otherwise scale every picture down and
/// predict it, for an estimate of its cost that a constant quantiser never asks for: a seventh of the time
/// that an unchanged picture takes.
void decideOurselves(x265_param& parameters) {
    setFile(parameters.analysisLoad);
    parameters.bUseAnalysisFile = 0;
    parameters.analysisLoadReuseLevel = pictureDecisions;
    parameters.bDisableLookahead = 1;
}

void setUp(x265_param* parameters, const VideoSettings& settings, const AVCodecContext& description) {
    if (x265_param_default_preset(parameters, "ultrafast", nullptr) < 0) throw failure(settings);
    for (const auto& [name, value] : optionsFor(settings))
        if (x265_param_parse(parameters, name, value.c_str()) != 0) throw failure(settings);
    parameters->sourceWidth = description.width;
    parameters->sourceHeight = description.height;
    parameters->fpsNum = static_cast<std::uint32_t>(description.framerate.num);
    parameters->fpsDenom = static_cast<std::uint32_t>(description.framerate.den);
    parameters->internalCsp = X265_CSP_I420;
    decideOurselves(*parameters);
    parameters->vui.aspectRatioIdc = 1;
    parameters->vui.bEnableVideoSignalTypePresentFlag = 1;
    parameters->vui.bEnableVideoFullRangeFlag = description.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
    parameters->vui.bEnableColorDescriptionPresentFlag = 1;
    parameters->vui.colorPrimaries = description.color_primaries;
    parameters->vui.transferCharacteristics = description.color_trc;
    parameters->vui.matrixCoeffs = description.colorspace;
}

/// What the library compares with its parameters at the first picture.
x265_analysis_validate validationFor(x265_encoder* encoder) {
    x265_param used;
    x265_encoder_parameters(encoder, &used);
    x265_analysis_validate same{};
    same.analysisReuseLevel = used.analysisLoadReuseLevel;
    same.maxNumReferences = used.maxNumReferences;
    same.sourceWidth = used.sourceWidth;
    same.sourceHeight = used.sourceHeight;
    same.keyframeMax = used.keyframeMax;
    same.keyframeMin = used.keyframeMin;
    same.openGOP = used.bOpenGOP;
    same.bframes = used.bframes;
    same.bPyramid = used.bBPyramid;
    same.maxCUSize = static_cast<int>(used.maxCUSize);
    same.minCUSize = static_cast<int>(used.minCUSize);
    same.intraRefresh = used.bIntraRefresh;
    same.lookaheadDepth = used.lookaheadDepth;
    same.chunkStart = used.chunkStart;
    same.chunkEnd = used.chunkEnd;
    same.cuTree = used.rc.cuTree;
    same.ctuDistortionRefine = used.ctuDistortionRefine;
    same.frameDuplication = used.bEnableFrameDuplication;
    return same;
}

std::size_t bytesOf(const x265_nal* units, std::uint32_t count) {
    std::size_t bytes = 0;
    for (std::uint32_t i = 0; i < count; ++i) bytes += units[i].sizeBytes;
    return bytes;
}

bool isKeyFrame(const x265_nal* units, std::uint32_t count) {
    return std::any_of(units, units + count, [](const x265_nal& unit) {
        return unit.type >= NAL_UNIT_CODED_SLICE_BLA_W_LP && unit.type <= NAL_UNIT_CODED_SLICE_CRA;
    });
}

}  // namespace

void X265Encoder::Free::operator()(x265_encoder* encoder) const { x265_encoder_close(encoder); }
void X265Encoder::Free::operator()(x265_param* parameters) const { x265_param_free(parameters); }

X265Encoder::X265Encoder(const VideoSettings& settings)
    : description_(describe(nullptr, settings)), parameters_(x265_param_alloc()) {
    if (!parameters_) throw std::bad_alloc();
    description_->codec_type = AVMEDIA_TYPE_VIDEO;
    description_->codec_id = AV_CODEC_ID_HEVC;
    setUp(parameters_.get(), settings, *description_);
    encoder_.reset(x265_encoder_open(parameters_.get()));
    x265_nal* units = nullptr;
    std::uint32_t count = 0;
    if (!encoder_ || x265_encoder_headers(encoder_.get(), &units, &count) < 0) throw failure(settings);
    const std::size_t bytes = bytesOf(units, count);
    description_->extradata = static_cast<std::uint8_t*>(av_mallocz(bytes + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!description_->extradata) throw std::bad_alloc();
    description_->extradata_size = static_cast<int>(bytes);
    std::memcpy(description_->extradata, units->payload, bytes);  // the units lie one behind the other
}

void X265Encoder::send(FramePtr frame, double coarser) {
    if (!frame) {
        while (encode(nullptr)) {
        }
        return;
    }
    const bool isKeyFrame = sent_ == 0 || frame->pict_type == AV_PICTURE_TYPE_I;
    x265_picture picture;
    x265_picture_init(parameters_.get(), &picture);
    for (int i = 0; i < 3; ++i) {
        picture.planes[i] = frame->data[i];
        picture.stride[i] = frame->linesize[i];
    }
    picture.bitDepth = bitDepth;
    picture.pts = frame->pts;
    x265_analysis_data& decided = picture.analysisData;
    std::array<x265_weight_param, 3> noWeights{};  // one a plane; copied
    decided.poc = static_cast<std::uint32_t>(sent_);
    decided.sliceType = isKeyFrame ? X265_TYPE_IDR : X265_TYPE_P;
    decided.wt = noWeights.data();
    decided.lookahead.keyframe = isKeyFrame ? 1 : 0;
    decided.lookahead.dts = decided.lookahead.reorderedPts = frame->pts;
    if (sent_ == 0) decided.saveParam = validationFor(encoder_.get());
    ++sent_;
    const int wished = isKeyFrame ? keyFrameQuantiser : quantiser;
    // The library counts from 1; 0 leaves the choice to it.
    picture.forceqp =
        1 + std::min(coarsestQuantiser, wished + static_cast<int>(std::lround(std::min(coarser, 51.0))));
    times_.push_back(frame->pts);
    encode(&picture);
}

/// Whether a packet came out.
bool X265Encoder::encode(void* picture) {
    x265_nal* units = nullptr;
    std::uint32_t count = 0;
    const int result =
        x265_encoder_encode(encoder_.get(), &units, &count, static_cast<x265_picture*>(picture), nullptr);
    if (result < 0) throw PlatformError("libx265", result, "The encoder libx265 failed.");
    if (result == 0 || count == 0) return false;
    const std::size_t bytes = bytesOf(units, count);
    PacketPtr packet = makePacket();
    check(av_new_packet(packet.get(), static_cast<int>(bytes)), "The encoder libx265 failed");
    std::memcpy(packet->data, units->payload, bytes);
    if (isKeyFrame(units, count)) packet->flags |= AV_PKT_FLAG_KEY;
    packet->pts = packet->dts = times_.front();  // nothing is reordered
    times_.pop_front();
    packets_.push_back(std::move(packet));
    return true;
}

bool X265Encoder::receive(AVPacket& packet) {
    if (packets_.empty()) return false;
    av_packet_move_ref(&packet, packets_.front().get());
    packets_.pop_front();
    return true;
}

}  // namespace platform::ffmpeg
