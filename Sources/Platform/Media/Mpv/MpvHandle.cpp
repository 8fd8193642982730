#include "Platform/Media/Mpv/MpvHandle.hpp"

#include "Platform/Media/AudioMix.hpp"

#include <clocale>
#include <cstring>
#include <filesystem>
#include <utility>

namespace platform::mpv {
namespace {

/// The library refuses to work unless the C library writes numbers with a point. Qt takes the user's
/// locale at start; of it only this category changes, and Qt's own formatting does not look there.
void requirePointInNumbers() {
    const char* current = std::setlocale(LC_NUMERIC, nullptr);
    if (!current || std::strcmp(current, "C") != 0) std::setlocale(LC_NUMERIC, "C");
}

/// Where sound is offered, best first; silence at the right pace comes last. Without a sound card ALSA is
/// left out, because its library complains on standard error.
std::string soundOutputs() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/snd", error))
        if (entry.path().filename().string().starts_with("pcm")) return "pipewire,pulse,alsa,null";
    return "pipewire,pulse,null";
}

}  // namespace

HandlePtr makeHandle() {
    requirePointInNumbers();
    HandlePtr handle(mpv_create());
    if (!handle)
        throw PlatformError("libmpv", MPV_ERROR_GENERIC,
                            "Movies cannot be played: libmpv cannot be started. Install libmpv2 again.");
    const std::pair<const char*, std::string> options[] = {
        {"config", "no"},
        {"load-scripts", "no"},
        {"ytdl", "no"},
        {"terminal", "no"},
        {"idle", "yes"},
        {"vid", "no"},
        {"vo", "null"},
        {"audio-client-name", "Cobaltreel"},
        {"ao", soundOutputs()},
        {"audio-fallback-to-null", "yes"},
        {"cache", "no"},
        {"demuxer", "rawaudio"},
        {"demuxer-rawaudio-format", "floatle"},
        {"demuxer-rawaudio-rate", std::to_string(AudioMix::sampleRate)},
        {"demuxer-rawaudio-channels", std::to_string(AudioMix::channels)},
        {"hr-seek", "yes"},
        {"keep-open", "yes"},
        {"pause", "yes"},
    };
    for (const auto& [name, value] : options)
        if (const int result = mpv_set_option_string(handle.get(), name, value.c_str()); result < 0)
            throw libraryError(
                result, std::string("Movies cannot be played: libmpv does not take the option ") + name);
    if (const int result = mpv_initialize(handle.get()); result < 0)
        throw libraryError(result, "Movies cannot be played: libmpv cannot be started");
    return handle;
}

PlatformError libraryError(int code, const std::string& sentence) {
    return PlatformError("libmpv", code, sentence + ": " + mpv_error_string(code) + ".");
}

}  // namespace platform::mpv
