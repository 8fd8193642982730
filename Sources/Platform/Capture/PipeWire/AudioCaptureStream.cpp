#include "Platform/Capture/PipeWire/AudioCaptureStream.hpp"

#include "Platform/Capture/PipeWire/SoundFormat.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace platform::pipewire {

namespace {

constexpr std::uint32_t sampleRate = 48000;
constexpr std::int64_t second = 1'000'000'000;

/// A ring's bytes from a position that counts on beyond its end.
void copyIn(std::vector<std::byte>& ring, std::uint32_t at, const void* from, std::uint32_t size) {
    const std::uint32_t start = at % static_cast<std::uint32_t>(ring.size());
    const std::uint32_t first = std::min(size, static_cast<std::uint32_t>(ring.size()) - start);
    std::memcpy(ring.data() + start, from, first);
    std::memcpy(ring.data(), static_cast<const std::byte*>(from) + first, size - first);
}

void copyOut(const std::vector<std::byte>& ring, std::uint32_t at, void* to, std::uint32_t size) {
    const std::uint32_t start = at % static_cast<std::uint32_t>(ring.size());
    const std::uint32_t first = std::min(size, static_cast<std::uint32_t>(ring.size()) - start);
    std::memcpy(to, ring.data() + start, first);
    std::memcpy(static_cast<std::byte*>(to) + first, ring.data(), size - first);
}

}  // namespace

AudioCaptureStream::AudioCaptureStream(PipeWireConnection& connection, const Setup& setup, Receiver receive,
                                       std::function<void(const std::string&)> failed)
    : channels_(setup.channels),
      receive_(std::move(receive)),
      failed_(std::move(failed)),
      ring_(ringBytes),
      ready_(connection.loop(), [this] { handOn(); }) {
    pw_properties* props =
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                          "Production", PW_KEY_NODE_NAME, setup.name.c_str(), PW_KEY_APP_NAME, "Cobaltreel",
                          PW_KEY_NODE_LATENCY, "1024/48000", nullptr);
    unsigned flags = PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
    if (setup.target.empty()) {
        pw_properties_set(props, PW_KEY_NODE_AUTOCONNECT, "false");
    } else {
        // A device that goes away is not silently swapped for another one.
        pw_properties_set(props, "target.object", setup.target.c_str());
        pw_properties_set(props, PW_KEY_NODE_DONT_RECONNECT, "true");
        flags |= PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_DONT_RECONNECT;
    }
    stream_.reset(pw_stream_new(connection.core(), setup.name.c_str(), props));
    if (!stream_) throw PlatformError("PipeWire", errno, "\"" + setup.name + "\" cannot be opened.");
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* self) { static_cast<AudioCaptureStream*>(self)->takeFromGraph(); };
        table.state_changed = [](void* self, pw_stream_state before, pw_stream_state state,
                                 const char* error) {
            const AudioCaptureStream& stream = *static_cast<AudioCaptureStream*>(self);
            if (const auto reason = failureOf(before, state, error); reason && !stream.isEnding_)
                stream.failed_(*reason);
        };
        return table;
    }();
    pw_stream_add_listener(stream_.get(), hook_.get(), &events, this);

    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* params[] = {soundFormat(builder, sampleRate, static_cast<std::uint32_t>(channels_))};
    const int result = pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY,
                                         static_cast<pw_stream_flags>(flags), params, 1);
    if (result < 0) throw PlatformError("PipeWire", -result, "\"" + setup.name + "\" cannot be opened.");
}

AudioCaptureStream::~AudioCaptureStream() {
    isEnding_ = true;
    // Ends the graph's use of this object before any of it goes.
    pw_stream_disconnect(stream_.get());
}

std::optional<std::uint32_t> AudioCaptureStream::nodeID() const {
    const std::uint32_t id = pw_stream_get_node_id(stream_.get());
    return id == SPA_ID_INVALID ? std::nullopt : std::optional(id);
}

/// On the graph's real-time thread: no lock, no memory from the heap.
void AudioCaptureStream::takeFromGraph() {
    pw_time time{};
    const bool hasTime = pw_stream_get_time_n(stream_.get(), &time, sizeof time) == 0 && time.rate.denom > 0;
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get())) {
        const spa_data& data = buffer->buffer->datas[0];
        const std::uint32_t frameBytes = static_cast<std::uint32_t>(channels_) * sizeof(float);
        if (data.data != nullptr && data.chunk->offset <= data.maxsize) {
            const std::uint32_t bytes = std::min(data.chunk->size, data.maxsize - data.chunk->offset);
            Chunk chunk{0, bytes / frameBytes};
            // The first frame was taken `delay` before the cycle began.
            if (hasTime) chunk.time = time.now - time.delay * second * time.rate.num / time.rate.denom;
            const std::uint32_t size = chunk.frames * frameBytes;
            const std::uint32_t at = written_.load(std::memory_order_relaxed);
            const std::uint32_t used = at - read_.load(std::memory_order_acquire);
            if (chunk.frames > 0 && chunk.time > 0 && sizeof chunk + size <= ringBytes - used) {
                copyIn(ring_, at, &chunk, sizeof chunk);
                copyIn(ring_, at + sizeof chunk,
                       static_cast<const std::byte*>(data.data) + data.chunk->offset, size);
                written_.store(at + static_cast<std::uint32_t>(sizeof chunk) + size,
                               std::memory_order_release);
            }
        }
        pw_stream_queue_buffer(stream_.get(), buffer);
    }
    ready_.signal();
}

void AudioCaptureStream::handOn() {
    for (;;) {
        const std::uint32_t at = read_.load(std::memory_order_relaxed);
        if (at == written_.load(std::memory_order_acquire)) return;
        Chunk chunk;
        copyOut(ring_, at, &chunk, sizeof chunk);
        auto sound = std::make_shared<AudioBuffer>();
        sound->format = {static_cast<int>(sampleRate), channels_, true};
        sound->bytes.resize(chunk.frames * sound->format.bytesPerFrame());
        const auto size = static_cast<std::uint32_t>(sound->bytes.size());
        copyOut(ring_, at + sizeof chunk, sound->bytes.data(), size);
        read_.store(at + static_cast<std::uint32_t>(sizeof chunk) + size, std::memory_order_release);
        const double measured = static_cast<double>(chunk.time) / static_cast<double>(second);
        if (const auto time = clock_.place(measured, sound->duration()))
            receive_({MediaTime::fromSeconds(*time, nanosecondTimescale), nullptr, std::move(sound)});
    }
}

}  // namespace platform::pipewire
