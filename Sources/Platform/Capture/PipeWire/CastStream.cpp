#include "Platform/Capture/PipeWire/CastStream.hpp"

#include "Platform/Capture/PipeWire/Connection.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include <fcntl.h>
#include <linux/dma-buf.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <sys/ioctl.h>

namespace platform::pipewire {

namespace {

constexpr double perSecond = 1e9;
/// How long the compositor may take for the first picture; it sends one at once.
constexpr double patience = 10.0;  // seconds
/// A window of ours that has just closed is still in the compositor's picture for a frame or two, longer
/// where windows fade out.
constexpr double settling = 0.25;  // seconds
/// Pictures are drawn some time before they arrive, the pointer's moves are of now: their times never cross.
constexpr std::int64_t leastStep = 2'000'000;  // nanoseconds
constexpr std::uint64_t linearModifier = 0;

std::int64_t now() { return static_cast<std::int64_t>(HostClock().now() * perSecond); }

/// The time that the compositor gives the picture; that of its arrival when it gives none, or one of another
/// clock than the host's.
std::int64_t timeOf(const spa_buffer& buffer) {
    constexpr std::int64_t plausibleAge = 2'000'000'000, plausibleLead = 100'000'000;
    const std::int64_t arrival = now();
    const auto* header = static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header == nullptr || header->pts <= 0) return arrival;
    const std::int64_t age = arrival - header->pts;
    return age < plausibleAge && age > -plausibleLead ? std::min(header->pts, arrival) : arrival;
}

/// Everything that can be read, in memory that both sides see, or in the last resort in a linear DMA-BUF.
const spa_pod* formatParam(spa_pod_builder& builder, bool isDmaBuf) {
    spa_pod_frame object, choice;
    const spa_rectangle usual{1920, 1080}, smallest{1, 1}, largest{16384, 16384};
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
        spa_pod_builder_long(&builder, static_cast<std::int64_t>(linearModifier));
    }
    spa_pod_builder_add(
        &builder, SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usual, &smallest, &largest),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&variable, &variable, &fastest),
        SPA_FORMAT_VIDEO_maxFramerate, SPA_POD_CHOICE_RANGE_Fraction(&fastest, &slowest, &fastest), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

constexpr int cursorBytes(int side) {
    return static_cast<int>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) + side * side * 4;
}

/// Tells the processor's caches that a DMA-BUF is read from here on.
class ReadingDmaBuf {
  public:
    explicit ReadingDmaBuf(int fd) : fd_(fd) { sync(DMA_BUF_SYNC_START); }
    ~ReadingDmaBuf() { sync(DMA_BUF_SYNC_END); }
    ReadingDmaBuf(const ReadingDmaBuf&) = delete;
    ReadingDmaBuf& operator=(const ReadingDmaBuf&) = delete;

  private:
    void sync(std::uint64_t edge) const {
        dma_buf_sync request{DMA_BUF_SYNC_READ | edge};
        if (fd_ >= 0) ioctl(fd_, DMA_BUF_IOCTL_SYNC, &request);
    }
    int fd_;
};

constexpr int noPictures = 23;
constexpr int serverEnded = 24;

PlatformError castError(int code, const std::string& sentence) { return {"ScreenCapture", code, sentence}; }

}  // namespace

CastStream::CastStream(UniqueFd remote, std::uint32_t node, std::shared_ptr<CastScreen> screen, Events events)
    : screen_(std::move(screen)), events_(std::move(events)) {
    initialiseLibrary();
    loop_.reset(pw_thread_loop_new("cobaltreel.cast", nullptr));
    if (!loop_) throw std::bad_alloc();
    pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
    context_.reset(pw_context_new(loop, nullptr, 0));
    if (!context_)
        throw PlatformError("PipeWire", errno, "The PipeWire library cannot be used. Reinstall PipeWire.");
    {
        const LoopLock lock(loop_.get());
        due_ = std::make_unique<LoopEvent>(loop, [this] { deliverIfDue(); });
        patience_ = std::make_unique<LoopEvent>(loop, [this] {
            if (!isReady_)
                fail(castError(noPictures, "The desktop shares the screen but sends no picture of it."));
        });
        patience_->signalAfter(patience);
        connect(std::move(remote), node);
    }
    if (pw_thread_loop_start(loop_.get()) < 0)
        throw PlatformError("PipeWire", errno, "No thread can be started for the screen's pictures.");
}

