#include "Ear.hpp"

#include "Platform/Capture/PipeWire/SoundFormat.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace cobaltreel::benchmarks {
namespace {

constexpr double nanoseconds = 1e9;
constexpr double window = 0.02;  // seconds
constexpr float silence = 0.01F;

}  // namespace

Ear::Ear(platform::pipewire::PipeWireConnection& connection, const std::string& speaker)
    : connection_(connection) {
    const platform::pipewire::LoopLock lock(connection_.threadLoop());
    if (!connection_.isConnected()) throw std::runtime_error("there is no media server to hear");
    stream_.reset(
        pw_stream_new(connection_.core(), "ear",
                      pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture",
                                        PW_KEY_STREAM_CAPTURE_SINK, "true", "target.object", speaker.c_str(),
                                        PW_KEY_NODE_DONT_RECONNECT, "true", nullptr)));
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* self) { static_cast<Ear*>(self)->listen(); };
        return table;
    }();
    hook_ = std::make_unique<platform::pipewire::Hook>();
    pw_stream_add_listener(stream_.get(), hook_->get(), &events, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* params[] = {platform::pipewire::soundFormat(builder, sampleRate, 1)};
    constexpr auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
    if (pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, params, 1) < 0)
        throw std::runtime_error(speaker + " cannot be heard");
}

Ear::~Ear() {
    const platform::pipewire::LoopLock lock(connection_.threadLoop());
    pw_stream_disconnect(stream_.get());
    hook_.reset();
    stream_.reset();
}

void Ear::listen() {
    pw_time time{};
    if (pw_stream_get_time_n(stream_.get(), &time, sizeof time) != 0 || time.rate.denom == 0) return;
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get())) {
        const spa_data& data = buffer->buffer->datas[0];
        const auto* first = static_cast<const float*>(data.data) + data.chunk->offset / sizeof(float);
        const std::size_t count = data.chunk->size / sizeof(float);
        const double delay = static_cast<double>(time.delay) * time.rate.num / time.rate.denom;
        {
            const std::lock_guard lock(mutex_);
            chunks_.push_back({static_cast<double>(time.now) / nanoseconds - delay, {first, first + count}});
        }
        pw_stream_queue_buffer(stream_.get(), buffer);
    }
}

std::optional<double> Ear::frequencyAt(double hostTime) const {
    const std::lock_guard lock(mutex_);
    std::vector<float> samples;
    const double from = hostTime - window;
    const auto wanted = static_cast<std::size_t>(2 * window * sampleRate);
    for (const Chunk& chunk : chunks_) {
        const double end = chunk.at + static_cast<double>(chunk.samples.size()) / sampleRate;
        if (end < from || samples.size() >= wanted) continue;
        if (samples.empty() && chunk.at > from) return std::nullopt;
        const auto skip = static_cast<std::size_t>(
            samples.empty() ? std::min<double>((from - chunk.at) * sampleRate, double(chunk.samples.size()))
                            : 0);
        samples.insert(samples.end(), chunk.samples.begin() + static_cast<std::ptrdiff_t>(skip),
                       chunk.samples.end());
    }
    if (samples.size() < wanted) return std::nullopt;
    samples.resize(wanted);
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(wanted / 2);
    const auto before = frequencyIn({samples.begin(), middle}), after = frequencyIn({middle, samples.end()});
    constexpr double steady = 30;  // hertz between the halves
    if (!before || !after || std::abs(*before - *after) > steady) return std::nullopt;
    return (*before + *after) / 2;
}

/// By the distance between the first rise through zero and the last.
std::optional<double> Ear::frequencyIn(const std::vector<float>& samples) {
    if (std::ranges::max(samples) < silence) return std::nullopt;
    double first = 0, last = 0;
    int rises = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (samples[i - 1] >= 0 || samples[i] < 0) continue;
        last = static_cast<double>(i) - samples[i] / (samples[i] - samples[i - 1]);
        if (rises++ == 0) first = last;
    }
    if (rises < 3) return std::nullopt;
    return (rises - 1) * sampleRate / (last - first);
}

}  // namespace cobaltreel::benchmarks
