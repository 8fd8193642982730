#include "Platform/Media/FFmpeg/AudioTrackDecoder.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <array>
#include <cmath>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::ffmpeg {
namespace {

// A step of the time stamps larger than this begins a new run: above the rounding of containers that
// count milliseconds, below what an ear notices.
constexpr double runTolerance = 0.003;
// A decoder needs the frames before the wanted one to settle.
constexpr double prerollSeconds = 0.1;
// Skipping this far ahead is decoded through; anything farther is sought.
constexpr std::int64_t decodeThrough = 2 * mixSampleRate;

}  // namespace

AudioTrackDecoder::AudioTrackDecoder(const std::filesystem::path& path, int trackIndex) : input_(path) {
    input_.selectStream(trackIndex);
    decoder_ = input_.openDecoder();
}

std::int64_t AudioTrackDecoder::storedFrames() const {
    return static_cast<std::int64_t>(stored_.size() / mixChannels);
}

void AudioTrackDecoder::dropStored(std::int64_t frames) {
    stored_.erase(stored_.begin(), stored_.begin() + static_cast<std::ptrdiff_t>(frames * mixChannels));
    storedStart_ += frames;
}

void AudioTrackDecoder::addFrames(std::int64_t position, std::span<float> target) {
    if (position < nextPosition_ || position > nextPosition_ + decodeThrough) seek(position);
    auto remaining = static_cast<std::int64_t>(target.size() / mixChannels);
    nextPosition_ = position + remaining;
    while (remaining > 0) {
        if (position >= storedStart_ + storedFrames()) {
            dropStored(storedFrames());
            if (!fill()) return;
            continue;
        }
        if (position < storedStart_) {
            const std::int64_t silent = std::min(remaining, storedStart_ - position);
            target = target.subspan(static_cast<std::size_t>(silent * mixChannels));
            position += silent;
            remaining -= silent;
            continue;
        }
        dropStored(position - storedStart_);
        const std::int64_t count = std::min(remaining, storedFrames());
        const auto samples = static_cast<std::size_t>(count * mixChannels);
        for (std::size_t i = 0; i < samples; ++i) target[i] += stored_[i];
        dropStored(count);
        target = target.subspan(samples);
        position += count;
        remaining -= count;
    }
}

void AudioTrackDecoder::seek(std::int64_t position) {
    stored_.clear();
    storedStart_ = position;
    inRun_ = framePending_ = false;
    avcodec_flush_buffers(decoder_.get());
    atEnd_ = !input_.seek(std::max(0.0, static_cast<double>(position) / mixSampleRate - prerollSeconds));
}

/// Stores more of the track after what is stored; false when there is no more.
bool AudioTrackDecoder::fill() {
    if (isUnusable_) return false;
    if (framePending_) {
        startRun();
        return true;
    }
    if (!decodeFrame()) {
        if (!inRun_) return false;
        convert(nullptr);
        inRun_ = false;
        return true;
    }
    if (continuesRun()) {
        convert(frame_.get());
        return true;
    }
    framePending_ = true;
    if (inRun_) convert(nullptr);
    inRun_ = false;
    return true;
}

/// Decodes the next frame that has a time into `frame_`; false at the end. Damaged packets are left out.
bool AudioTrackDecoder::decodeFrame() {
    for (;;) {
        const int received = avcodec_receive_frame(decoder_.get(), frame_.get());
        if (received >= 0 && frame_->best_effort_timestamp != AV_NOPTS_VALUE && frame_->nb_samples > 0)
            return true;
        if (received >= 0 || received == AVERROR_INVALIDDATA) continue;
        if (received != AVERROR(EAGAIN) || atEnd_) return false;
        try {
            atEnd_ = !input_.read(*packet_);
        } catch (const PlatformError& error) {
            atEnd_ = true;
            if (!error_ && !isDamage(error)) error_ = error;
        }
        avcodec_send_packet(decoder_.get(), atEnd_ ? nullptr : packet_.get());
    }
}

bool AudioTrackDecoder::continuesRun() const {
    // The resampler was made for the run's kind of sound; a track may go on with another.
    if (!inRun_ || frame_->sample_rate != runRate_ || frame_->format != runFormat_ ||
        av_channel_layout_compare(&frame_->ch_layout, runLayout_.get()) != 0)
        return false;
    const double expected = runStart_ + static_cast<double>(runSourceFrames_) / frame_->sample_rate;
    return std::abs(input_.movieSeconds(frame_->best_effort_timestamp) - expected) <= runTolerance;
}

void AudioTrackDecoder::startRun() {
    framePending_ = false;
    try {
        prepareResampler(*frame_);
    } catch (const PlatformError&) {
        isUnusable_ = true;
        return;
    }
    inRun_ = true;
    runStart_ = input_.movieSeconds(frame_->best_effort_timestamp);
    runSourceFrames_ = 0;
    storedStart_ = std::llround(runStart_ * mixSampleRate);
    stored_.clear();
    convert(frame_.get());
}

void AudioTrackDecoder::prepareResampler(const AVFrame& frame) {
    const std::string sentence = "The sound of " + input_.path().string() + " cannot be converted";
    runRate_ = frame.sample_rate;
    runFormat_ = frame.format;
    check(av_channel_layout_copy(runLayout_.get(), &frame.ch_layout), sentence);
    AVChannelLayout stereo{};
    av_channel_layout_default(&stereo, mixChannels);
    AVChannelLayout source = frame.ch_layout;
    if (source.order == AV_CHANNEL_ORDER_UNSPEC) av_channel_layout_default(&source, source.nb_channels);
    SwrContext* context = nullptr;
    check(swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_FLT, mixSampleRate, &source,
                              static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr),
          sentence);
    resampler_.reset(context);
    if (frame.ch_layout.nb_channels == 1) {
        // One channel goes to both sides at full level; the library would lower it by 3 dB.
        constexpr std::array<double, mixChannels> full{1, 1};
        check(swr_set_matrix(context, full.data(), 1), sentence);
    }
    check(swr_init(context), sentence);
}

/// Converts a frame of the run, or with null what the resampler still holds, to the end of `stored_`.
void AudioTrackDecoder::convert(const AVFrame* frame) {
    const int sourceFrames = frame ? frame->nb_samples : 0;
    const int room = swr_get_out_samples(resampler_.get(), sourceFrames);
    if (room <= 0) return;
    const std::size_t before = stored_.size();
    stored_.resize(before + static_cast<std::size_t>(room) * mixChannels);
    auto* target = reinterpret_cast<std::uint8_t*>(stored_.data() + before);
    auto** source = frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
    const int made = swr_convert(resampler_.get(), &target, room, source, sourceFrames);
    stored_.resize(before + static_cast<std::size_t>(std::max(made, 0)) * mixChannels);
    runSourceFrames_ += sourceFrames;
}

}  // namespace platform::ffmpeg