CastStream::~CastStream() {
    stop();
    pw_thread_loop_stop(loop_.get());
    const LoopLock lock(loop_.get());
    letGoOfPicture();
    streamHook_.reset();
    stream_.reset();
    registryHook_.reset();
    registry_.reset();
    coreHook_.reset();
    core_.reset();
    patience_.reset();
    due_.reset();
    context_.reset();
    if (screen_) screen_->setPointer(std::nullopt);
}

void CastStream::connect(UniqueFd remote, std::uint32_t node) {
    node_ = node;
    // The library owns and closes the descriptor that it is given.
    const int copy = fcntl(remote.get(), F_DUPFD_CLOEXEC, 3);
    core_.reset(copy < 0 ? nullptr : pw_context_connect_fd(context_.get(), copy, nullptr, 0));
    if (!core_)
        throw PlatformError("PipeWire", errno,
                            "The media server PipeWire does not answer. Start it with: systemctl "
                            "--user start pipewire wireplumber");
    static const pw_core_events coreEvents = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.error = [](void* self, std::uint32_t id, int, int result, const char*) {
            if (id == PW_ID_CORE && result == -EPIPE)
                static_cast<CastStream*>(self)->fail(castError(
                    serverEnded, "The media server PipeWire has ended, and with it the screen's pictures."));
        };
        return events;
    }();
    static const pw_registry_events registryEvents = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global_remove = [](void* self, std::uint32_t id) {
            auto& stream = *static_cast<CastStream*>(self);
            if (id == stream.node_)
                stream.fail(castError(sharingEnded, "The desktop has stopped sharing the screen."));
        };
        return events;
    }();
    coreHook_ = std::make_unique<Hook>();
    pw_core_add_listener(core_.get(), coreHook_->get(), &coreEvents, this);
    registry_.reset(static_cast<pw_registry*>(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0)));
    registryHook_ = std::make_unique<Hook>();
    pw_registry_add_listener(registry_.get(), registryHook_->get(), &registryEvents, this);
    connectStream(node);
}

void CastStream::connectStream(std::uint32_t node) {
    stream_.reset(
        pw_stream_new(core_.get(), "Cobaltreel screen",
                      pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                        PW_KEY_MEDIA_ROLE, "Screen", PW_KEY_APP_NAME, "Cobaltreel",
                                        PW_KEY_NODE_DONT_RECONNECT, "true", nullptr)));
    if (!stream_) throw PlatformError("PipeWire", errno, "The screen's pictures cannot be received.");
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* self) { static_cast<CastStream*>(self)->onBuffers(); };
        table.param_changed = [](void* self, std::uint32_t id, const spa_pod* param) {
            if (id == SPA_PARAM_Format) static_cast<CastStream*>(self)->onFormat(param);
        };
        table.remove_buffer = [](void* self, pw_buffer* buffer) {
            static_cast<CastStream*>(self)->onRemoved(buffer);
        };
        table.state_changed = [](void* self, pw_stream_state before, pw_stream_state state,
                                 const char* error) {
            if (const auto reason = failureOf(before, state, error))
                static_cast<CastStream*>(self)->fail(castError(
                    sharingEnded, "The desktop no longer sends the screen's pictures (" + *reason + ")."));
        };
        return table;
    }();
    streamHook_ = std::make_unique<Hook>();
    pw_stream_add_listener(stream_.get(), streamHook_->get(), &events, this);

    std::array<std::uint8_t, 4096> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* params[] = {formatParam(builder, false), formatParam(builder, true)};
    const int result = pw_stream_connect(
        stream_.get(), PW_DIRECTION_INPUT, node,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), params, 2);
    if (result < 0) throw PlatformError("PipeWire", -result, "The screen's pictures cannot be received.");
}

