#include "Platform/Capture/PipeWire/CameraStream.hpp"

#include <array>
#include <cerrno>
#include <ctime>
#include <optional>

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

namespace platform::pipewire {

namespace {

constexpr std::size_t picturesOut = 24;      // encoder queue, preview and the session's queue together
constexpr int unreadableUntilReported = 20;  // pictures
constexpr double nanoseconds = 1e9;

std::optional<PictureLayout> layoutOf(std::uint32_t format) {
    switch (format) {
        case SPA_VIDEO_FORMAT_I420:
            return PictureLayout::i420;
        case SPA_VIDEO_FORMAT_YV12:
            return PictureLayout::yv12;
        case SPA_VIDEO_FORMAT_NV12:
            return PictureLayout::nv12;
        case SPA_VIDEO_FORMAT_NV21:
            return PictureLayout::nv21;
        case SPA_VIDEO_FORMAT_YUY2:
            return PictureLayout::yuy2;
        case SPA_VIDEO_FORMAT_UYVY:
            return PictureLayout::uyvy;
        case SPA_VIDEO_FORMAT_BGRx:
        case SPA_VIDEO_FORMAT_BGRA:
            return PictureLayout::bgra;
        case SPA_VIDEO_FORMAT_RGBx:
        case SPA_VIDEO_FORMAT_RGBA:
            return PictureLayout::rgba;
        case SPA_VIDEO_FORMAT_xRGB:
            return PictureLayout::argb;
        case SPA_VIDEO_FORMAT_xBGR:
            return PictureLayout::abgr;
        case SPA_VIDEO_FORMAT_BGR:
            return PictureLayout::bgr;
        case SPA_VIDEO_FORMAT_RGB:
            return PictureLayout::rgb;
        default:
            return std::nullopt;
    }
}

bool isRgb(PictureLayout layout) { return layout >= PictureLayout::bgra; }

ColorMatrix matrixOf(const spa_video_info_raw& info, PictureLayout layout) {
    if (isRgb(layout)) return ColorMatrix::bt601Limited;  // what the conversion makes of it
    const bool full = info.color_range == SPA_VIDEO_COLOR_RANGE_0_255;
    if (info.color_matrix == SPA_VIDEO_COLOR_MATRIX_BT709)
        return full ? ColorMatrix::bt709Full : ColorMatrix::bt709Limited;
    return full ? ColorMatrix::bt601Full : ColorMatrix::bt601Limited;
}

int packedBytesPerPixel(PictureLayout layout) {
    switch (layout) {
        case PictureLayout::yuy2:
        case PictureLayout::uyvy:
            return 2;
        case PictureLayout::bgra:
        case PictureLayout::rgba:
        case PictureLayout::argb:
        case PictureLayout::abgr:
            return 4;
        case PictureLayout::bgr:
        case PictureLayout::rgb:
            return 3;
        default:
            return 1;
    }
}

/// A plane of a picture: its rows and the bytes of each.
struct PlaneShape {
    int rowBytes = 0;
    int rows = 0;
};

/// The planes of a layout, absent ones empty.
std::array<PlaneShape, 3> planeShapes(PictureLayout layout, Size size) {
    const int width = static_cast<int>(size.width);
    const int height = static_cast<int>(size.height);
    const int halfWidth = (width + 1) / 2;
    const int halfHeight = (height + 1) / 2;
    switch (layout) {
        case PictureLayout::i420:
        case PictureLayout::yv12:
            return {{{width, height}, {halfWidth, halfHeight}, {halfWidth, halfHeight}}};
        case PictureLayout::nv12:
        case PictureLayout::nv21:
            return {{{width, height}, {2 * halfWidth, halfHeight}, {}}};
        case PictureLayout::yuy2:
        case PictureLayout::uyvy:
            return {{{4 * halfWidth, height}, {}, {}}};
        default:
            return {{{width * packedBytesPerPixel(layout), height}, {}, {}}};
    }
}

double hostTime() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / nanoseconds;
}

/// The time that the camera gives the picture; that of its arrival when it gives none, or one of another
/// clock than the host's.
std::int64_t presentationTime(const spa_meta_header* header) {
    constexpr double plausibleAge = 2.0;  // seconds
    constexpr double plausibleLead = 0.1;
    const double now = hostTime();
    if (header != nullptr && header->pts > 0) {
        const double age = now - static_cast<double>(header->pts) / nanoseconds;
        if (age < plausibleAge && age > -plausibleLead) return header->pts;
    }
    return static_cast<std::int64_t>(now * nanoseconds);
}

}  // namespace

