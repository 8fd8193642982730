#include "Platform/Media/FFmpeg/AudioMixReader.hpp"

#include <algorithm>
#include <utility>

namespace platform::ffmpeg {
namespace {

constexpr std::int64_t runFrames = 1024;
constexpr std::size_t runsAhead = 16;  // a third of a second

}  // namespace

AudioMixReader::AudioMixReader(Composition composition)
    : DecodeAheadReader(runsAhead, "decode.mix"), composition_(std::move(composition)) {}

AudioMixReader::~AudioMixReader() { stop(); }

void AudioMixReader::interrupt() {
    if (mixer_) mixer_->interrupt();
}

void AudioMixReader::prepare() { mixer_.emplace(composition_); }

void AudioMixReader::produce() {
    const std::int64_t total = mixer_->frameCount();
    for (std::int64_t position = 0; position < total && !isStopped(); position += runFrames) {
        auto audio = std::make_shared<AudioBuffer>();
        const auto count = static_cast<std::size_t>(std::min(runFrames, total - position));
        audio->format = {mixSampleRate, mixChannels, true};
        audio->bytes.resize(count * audio->format.bytesPerFrame());
        mixer_->read(position, audio->floats());
        if (!deliver({MediaTime{position, mixSampleRate}, nullptr, std::move(audio)})) return;
    }
    if (const auto error = mixer_->error()) throw PlatformError(*error);
}

}  // namespace platform::ffmpeg
