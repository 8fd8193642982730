#include "Platform/Capture/PipeWire/CastFormat.hpp"

#include <algorithm>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

namespace platform::pipewire {

const std::array<std::uint32_t, castFormatCount> castFormats{
    SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBA, SPA_VIDEO_FORMAT_RGBx,
    SPA_VIDEO_FORMAT_ARGB, SPA_VIDEO_FORMAT_xRGB, SPA_VIDEO_FORMAT_ABGR, SPA_VIDEO_FORMAT_xBGR,
    SPA_VIDEO_FORMAT_BGR,  SPA_VIDEO_FORMAT_RGB};

namespace {

constexpr std::uint32_t largestSide = 16384;
constexpr std::int64_t linearModifier = 0;

const spa_pod* formatParam(spa_pod_builder& builder, bool isDmaBuf) {
    spa_pod_frame object, choice;
    const spa_rectangle usual{1920, 1080}, smallest{1, 1}, largest{largestSide, largestSide};
    const spa_fraction variable{0, 1}, fastest{60, 1}, slowest{1, 1};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), 0);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_id(&builder, castFormats.front());
    for (const std::uint32_t format : castFormats) spa_pod_builder_id(&builder, format);
    spa_pod_builder_pop(&builder, &choice);
    if (isDmaBuf) {
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
        spa_pod_builder_long(&builder, linearModifier);
    }
    spa_pod_builder_add(
        &builder, SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usual, &smallest, &largest),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&variable, &variable, &fastest),
        SPA_FORMAT_VIDEO_maxFramerate, SPA_POD_CHOICE_RANGE_Fraction(&fastest, &slowest, &fastest), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

/// Both sides' sizes are intersected: a single size could meet nothing, and the metadata would never come.
const spa_pod* metaParam(spa_pod_builder& builder, std::uint32_t type, std::size_t usual,
                         std::size_t smallest, std::size_t largest) {
    return static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
        SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(static_cast<int>(usual), static_cast<int>(smallest),
                                 static_cast<int>(largest))));
}

const spa_pod* metaParam(spa_pod_builder& builder, std::uint32_t type, std::size_t size) {
    return static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
        SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(size))));
}

std::size_t cursorBytes(int side) {
    return sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) +
           static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 4;
}

}  // namespace

std::vector<const spa_pod*> castFormatParams(spa_pod_builder& builder) {
    const spa_pod* const shared = formatParam(builder, false);
    return {shared, formatParam(builder, true)};
}

std::optional<CastFormat> readCastFormat(const spa_pod* param) {
    spa_video_info_raw info{};
    if (param == nullptr || spa_format_video_raw_parse(param, &info) < 0) return std::nullopt;
    if (std::ranges::find(castFormats, static_cast<std::uint32_t>(info.format)) == castFormats.end() ||
        info.size.width == 0 || info.size.height == 0 || info.size.width > largestSide ||
        info.size.height > largestSide)
        return std::nullopt;
    return CastFormat{info.format,
                      {info.size.width, info.size.height},
                      spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr};
}

std::vector<const spa_pod*> castBufferParams(spa_pod_builder& builder, const CastFormat& format,
                                             int largestCursor) {
    constexpr std::size_t maxDamage = 16, usualCursor = 64;
    const int kinds = format.isDmaBuf ? 1 << SPA_DATA_DmaBuf : (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr);
    std::vector<const spa_pod*> params;
    params.push_back(static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kinds))));
    params.push_back(metaParam(builder, SPA_META_Header, sizeof(spa_meta_header)));
    params.push_back(metaParam(builder, SPA_META_VideoCrop, sizeof(spa_meta_region)));
    params.push_back(metaParam(builder, SPA_META_VideoDamage, sizeof(spa_meta_region) * maxDamage,
                               sizeof(spa_meta_region), sizeof(spa_meta_region) * maxDamage));
    params.push_back(metaParam(builder, SPA_META_Cursor, cursorBytes(usualCursor), cursorBytes(1),
                               cursorBytes(largestCursor)));
    return params;
}

}  // namespace platform::pipewire