CameraStream::CameraStream(PipeWireConnection& connection, const Setup& setup,
                           const std::vector<OfferedFormat>& offered, Handlers handlers)
    : setup_(setup), handlers_(std::move(handlers)), converter_(setup.width, setup.height, picturesOut) {
    stream_.reset(pw_stream_new(
        connection.core(), setup.name.c_str(),
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                          "Camera", PW_KEY_NODE_NAME, setup.name.c_str(), PW_KEY_APP_NAME, "Cobaltreel",
                          // A camera that goes away is not silently swapped for another one.
                          "target.object", setup.target.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true",
                          nullptr)));
    if (!stream_) throw PlatformError("PipeWire", errno, "\"" + setup.name + "\" cannot be opened.");
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* self) { static_cast<CameraStream*>(self)->onBuffers(); };
        table.param_changed = [](void* self, std::uint32_t id, const spa_pod* param) {
            if (id == SPA_PARAM_Format) static_cast<CameraStream*>(self)->onFormat(param);
        };
        table.state_changed = [](void* self, pw_stream_state before, pw_stream_state state,
                                 const char* error) {
            const CameraStream& stream = *static_cast<CameraStream*>(self);
            if (const auto reason = failureOf(before, state, error); reason && !stream.isEnding_)
                stream.handlers_.failed(*reason);
        };
        return table;
    }();
    pw_stream_add_listener(stream_.get(), hook_.get(), &events, this);

    std::array<std::uint8_t, 4096> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const Size wanted{static_cast<std::uint32_t>(setup.width), static_cast<std::uint32_t>(setup.height)};
    auto params = formatParams(builder, bestFormat(offered, wanted, setup.maximumRate), wanted);
    const int result = pw_stream_connect(
        stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_DONT_RECONNECT |
                                     PW_STREAM_FLAG_MAP_BUFFERS),
        params.data(), static_cast<std::uint32_t>(params.size()));
    if (result < 0) throw PlatformError("PipeWire", -result, "\"" + setup.name + "\" cannot be opened.");
}

CameraStream::~CameraStream() {
    isEnding_ = true;
    pw_stream_disconnect(stream_.get());
}

void CameraStream::onFormat(const spa_pod* param) {
    hasFormat_ = false;
    spa_video_info info{};
    if (param == nullptr || spa_format_parse(param, &info.media_type, &info.media_subtype) < 0) return;
    spa_fraction rate{};
    if (info.media_subtype == SPA_MEDIA_SUBTYPE_mjpg) {
        if (spa_format_video_mjpg_parse(param, &info.info.mjpg) < 0) return;
        size_ = {info.info.mjpg.size.width, info.info.mjpg.size.height};
        rate = info.info.mjpg.framerate;
        decoder_.emplace();
    } else {
        if (spa_format_video_raw_parse(param, &info.info.raw) < 0) return;
        const auto layout = layoutOf(info.info.raw.format);
        if (!layout) return;
        layout_ = *layout;
        matrix_ = matrixOf(info.info.raw, layout_);
        size_ = {info.info.raw.size.width, info.info.raw.size.height};
        rate = info.info.raw.framerate;
        decoder_.reset();
    }
    hasFormat_ = size_.width > 0 && size_.height > 0;
    const double offeredRate = rate.denom == 0 ? 0 : static_cast<double>(rate.num) / rate.denom;
    fasterThanWanted_ = offeredRate > setup_.maximumRate * 1.1;

    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* params[] = {
        static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd) |
                                     (1 << SPA_DATA_DmaBuf)))),
        static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size, SPA_POD_Int(sizeof(spa_meta_header))))};
    pw_stream_update_params(stream_.get(), params, 2);
}

