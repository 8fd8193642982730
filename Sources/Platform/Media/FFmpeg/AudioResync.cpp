#include "Platform/Media/FFmpeg/AudioResync.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::ffmpeg {
namespace {

// Steps of the source's times smaller than this are jitter or drift, larger ones are real.
constexpr double largestDriftSeconds = 0.05;
// Capture times jitter by milliseconds from run to run; only their average tells the drift.
constexpr double smoothingSeconds = 2;
// An offset is made up over this long: 1 ms changes the pitch by an eightieth of a percent. A clock
// that is 100 ppm off is followed 0.8 ms behind.
constexpr double correctionSeconds = 8;

// Full scale is 1; what is this far beyond it is a fault, not sound.
constexpr float loudest = 8;

constexpr const char* sentence = "The sound cannot be converted";

}  // namespace

AudioResync::AudioResync(int sampleRate, int channels, bool followsDrift, std::function<void()> onOutput)
    : sampleRate_(sampleRate),
      channels_(channels),
      followsDrift_(followsDrift),
      onOutput_(std::move(onOutput)),
      output_(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, sampleRate)) {
    if (!output_) throw std::bad_alloc();
}

void AudioResync::openResampler(const AudioFormat& format) {
    AVChannelLayout source{}, target{};
    av_channel_layout_default(&source, format.channels);
    av_channel_layout_default(&target, channels_);
    SwrContext* context = nullptr;
    check(swr_alloc_set_opts2(&context, &target, AV_SAMPLE_FMT_FLTP, sampleRate_, &source,
                              format.isFloat ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S16, format.sampleRate, 0,
                              nullptr),
          sentence);
    resampler_.reset(context);
    if (format.channels == 1 && channels_ == 2) {
        constexpr std::array<double, 2> full{1, 1};
        check(swr_set_matrix(context, full.data(), 1), sentence);
    }
    if (followsDrift_) {
        av_opt_set_int(context, "flags", SWR_FLAG_RESAMPLE, 0);
        av_opt_set_int(context, "linear_interp", 1, 0);
    }
    check(swr_init(context), sentence);
    format_ = format;
    drift_ = 0;
}

double AudioResync::delay() const {
    return resampler_ ? static_cast<double>(swr_get_delay(resampler_.get(), sampleRate_)) : 0;
}

void AudioResync::add(const AudioBuffer& buffer, double time) {
    auto frames = static_cast<std::int64_t>(buffer.frameCount());
    if (frames == 0) return;
    if (format_ != buffer.format) {
        drain();
        openResampler(buffer.format);
    }
    const double sourceRate = buffer.format.sampleRate;
    const double wanted = time * sampleRate_;
    const double offset = wanted - (static_cast<double>(position_) + delay());
    const double largestDrift = largestDriftSeconds * sampleRate_;
    std::int64_t cut = 0;  // frames of the source
    if (!first_) {
        if (time < 0) cut = static_cast<std::int64_t>(std::ceil(-time * sourceRate));
        if (cut >= frames) return;
        position_ = std::llround(wanted + static_cast<double>(cut) * sampleRate_ / sourceRate);
        first_ = position_;
    } else if (offset > largestDrift) {
        drain();
        addSilence(std::llround(wanted) - position_);
        openResampler(buffer.format);
    } else if (offset < -largestDrift || (overlapping_ && offset < 0)) {
        cut = static_cast<std::int64_t>(std::ceil(-offset / sampleRate_ * sourceRate));
        overlapping_ = cut >= frames;
        if (overlapping_) return;
    } else if (followsDrift_) {
        trackDrift(offset, buffer.duration());
    }
    const auto skipped = static_cast<std::size_t>(cut) * buffer.format.bytesPerFrame();
    convert(reinterpret_cast<const std::uint8_t*>(buffer.bytes.data()) + skipped,
            static_cast<int>(frames - cut));
}

void AudioResync::trackDrift(double offset, double runSeconds) {
    drift_ += (offset - drift_) * std::min(1.0, runSeconds / smoothingSeconds);
    const int distance = static_cast<int>(correctionSeconds * sampleRate_);
    check(swr_set_compensation(resampler_.get(), static_cast<int>(std::lround(drift_)), distance), sentence);
}

/// Converts frames of the source, or with null what the resampler holds.
void AudioResync::convert(const std::uint8_t* data, int frames) {
    const int room = swr_get_out_samples(resampler_.get(), frames);
    if (room <= 0) return;
    std::vector<float> samples(static_cast<std::size_t>(room) * static_cast<std::size_t>(channels_));
    std::vector<std::uint8_t*> planes(static_cast<std::size_t>(channels_));
    for (std::size_t i = 0; i < planes.size(); ++i)
        planes[i] = reinterpret_cast<std::uint8_t*>(samples.data() + i * static_cast<std::size_t>(room));
    const int made =
        check(swr_convert(resampler_.get(), planes.data(), room, data ? &data : nullptr, frames), sentence);
    if (made == 0) return;
    // Some programs play what is no number, and the encoder gives up at it.
    for (float& sample : samples)
        sample = std::isfinite(sample) ? std::clamp(sample, -loudest, loudest) : 0.0F;
    check(av_audio_fifo_write(output_.get(), reinterpret_cast<void**>(planes.data()), made), sentence);
    position_ += made;
    onOutput_();
}

void AudioResync::drain() {
    if (resampler_) convert(nullptr, 0);
    resampler_.reset();
    format_.reset();
}

void AudioResync::addSilence(std::int64_t frames) {
    std::vector<float> silence(static_cast<std::size_t>(sampleRate_));
    const std::vector<void*> planes(static_cast<std::size_t>(channels_), silence.data());
    while (frames > 0) {
        const int count = static_cast<int>(std::min<std::int64_t>(frames, sampleRate_));
        check(av_audio_fifo_write(output_.get(), const_cast<void**>(planes.data()), count), sentence);
        position_ += count;
        frames -= count;
        onOutput_();
    }
}

}  // namespace platform::ffmpeg
