// A camera for tests: a PipeWire video source that draws a counter, flashes at given instants of the host
// clock, and misbehaves when told to. Runs until a signal ends it; prints a line when it is there.
#include "Rig/HostTime.hpp"
#include "Rig/PersonPicture.hpp"
#include "Rig/RigEvents.hpp"
#include "Rig/RigPicture.hpp"
#include "Rig/RigStream.hpp"
#include "Rig/RigUrgency.hpp"

#include <QBuffer>
#include <QImage>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <libyuv.h>
#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

namespace {

using rig::hostTime;

struct PixelFormatName {
    const char* name;
    std::uint32_t spa;
    std::uint32_t fourcc;
    int bytesPerPixel;  // of the first plane
};
constexpr std::array<PixelFormatName, 12> pixelFormats{{
    {"yuy2", SPA_VIDEO_FORMAT_YUY2, libyuv::FOURCC_YUY2, 2},
    {"uyvy", SPA_VIDEO_FORMAT_UYVY, libyuv::FOURCC_UYVY, 2},
    {"nv12", SPA_VIDEO_FORMAT_NV12, libyuv::FOURCC_NV12, 1},
    {"nv21", SPA_VIDEO_FORMAT_NV21, libyuv::FOURCC_NV21, 1},
    {"i420", SPA_VIDEO_FORMAT_I420, libyuv::FOURCC_I420, 1},
    {"yv12", SPA_VIDEO_FORMAT_YV12, libyuv::FOURCC_YV12, 1},
    {"bgrx", SPA_VIDEO_FORMAT_BGRx, libyuv::FOURCC_ARGB, 4},
    {"rgbx", SPA_VIDEO_FORMAT_RGBx, libyuv::FOURCC_ABGR, 4},
    {"xrgb", SPA_VIDEO_FORMAT_xRGB, libyuv::FOURCC_BGRA, 4},
    {"xbgr", SPA_VIDEO_FORMAT_xBGR, libyuv::FOURCC_RGBA, 4},
    {"bgr", SPA_VIDEO_FORMAT_BGR, libyuv::FOURCC_24BG, 3},
    {"rgb", SPA_VIDEO_FORMAT_RGB, libyuv::FOURCC_RAW, 3},
}};

struct Options {
    std::string name = "rig.camera";
    std::string description = "Rig Camera";
    std::string format = "yuy2";
    int width = 1280;
    int height = 720;
    int rate = 30;
    double garbageFrom = -1;  // seconds after the start
    bool sendsNothing = false;
    bool withoutTimes = false;
    bool showsPerson = false;  // instead of the counter
    RigEvents events;
};

QByteArray jpegOf(const std::uint8_t* i420, int width, int height) {
    const int half = (width + 1) / 2;
    const std::uint8_t* u = i420 + width * height;
    QImage picture(width, height, QImage::Format_RGB32);
    libyuv::I420ToARGB(i420, width, u, half, u + half * ((height + 1) / 2), half, picture.bits(),
                       static_cast<int>(picture.bytesPerLine()), width, height);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPEG", 85);
    return bytes;
}

class Camera final : public rig::RigStream {
  public:
    explicit Camera(Options options) : options_(std::move(options)) {
        if (!isMjpeg())
            raw_ = *std::ranges::find_if(pixelFormats,
                                         [&](const auto& each) { return options_.format == each.name; });
    }