void CameraStream::onBuffers() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get())) {
        if (hasFormat_) handle(*buffer->buffer);
        pw_stream_queue_buffer(stream_.get(), buffer);
    }
}

void CameraStream::handle(const spa_buffer& buffer) {
    const auto* header = static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (buffer.n_datas == 0 || buffer.datas[0].data == nullptr || buffer.datas[0].chunk->size == 0) return;
    const bool damaged = (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) ||
                         (buffer.datas[0].chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0;
    const std::int64_t time = presentationTime(header);
    if (fasterThanWanted_ && comesTooSoon(static_cast<double>(time) / nanoseconds)) return;
    const auto picture = damaged ? std::nullopt : read(buffer);
    if (!picture) {
        if (++unreadableInARow_ == unreadableUntilReported) handlers_.unreadable();
        return;
    }
    unreadableInARow_ = 0;
    if (auto converted = converter_.convert(*picture, mirrored_))
        handlers_.receive({{time, nanosecondTimescale}, std::move(converted), nullptr});
}

bool CameraStream::comesTooSoon(double time) {
    // A quarter of a frame early still counts: the camera's times are not perfectly even.
    if (time - lastTaken_ < 0.75 / setup_.maximumRate) return true;
    lastTaken_ = time;
    return false;
}

std::optional<RawPicture> CameraStream::read(const spa_buffer& buffer) {
    const spa_data& first = buffer.datas[0];
    const auto bytesFrom = [](const spa_data& data) {
        return data.chunk->offset > data.maxsize ? 0U : data.maxsize - data.chunk->offset;
    };
    const auto* const start = static_cast<const std::uint8_t*>(first.data) + first.chunk->offset;
    if (decoder_) return decoder_->decode({start, std::min(first.chunk->size, bytesFrom(first))});

    RawPicture picture;
    picture.layout = layout_;
    picture.width = static_cast<int>(size_.width);
    picture.height = static_cast<int>(size_.height);
    picture.matrix = matrix_;
    const auto shapes = planeShapes(layout_, size_);
    const std::size_t planes = shapes[2].rows > 0 ? 3 : shapes[1].rows > 0 ? 2 : 1;
    const bool separate = buffer.n_datas >= planes && planes > 1;
    std::size_t offset = 0;
    for (std::size_t i = 0; i < planes; ++i) {
        const spa_data& data = separate ? buffer.datas[i] : first;
        if (data.data == nullptr) return std::nullopt;
        // Planes that follow one another in one block share the first one's padding.
        int stride = data.chunk->stride > 0 ? data.chunk->stride : shapes[0].rowBytes;
        if (!separate && i > 0)
            stride =
                static_cast<int>(static_cast<std::int64_t>(stride) * shapes[i].rowBytes / shapes[0].rowBytes);
        if (stride < shapes[i].rowBytes) stride = shapes[i].rowBytes;
        if (separate) offset = 0;
        const std::size_t size =
            static_cast<std::size_t>(stride) * static_cast<std::size_t>(shapes[i].rows - 1) +
            static_cast<std::size_t>(shapes[i].rowBytes);
        if (offset + size > bytesFrom(data)) return std::nullopt;
        picture.planes[i] = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset + offset;
        picture.strides[i] = stride;
        offset += static_cast<std::size_t>(stride) * static_cast<std::size_t>(shapes[i].rows);
    }
    return picture;
}

}  // namespace platform::pipewire
