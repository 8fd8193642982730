#pragma once

#include <cstdint>

#include <spa/param/audio/format-utils.h>

namespace platform::pipewire {

/// The one format that a stream offers: interleaved 32-bit floats, mono or stereo. Lies in the builder's
/// memory.
inline const spa_pod* soundFormat(spa_pod_builder& builder, std::uint32_t rate, std::uint32_t channels) {
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = rate;
    format.channels = channels;
    format.position[0] = channels == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
}

}  // namespace platform::pipewire