    int run() {
        frameTimer_ = pw_loop_add_timer(
            loop(), [](void* self, std::uint64_t) { static_cast<Camera*>(self)->onFrameTime(); }, this);
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), memory.size());
        const spa_rectangle size{static_cast<std::uint32_t>(options_.width),
                                 static_cast<std::uint32_t>(options_.height)};
        const spa_fraction rate{static_cast<std::uint32_t>(options_.rate), 1};
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype,
                            SPA_POD_Id(isMjpeg() ? SPA_MEDIA_SUBTYPE_mjpg : SPA_MEDIA_SUBTYPE_raw), 0);
        if (!isMjpeg()) spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(raw_.spa), 0);
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                            SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
        const auto* format = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
        started_ = hostTime();
        return RigStream::run(
            options_.name.c_str(),
            pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, options_.name.c_str(),
                              PW_KEY_NODE_DESCRIPTION, options_.description.c_str(), nullptr),
            PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS, format);
    }

  private:
    bool isMjpeg() const { return options_.format == "mjpeg"; }

    void onStreaming(bool streams) override {
        if (streams)
            scheduleNext();
        else
            pw_loop_update_timer(loop(), frameTimer_, nullptr, nullptr, false);
    }

    /// Frames lie on a grid of the host clock that the first listed event is on, so that an event and the
    /// frame that shows it have the same time.
    void scheduleNext() {
        const double anchor = options_.events.instants.empty() ? 0 : options_.events.instants.front();
        const double step = 1.0 / options_.rate;
        const double after = std::max(hostTime(), nextFrame_ + step / 2);
        nextFrame_ = anchor + (std::floor((after - anchor) / step) + 1) * step;
        timespec when = rig::timespecOf(nextFrame_);
        pw_loop_update_timer(loop(), frameTimer_, &when, nullptr, true);
    }

    void onFrameTime() {
        frameTime_ = nextFrame_;
        if (!options_.sendsNothing) pw_stream_trigger_process(stream());
        scheduleNext();
    }

    void onFormat() override {
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), memory.size());
        const int pixels = options_.width * options_.height;
        const int size = isMjpeg() ? pixels * 2 : pixels * 4 + 4096;
        const spa_pod* params[] = {
            static_cast<const spa_pod*>(spa_pod_builder_add_object(
                &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
                SPA_POD_CHOICE_RANGE_Int(4, 2, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
                SPA_PARAM_BUFFERS_size, SPA_POD_Int(size), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride()))),
            static_cast<const spa_pod*>(spa_pod_builder_add_object(
                &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
                SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size, SPA_POD_Int(sizeof(spa_meta_header))))};
        pw_stream_update_params(stream(), params, 2);
    }

    int stride() const { return isMjpeg() ? 0 : options_.width * raw_.bytesPerPixel; }

    void onProcess() override {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream());
        if (buffer == nullptr) return;
        spa_data& data = buffer->buffer->datas[0];
        auto* const header = static_cast<spa_meta_header*>(
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)));
        if (header != nullptr) {
            header->pts = options_.withoutTimes ? -1 : std::llround(frameTime_ * 1e9);
            header->flags = 0;
            header->seq = counter_;
            header->dts_offset = 0;
        }
        data.chunk->offset = 0;
        data.chunk->stride = stride();
        data.chunk->size =
            data.data == nullptr ? 0 : drawInto(static_cast<std::uint8_t*>(data.data), data.maxsize);
        pw_stream_queue_buffer(stream(), buffer);
        ++counter_;
    }

    std::uint32_t drawInto(std::uint8_t* to, std::uint32_t room) {
        const int width = options_.width;
        const int height = options_.height;
        const int halfWidth = (width + 1) / 2;
        const int halfHeight = (height + 1) / 2;
        if (options_.garbageFrom >= 0 && hostTime() - started_ >= options_.garbageFrom) {
            const std::uint32_t size = std::min(room, 5000U);
            for (std::uint32_t i = 0; i < size; ++i) to[i] = static_cast<std::uint8_t>(i * 2654435761U >> 24);
            return size;
        }
        std::vector<std::uint8_t> drawn;
        const std::uint8_t* y = nullptr;
        if (options_.showsPerson) {
            if (!person_) person_ = std::make_unique<rig::PersonPicture>(width, height);
            y = person_->i420(frameTime_);
        } else {
            constexpr double rounding = 1e-4;  // of the instants given
            const bool isFlash = options_.events.since(frameTime_ + rounding).has_value();
            drawn = rigPicture::draw(width, height, counter_, isFlash).pixels;
            drawn.resize(drawn.size() + 2 * static_cast<std::size_t>(halfWidth * halfHeight), 128);
            y = drawn.data();
        }
        if (isMjpeg()) {
            const QByteArray jpeg = jpegOf(y, width, height);
            const auto size = std::min(room, static_cast<std::uint32_t>(jpeg.size()));
            std::memcpy(to, jpeg.data(), size);
            return size;
        }
        const std::uint8_t *u = y + width * height, *v = u + halfWidth * halfHeight;
        libyuv::ConvertFromI420(y, width, u, halfWidth, v, halfWidth, to, stride(), width, height,
                                raw_.fourcc);
        const int chroma = raw_.bytesPerPixel == 1 ? 2 * halfWidth * halfHeight : 0;
        return static_cast<std::uint32_t>(stride() * height + chroma);
    }

    Options options_;
    PixelFormatName raw_{};
    std::unique_ptr<rig::PersonPicture> person_;
    spa_source* frameTimer_ = nullptr;
    double started_ = 0;
    double nextFrame_ = 0;
    double frameTime_ = 0;
    std::uint16_t counter_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App arguments;
    arguments.add_option("--name", options.name);
    arguments.add_option("--description", options.description);
    arguments.add_option("--format", options.format);
    arguments.add_option_function<std::string>("--size", [&](const std::string& text) {
        std::sscanf(text.c_str(), "%dx%d", &options.width, &options.height);
    });
    arguments.add_option("--rate", options.rate);
    arguments.add_option("--at", options.events.instants)->delimiter(',');
    arguments.add_option("--every", options.events.every);
    arguments.add_option("--garbage-from", options.garbageFrom);
    arguments.add_flag("--nothing", options.sendsNothing);
    arguments.add_flag("--without-times", options.withoutTimes);
    arguments.add_flag("--person", options.showsPerson);
    CLI11_PARSE(arguments, argc, argv);
    const bool known = options.format == "mjpeg" || std::ranges::any_of(pixelFormats, [&](const auto& each) {
                           return options.format == each.name;
                       });
    if (!known || options.width <= 0 || options.height <= 0 || options.rate <= 0) {
        std::fprintf(stderr, "RigCamera: no such format, size or rate\n");
        return 2;
    }
    rig::becomeUrgent();
    pw_init(&argc, &argv);
    return Camera(options).run();
}
