#include "Platform/Media/FFmpeg/AudioMixer.hpp"

#include <algorithm>
#include <cmath>

namespace platform::ffmpeg {
namespace {

std::int64_t frames(double seconds) { return std::llround(seconds * mixSampleRate); }

}  // namespace

AudioMixer::AudioMixer(const Composition& composition) : frameCount_(frames(composition.duration())) {
    for (const Composition::Track& track : composition.tracks()) {
        if (track.type() != MediaType::audio) continue;
        for (const Composition::Segment& segment : track.segments())
            segments_.push_back(
                {frames(segment.start), frames(segment.start + segment.source.duration()),
                 frames(segment.source.start),
                 std::make_unique<AudioTrackDecoder>(segment.asset->path(), segment.track.index)});
    }
}

void AudioMixer::read(std::int64_t position, std::span<float> target) {
    std::ranges::fill(target, 0.0F);
    const std::int64_t end = position + static_cast<std::int64_t>(target.size() / mixChannels);
    for (Segment& segment : segments_) {
        const std::int64_t from = std::max(position, segment.start), to = std::min(end, segment.end);
        if (from >= to) continue;
        segment.decoder->addFrames(segment.sourceStart + from - segment.start,
                                   target.subspan(static_cast<std::size_t>((from - position) * mixChannels),
                                                  static_cast<std::size_t>((to - from) * mixChannels)));
    }
    for (float& sample : target) sample = std::clamp(sample, -1.0F, 1.0F);
}

std::optional<PlatformError> AudioMixer::error() const {
    for (const Segment& segment : segments_)
        if (const auto& error = segment.decoder->error()) return error;
    return std::nullopt;
}

void AudioMixer::interrupt() {
    for (Segment& segment : segments_) segment.decoder->interrupt();
}

}  // namespace platform::ffmpeg
