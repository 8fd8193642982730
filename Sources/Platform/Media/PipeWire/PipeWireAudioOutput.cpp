#include "Platform/Media/PipeWire/PipeWireAudioOutput.hpp"

#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Capture/PipeWire/SoundFormat.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <utility>

namespace platform {
namespace {

using pipewire::LoopEvent;
using pipewire::LoopLock;
using pipewire::PipeWireConnection;

constexpr std::uint32_t sampleRate = 48000;
constexpr std::uint32_t channels = 2;
constexpr std::uint32_t frameBytes = channels * sizeof(float);
constexpr double nanoseconds = 1e9;

/// Everything but `setActive` and the stream's callback happens on the connection's loop, or with its lock.
class PipeWireAudioOutput final : public AudioOutput, private pipewire::GraphListener {
  public:
    PipeWireAudioOutput(std::shared_ptr<PipeWireConnection> connection, Render render)
        : connection_(std::move(connection)), render_(std::move(render)) {
        const LoopLock lock(connection_->threadLoop());
        update_ = std::make_unique<LoopEvent>(connection_->loop(), [this] { update(); });
        connection_->addListener(*this);
    }
    ~PipeWireAudioOutput() override {
        const LoopLock lock(connection_->threadLoop());
        connection_->removeListener(*this);
        disconnected();
        update_.reset();
    }

    void setActive(bool active) override {
        active_ = active;
        update_->signal();
    }

  private:
    void graphChanged() override {
        if (active_ && !stream_) update();
    }
    void disconnected() override {
        if (stream_) pw_stream_disconnect(stream_.get());  // ends the callback before anything of it goes
        hook_.reset();
        stream_.reset();
        hasFailed_ = false;
    }
    void update() {
        if (hasFailed_) disconnected();
        if (!connection_->isConnected()) return;
        const bool active = active_;
        if (!stream_ && (!active || !open())) return;
        pw_stream_set_active(stream_.get(), active);
        if (!active) pw_stream_flush(stream_.get(), false);
    }
    bool open();
    void fill();

    std::shared_ptr<PipeWireConnection> connection_;
    Render render_;
    std::atomic<bool> active_{false};
    std::unique_ptr<LoopEvent> update_;
    bool hasFailed_ = false;
    pipewire::StreamHandle stream_;
    std::unique_ptr<pipewire::Hook> hook_;
};

/// False when the server does not want the stream now; tried again after a while.
bool PipeWireAudioOutput::open() {
    auto* props =
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", PW_KEY_MEDIA_ROLE,
                          "Movie", PW_KEY_NODE_NAME, "Cobaltreel", PW_KEY_NODE_DESCRIPTION, "Cobaltreel",
                          PW_KEY_APP_NAME, "Cobaltreel", PW_KEY_NODE_LATENCY, "1024/48000", nullptr);
    stream_.reset(pw_stream_new(connection_->core(), "Cobaltreel", props));
    if (!stream_) return false;
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* self) { static_cast<PipeWireAudioOutput*>(self)->fill(); };
        table.state_changed = [](void* self, pw_stream_state before, pw_stream_state state,
                                 const char* error) {
            auto& output = *static_cast<PipeWireAudioOutput*>(self);
            if (!pipewire::failureOf(before, state, error)) return;
            // Without a speaker there is no use; one may come.
            output.hasFailed_ = true;
            output.update_->signalAfter(PipeWireConnection::retryInterval);
        };
        return table;
    }();
    hook_ = std::make_unique<pipewire::Hook>();
    pw_stream_add_listener(stream_.get(), hook_->get(), &events, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* params[] = {pipewire::soundFormat(builder, sampleRate, channels)};
    constexpr int flags = PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                          PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_INACTIVE;
    if (pw_stream_connect(stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY, static_cast<pw_stream_flags>(flags),
                          params, 1) >= 0)
        return true;
    hasFailed_ = true;
    update_->signalAfter(PipeWireConnection::retryInterval);
    return false;
}

/// On the graph's real-time thread.
void PipeWireAudioOutput::fill() {
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get());
    if (!buffer) return;
    spa_data& data = buffer->buffer->datas[0];
    const std::uint32_t room = data.data ? data.maxsize / frameBytes : 0;
    const auto frames = buffer->requested > 0
                            ? static_cast<std::uint32_t>(std::min<std::uint64_t>(room, buffer->requested))
                            : room;
    pw_time time{};
    if (frames > 0 && pw_stream_get_time_n(stream_.get(), &time, sizeof time) == 0 && time.rate.denom > 0) {
        // Before it come the device's own delay and what waits on the way there.
        const double heardAt = static_cast<double>(time.now) / nanoseconds +
                               static_cast<double>(time.delay) * time.rate.num / time.rate.denom +
                               static_cast<double>(time.queued + time.buffered) / sampleRate;
        render_({static_cast<float*>(data.data), std::size_t{frames} * channels}, heardAt);
    } else if (data.data) {
        std::fill_n(static_cast<float*>(data.data), std::size_t{frames} * channels, 0.0F);
    }
    *data.chunk = {0, frames * frameBytes, static_cast<std::int32_t>(frameBytes), 0};
    buffer->size = frames;
    pw_stream_queue_buffer(stream_.get(), buffer);
}

class PipeWireAudioOutputService final : public AudioOutputService {
  public:
    explicit PipeWireAudioOutputService(std::shared_ptr<PipeWireConnection> connection)
        : connection_(std::move(connection)) {}
    std::unique_ptr<AudioOutput> makeOutput(AudioOutput::Render render) override {
        return std::make_unique<PipeWireAudioOutput>(connection_, std::move(render));
    }

  private:
    std::shared_ptr<PipeWireConnection> connection_;
};

}  // namespace

std::shared_ptr<AudioOutputService> makePipeWireAudioOutputs(std::shared_ptr<PipeWireConnection> connection) {
    return std::make_shared<PipeWireAudioOutputService>(std::move(connection));
}

}  // namespace platform