void CastStream::onFormat(const spa_pod* param) {
    letGoOfPicture();
    format_ = 0;
    spa_video_info_raw info{};
    if (param == nullptr || spa_format_video_raw_parse(param, &info) < 0) return;
    if (std::ranges::find(castFormats, static_cast<std::uint32_t>(info.format)) == castFormats.end()) return;
    constexpr std::uint32_t largestSide = 16384;
    if (info.size.width == 0 || info.size.height == 0 || info.size.width > largestSide ||
        info.size.height > largestSide)
        return;
    format_ = info.format;
    streamSize_ = {info.size.width, info.size.height};
    isDmaBuf_ = spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr;

    std::array<std::uint8_t, 2048> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const int kinds = isDmaBuf_ ? 1 << SPA_DATA_DmaBuf : (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr);
    const auto meta = [&](std::uint32_t type, std::size_t size) {
        return static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
            SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(size))));
    };
    const spa_pod* params[] = {
        static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kinds))),
        meta(SPA_META_Header, sizeof(spa_meta_header)), meta(SPA_META_VideoCrop, sizeof(spa_meta_region)),
        // Both sides' sizes are intersected: a single size would meet nothing, and the pointer never come.
        static_cast<const spa_pod*>(
            spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                                       SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Cursor), SPA_PARAM_META_size,
                                       SPA_POD_CHOICE_RANGE_Int(cursorBytes(64), cursorBytes(1),
                                                                cursorBytes(CastPointer::largestSide))))};
    pw_stream_update_params(stream_.get(), params, 4);
}

void CastStream::onBuffers() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get())) {
        if (hasEnded_ || format_ == 0) {
            pw_stream_queue_buffer(stream_.get(), buffer);
            continue;
        }
        takePointer(*buffer->buffer);
        const auto picture = readPicture(*buffer->buffer, format_, streamSize_);
        if (!picture) {
            pw_stream_queue_buffer(stream_.get(), buffer);
            continue;
        }
        letGoOfPicture();
        held_ = buffer;
        picture_ = picture;
        pictureTime_ = timeOf(*buffer->buffer);
        isChanged_ = true;
        publishPointer();
        if (!std::exchange(isReady_, true)) events_.ready(std::nullopt);
    }
    deliverIfDue();
}

void CastStream::onRemoved(const pw_buffer* buffer) {
    if (buffer != held_) return;
    held_ = nullptr;
    picture_.reset();
}

void CastStream::letGoOfPicture() {
    picture_.reset();
    if (held_ != nullptr) pw_stream_queue_buffer(stream_.get(), std::exchange(held_, nullptr));
}

void CastStream::takePointer(const spa_buffer& buffer) {
    const spa_meta* meta = spa_buffer_find_meta(&buffer, SPA_META_Cursor);
    if (meta == nullptr || meta->data == nullptr || meta->size < sizeof(spa_meta_cursor)) return;
    if (!pointer_.update(*static_cast<const spa_meta_cursor*>(meta->data), meta->size)) return;
    isChanged_ = true;
    publishPointer();
}

void CastStream::publishPointer() {
    const auto position = pointer_.position();
    if (!screen_ || !position || !picture_) {
        if (screen_ && !position) screen_->setPointer(std::nullopt);
        return;
    }
    CastScreen::Spot spot{static_cast<double>(position->x - picture_->x),
                          static_cast<double>(position->y - picture_->y)};
    if (queue_ != nullptr) {
        const CastFit fit =
            fitPicture(picture_->width, picture_->height, configuration_.width, configuration_.height);
        if (!fit.isExact)
            spot = {fit.x + spot.x * fit.width / picture_->width,
                    fit.y + spot.y * fit.height / picture_->height};
    }
    screen_->setPointer(spot);
}

