// Sound for tests: a microphone (a PipeWire source of its own) or a program that plays to the speaker,
// beeping at given instants of the host clock. Runs until a signal ends it; prints a line when it is there.
#include "Rig/RigEvents.hpp"
#include "Rig/RigStream.hpp"
#include "Rig/RigUrgency.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include <CLI/CLI.hpp>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace {

struct Options {
    bool isMicrophone = false;
    bool isSpeaker = false;
    bool onlyFirstChannel = false;
    std::string name;
    std::string description;
    int rate = 48000;
    int channels = 1;
    double pitch = 1000;    // Hz
    double loudness = 0.5;  // of a beep, 0…1
    std::string processID;  // to be seen as a part of another program
    RigEvents events;
};

class Tone final : public rig::RigStream {
  public:
    explicit Tone(Options options) : options_(std::move(options)) {}

    int run() {
        pw_properties* props =
            pw_properties_new(PW_KEY_NODE_NAME, options_.name.c_str(), PW_KEY_NODE_DESCRIPTION,
                              options_.description.c_str(), nullptr);
        if (!options_.processID.empty())
            pw_properties_set(props, PW_KEY_APP_PROCESS_ID, options_.processID.c_str());
        unsigned flags = PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
        if (options_.isMicrophone) {
            pw_properties_set(props, PW_KEY_MEDIA_CLASS, "Audio/Source");
            // As hardware has: before any speaker's own sound, which session managers offer as a source too.
            pw_properties_set(props, "priority.session", "2000");
        } else {
            pw_properties_set(props, PW_KEY_MEDIA_TYPE, "Audio");
            pw_properties_set(props, PW_KEY_MEDIA_CATEGORY, "Playback");
            flags |= PW_STREAM_FLAG_AUTOCONNECT;
        }
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), memory.size());
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = static_cast<std::uint32_t>(options_.rate);
        format.channels = static_cast<std::uint32_t>(options_.channels);
        setPositions(format);
        return RigStream::run(options_.name.c_str(), props, flags,
                              spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format));
    }

  private:
    static void setPositions(spa_audio_info_raw& format) {
        static constexpr std::array<std::uint32_t, 6> surround{SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR,
                                                               SPA_AUDIO_CHANNEL_FC, SPA_AUDIO_CHANNEL_LFE,
                                                               SPA_AUDIO_CHANNEL_SL, SPA_AUDIO_CHANNEL_SR};
        for (std::uint32_t i = 0; i < format.channels && i < surround.size(); ++i)
            format.position[i] = surround[i];
        if (format.channels == 1) format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    }

    /// On the graph's thread. A beep begins with the sample that is taken (by a microphone) or heard (from
    /// the speaker) at the instant.
    void onProcess() override {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream());
        if (buffer == nullptr) return;
        spa_data& data = buffer->buffer->datas[0];
        const std::uint32_t frameBytes = static_cast<std::uint32_t>(options_.channels) * sizeof(float);
        std::uint32_t frames = data.data == nullptr ? 0 : data.maxsize / frameBytes;
        if (buffer->requested > 0)
            frames = std::min<std::uint32_t>(frames, static_cast<std::uint32_t>(buffer->requested));
        pw_time time{};
        pw_stream_get_time_n(stream(), &time, sizeof time);
        double first =
            static_cast<double>(time.now) * 1e-9 + static_cast<double>(time.buffered) / options_.rate;
        if (time.rate.denom > 0) first += static_cast<double>(time.delay) * time.rate.num / time.rate.denom;
        auto* samples = static_cast<float*>(data.data);
        for (std::uint32_t i = 0; i < frames; ++i) {
            const double now = first + static_cast<double>(i) / options_.rate;
            const auto beep = options_.events.since(now);
            const double loudness = beep ? options_.loudness : 0.01;  // a quiet hum between beeps
            // A cosine: a beep begins at full height.
            const double phase = 2 * std::numbers::pi * options_.pitch * beep.value_or(std::fmod(now, 1.0));
            for (int channel = 0; channel < options_.channels; ++channel)
                *samples++ = options_.onlyFirstChannel && channel > 0
                                 ? 0.0F
                                 : static_cast<float>(loudness * std::cos(phase));
        }
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(frameBytes);
        data.chunk->size = frames * frameBytes;
        pw_stream_queue_buffer(stream(), buffer);
    }

    Options options_;
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App arguments;
    arguments.add_flag("--microphone", options.isMicrophone);
    arguments.add_flag("--speaker", options.isSpeaker);
    arguments.add_flag("--only-first-channel", options.onlyFirstChannel);
    arguments.add_option("--name", options.name);
    arguments.add_option("--description", options.description);
    arguments.add_option("--rate", options.rate);
    arguments.add_option("--channels", options.channels);
    arguments.add_option("--pitch", options.pitch);
    arguments.add_option("--loudness", options.loudness);
    arguments.add_option("--at", options.events.instants)->delimiter(',');
    arguments.add_option("--every", options.events.every);
    arguments.add_option("--process-id", options.processID);
    CLI11_PARSE(arguments, argc, argv);
    if (options.isMicrophone == options.isSpeaker || options.rate <= 0 || options.channels <= 0) {
        std::fprintf(stderr, "RigTone: say --microphone or --speaker, with a rate and channels above zero\n");
        return 2;
    }
    if (options.name.empty()) options.name = options.isMicrophone ? "rig.microphone" : "rig.player";
    if (options.description.empty())
        options.description = options.isMicrophone ? "Rig Microphone" : "Rig Player";
    rig::becomeUrgent();
    pw_init(&argc, &argv);
    return Tone(options).run();
}
