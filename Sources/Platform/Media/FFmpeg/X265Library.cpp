#include "Platform/Media/FFmpeg/X265Library.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <x265.h>

namespace platform::ffmpeg {
namespace {

constexpr int bitDepth = 8;
// The fewest decisions that can be loaded: a picture's kind, none of its blocks.
constexpr int pictureDecisions = 1;

PlatformError failure(const AVCodecContext& description) {
    return {"libx265", -1,
            "The encoder libx265 does not open for " + std::to_string(description.width) + " × " +
                std::to_string(description.height) + " pixels."};
}

// The quantiser is the caller's alone (no adaptive quantisation, no tree, no rate control), so that what
// moved a moment ago does not make the text coarse that stands still now.
std::vector<std::pair<const char*, std::string>> optionsFor(const X265Work& work) {
    std::vector<std::pair<const char*, std::string>> options{
        {"qp", "21"},
        {"aq-mode", "0"},
        {"cutree", "0"},
        {"bframes", "0"},
        {"rc-lookahead", "0"},
        {"scenecut", "0"},
        // The caller asks for key frames: by time, because frames are seldom while the screen stands.
        {"keyint", "-1"},
        {"open-gop", "0"},
        {"ctu", std::to_string(work.largestBlock)},
        {"min-cu-size", std::to_string(work.smallestBlock)},
        {"max-tu-size", "16"},
        {"rd", "1"},
        {"psy-rd", "0"},
        {"max-merge", "1"},
        {"early-skip", "1"},
        {"fast-intra", "1"},
        {"weightp", "0"},
        {"wpp", "0"},
        {"pools", "none"},
        {"frame-threads", std::to_string(work.threads)},
        {"repeat-headers", "0"},
        {"info", "0"},
        {"log-level", "none"}};
    // A number would set the filter's strength and leave it on.
    if (!work.deblocks) options.insert(options.end(), {{"deblock", "false"}, {"temporal-mvp", "0"}});
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

void setUp(x265_param* parameters, const AVCodecContext& description, const X265Work& work) {
    if (x265_param_default_preset(parameters, "ultrafast", nullptr) < 0) throw failure(description);
    for (const auto& [name, value] : optionsFor(work))
        if (x265_param_parse(parameters, name, value.c_str()) != 0) throw failure(description);
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

/// A unit's bytes after its start code.
std::span<const std::uint8_t> contentOf(const x265_nal& unit) {
    const std::span bytes(unit.payload, unit.sizeBytes);
    const auto one = std::find(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes.subspan(std::min(static_cast<std::size_t>(one - bytes.begin()) + 1, bytes.size()));
}

Bytes copyOf(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace

void X265Library::Free::operator()(x265_encoder* encoder) const { x265_encoder_close(encoder); }
void X265Library::Free::operator()(x265_param* parameters) const { x265_param_free(parameters); }

X265Library::X265Library(const AVCodecContext& description, const X265Work& work)
    : parameters_(x265_param_alloc()) {
    if (!parameters_) throw std::bad_alloc();
    setUp(parameters_.get(), description, work);
    encoder_.reset(x265_encoder_open(parameters_.get()));
    x265_nal* units = nullptr;
    std::uint32_t count = 0;
    if (!encoder_ || x265_encoder_headers(encoder_.get(), &units, &count) < 0) throw failure(description);
    for (const x265_nal& unit : std::span(units, count)) {
        headers_.insert(headers_.end(), unit.payload, unit.payload + unit.sizeBytes);
        if (unit.type == NAL_UNIT_SPS) sequenceSet_ = copyOf(contentOf(unit));
        if (unit.type == NAL_UNIT_PPS) pictureSet_ = copyOf(contentOf(unit));
    }
}

X265Library::Coded X265Library::encode(const AVFrame& frame, bool isKeyFrame, int quantiser) {
    x265_picture picture;
    x265_picture_init(parameters_.get(), &picture);
    for (int i = 0; i < 3; ++i) {
        picture.planes[i] = frame.data[i];
        picture.stride[i] = frame.linesize[i];
    }
    picture.bitDepth = bitDepth;
    picture.pts = sent_;
    x265_analysis_data& decided = picture.analysisData;
    std::array<x265_weight_param, 3> noWeights{};  // one a plane; copied
    decided.poc = static_cast<std::uint32_t>(sent_);
    decided.sliceType = isKeyFrame ? X265_TYPE_IDR : X265_TYPE_P;
    decided.wt = noWeights.data();
    decided.lookahead.keyframe = isKeyFrame ? 1 : 0;
    decided.lookahead.dts = decided.lookahead.reorderedPts = picture.pts;
    if (sent_ == 0) decided.saveParam = validationFor(encoder_.get());
    ++sent_;
    ++inside_;
    picture.forceqp = 1 + quantiser;  // 0 leaves the choice to the library
    return encode(&picture);
}

X265Library::Coded X265Library::drain() {
    Coded coded;
    // Each of the threads is asked in turn.
    while (inside_ > 0 && coded.slice.empty()) coded = encode(nullptr);
    return coded;
}

X265Library::Coded X265Library::encode(void* picture) {
    x265_nal* units = nullptr;
    std::uint32_t count = 0;
    const int result =
        x265_encoder_encode(encoder_.get(), &units, &count, static_cast<x265_picture*>(picture), nullptr);
    if (result < 0) throw PlatformError("libx265", result, "The encoder libx265 failed.");
    Coded coded;
    if (result == 0) return coded;
    for (const x265_nal& unit : std::span(units, count)) {
        if (unit.type > NAL_UNIT_CODED_SLICE_CRA) continue;
        coded.slice = copyOf(contentOf(unit));
        coded.isKeyFrame = unit.type >= NAL_UNIT_CODED_SLICE_BLA_W_LP;
    }
    if (!coded.slice.empty()) --inside_;
    return coded;
}

}  // namespace platform::ffmpeg