Size CastStream::size() const {
    const LoopLock lock(loop_.get());
    if (!picture_) return streamSize_;
    return {static_cast<std::uint32_t>(picture_->width), static_cast<std::uint32_t>(picture_->height)};
}

void CastStream::start(const StreamConfiguration& configuration, SerialQueue& queue, Handler handler) {
    const LoopLock lock(loop_.get());
    configuration_ = configuration;
    queue_ = &queue;
    gate_ = std::make_shared<Gate>();
    gate_->handler = std::move(handler);
    grid_.emplace(configuration.minimumFrameInterval.seconds());
    frames_.emplace(PixelFormat::bgra, configuration.width, configuration.height,
                    static_cast<std::size_t>(std::max(1, configuration.queueDepth)));
    notBefore_ = HostClock().now() + settling;
    pictureTime_ = 0;
    isChanged_ = true;
    publishPointer();
    due_->signalAfter(settling);
}

void CastStream::stop() {
    std::shared_ptr<Gate> gate;
    {
        const LoopLock lock(loop_.get());
        queue_ = nullptr;
        gate = std::exchange(gate_, nullptr);
    }
    if (!gate) return;
    const std::lock_guard closing(gate->mutex);
    gate->isOpen = false;
}

void CastStream::deliverIfDue() {
    if (queue_ == nullptr || !isChanged_ || !picture_ || hasEnded_) return;
    const double time = HostClock().now();
    const double due = std::max(notBefore_, grid_->nextTime());
    if (time >= due) {
        grid_->take(time);
        deliver();
    } else {
        // Whatever else comes until then is in the next frame anyway.
        due_->signalAfter(std::max(due - time, 1e-6));
    }
}

void CastStream::deliver() {
    const PixelBufferRef frame = frames_->createPixelBuffer();
    if (!frame || !drawPicture(*frame)) {
        due_->signalAfter(configuration_.minimumFrameInterval.seconds());
        return;
    }
    isChanged_ = false;
    // The picture's own time once; the pointer that moves over it has the time of now.
    const std::int64_t time =
        std::max(pictureTime_ != 0 ? std::exchange(pictureTime_, 0) : now(), lastTime_ + leastStep);
    lastTime_ = time;
    CapturedSample sample;
    sample.buffer.presentationTime = {time, nanosecondTimescale};
    sample.buffer.image = frame;
    sample.status = FrameStatus::complete;
    const bool isQueued = queue_->async([gate = gate_, sample = std::move(sample)] {
        const std::lock_guard passing(gate->mutex);
        if (gate->isOpen) gate->handler(sample);
    });
    if (!isQueued) isChanged_ = true;
}

bool CastStream::drawPicture(PixelBuffer& frame) {
    const CastFit fit = fitPicture(picture_->width, picture_->height, frame.width(), frame.height());
    const bool isSame = picture_->width == frame.width() && picture_->height == frame.height();
    if (!isSame &&
        (!unfitted_ || unfitted_->width() != picture_->width || unfitted_->height() != picture_->height)) {
        try {
            unfitted_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, picture_->width, picture_->height);
        } catch (const std::exception&) {
            return false;
        }
    }
    const Plane& plane = isSame ? frame.plane() : unfitted_->plane();
    {
        const ReadingDmaBuf reading(isDmaBuf_ ? static_cast<int>(held_->buffer->datas[0].fd) : -1);
        draw(*picture_, plane);
    }
    if (configuration_.showsCursor) pointer_.draw(plane, picture_->x, picture_->y);
    if (!isSame) drawFitted(plane, fit, frame.plane());
    return true;
}

void CastStream::end(const PlatformError& error) {
    const LoopLock lock(loop_.get());
    fail(error);
}

void CastStream::fail(const PlatformError& error) {
    if (std::exchange(hasEnded_, true)) return;
    if (!std::exchange(isReady_, true))
        events_.ready(error);
    else
        events_.ended(
            {error.domain(), error.code(), error.description() + " What was recorded so far is kept."});
}

}  // namespace platform::pipewire
