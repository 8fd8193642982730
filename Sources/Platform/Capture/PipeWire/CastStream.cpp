#include "Platform/Capture/PipeWire/CastStream.hpp"

#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include <fcntl.h>
#include <spa/buffer/meta.h>
#include <spa/pod/builder.h>

namespace platform::pipewire {

namespace {

constexpr double perSecond = 1e9;
/// How long the compositor may take for the first picture; it sends one at once.
constexpr double patience = 10.0;  // seconds
/// A window of ours that has just closed is still in the compositor's picture for a frame or two, longer
/// where windows fade out.
constexpr double settling = 0.25;  // seconds
/// Pictures are drawn some time before they arrive, the pointer's moves are of now: their times never cross.
constexpr std::int64_t minStep = 2'000'000;  // nanoseconds

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

constexpr int noPictures = 23;
constexpr int serverEnded = 24;

PlatformError castError(int code, const std::string& sentence) { return {"ScreenCapture", code, sentence}; }

}  // namespace

CastStream::CastStream(UniqueFd remote, std::uint32_t node, ContentKind kind,
                       std::shared_ptr<CastScreen> screen, Events events)
    : kind_(kind), screen_(std::move(screen)), events_(std::move(events)) {
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
                fail(castError(noPictures,
                               "The desktop shares the screen but sends no picture of it. "
                               "Try again, or choose another screen or window."));
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
    server_.reset();
    core_.reset();
    patience_.reset();
    due_.reset();
    context_.reset();
    if (screen_) screen_->setPointer(std::nullopt, HostClock().now());
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
    server_.emplace(core_.get(), coreEvents, registryEvents, this);
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
    std::vector<const spa_pod*> params = castFormatParams(builder);
    const int result = pw_stream_connect(
        stream_.get(), PW_DIRECTION_INPUT, node,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), params.data(),
        static_cast<std::uint32_t>(params.size()));
    if (result < 0) throw PlatformError("PipeWire", -result, "The screen's pictures cannot be received.");
}

void CastStream::onFormat(const spa_pod* param) {
    letGoOfPicture();
    format_ = readCastFormat(param);
    if (!format_) return;
    std::array<std::uint8_t, 2048> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::vector<const spa_pod*> params = castBufferParams(builder, *format_, CastPointer::largestSide);
    pw_stream_update_params(stream_.get(), params.data(), static_cast<std::uint32_t>(params.size()));
}

void CastStream::onBuffers() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get())) {
        if (hasEnded_ || !format_) {
            pw_stream_queue_buffer(stream_.get(), buffer);
            continue;
        }
        takePointer(*buffer->buffer);
        auto picture = readPicture(*buffer->buffer, *format_);
        if (!picture) {
            if (buffer->buffer->n_datas > 0 && buffer->buffer->datas[0].chunk->size > 0)
                areChangesLost_ = true;
            pw_stream_queue_buffer(stream_.get(), buffer);
            continue;
        }
        if (kind_ == ContentKind::window) shadow_.cutOff(*picture);
        letGoOfPicture();
        if (std::exchange(areChangesLost_, false)) picture->changes.reset();
        held_ = buffer;
        picture_ = std::move(picture);
        pictureTime_ = timeOf(*buffer->buffer);
        if (frames_) frames_->show(*picture_);
        isPictureNew_ = true;
        publishPointer(pictureTime_);
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
    isPointerNew_ = true;
    publishPointer(timeOf(buffer));
}

void CastStream::publishPointer(std::int64_t time) {
    const double seconds = static_cast<double>(time) / perSecond;
    if (!screen_) return;
    const auto position = pointer_.position();
    if (!position) return screen_->setPointer(std::nullopt, seconds);
    if (!picture_) return;
    const int x = position->x - picture_->x, y = position->y - picture_->y;
    screen_->setPointer(
        frames_ ? frames_->spotOf(x, y) : CastScreen::Spot{static_cast<double>(x), static_cast<double>(y)},
        seconds);
}

Size CastStream::size() const {
    const LoopLock lock(loop_.get());
    if (!picture_) return format_ ? format_->size : Size{};
    return {static_cast<std::uint32_t>(picture_->plane.width),
            static_cast<std::uint32_t>(picture_->plane.height)};
}

void CastStream::start(const StreamConfiguration& configuration, FrameOutput& output) {
    const LoopLock lock(loop_.get());
    output_ = &output;
    showsCursor_ = configuration.showsCursor;
    interval_ = configuration.minimumFrameInterval.seconds();
    pacer_.emplace(interval_);
    frames_.emplace(configuration);
    if (picture_) {
        picture_->changes.reset();
        frames_->show(*picture_);
    }
    notBefore_ = HostClock().now() + settling;
    pictureTime_ = 0;
    isPictureNew_ = true;
    publishPointer(now());
    due_->signalAfter(settling);
}

void CastStream::stop() {
    FrameOutput* output = nullptr;
    {
        const LoopLock lock(loop_.get());
        output = std::exchange(output_, nullptr);
        frames_.reset();
    }
    if (output != nullptr) output->close();
}

void CastStream::deliverIfDue() {
    if (output_ == nullptr || !picture_ || hasEnded_ || !(isPictureNew_ || isPointerNew_)) return;
    const double time = HostClock().now();
    const double due = std::max(notBefore_, pacer_->nextTime(isPictureNew_ ? 1 : FramePacer::slotsOfPointer));
    if (time >= due) {
        pacer_->take(time);
        deliver();
    } else {
        // Anything that comes until then is in the next frame anyway.
        due_->signalAfter(std::max(due - time, 1e-6));
    }
}

void CastStream::deliver() {
    ConstPixelBufferRef frame;
    if (frames_->claimRoom())
        frame = frames_->make(*picture_, showsCursor_ ? &pointer_ : nullptr,
                              format_->isDmaBuf ? static_cast<int>(held_->buffer->datas[0].fd) : -1);
    if (!frame) {
        isPictureNew_ = true;
        due_->signalAfter(interval_);
        return;
    }
    // The picture's own time once; the pointer that moves over it has the time of now.
    const std::int64_t time =
        std::max(pictureTime_ != 0 ? std::exchange(pictureTime_, 0) : now(), lastTime_ + minStep);
    lastTime_ = time;
    isPictureNew_ = !output_->deliver({time, nanosecondTimescale}, std::move(frame), frames_->takeDropped());
    isPointerNew_ = false;
    if (isPictureNew_) due_->signalAfter(interval_);
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
