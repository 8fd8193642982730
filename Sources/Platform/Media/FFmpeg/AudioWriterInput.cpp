#include "Platform/Media/FFmpeg/AudioWriterInput.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <new>
#include <vector>

namespace platform::ffmpeg {
namespace {

/// Seconds of sound that may wait. In real time the sound that ends a long silence waits until the encoder
/// has been through that silence: about four seconds for every twenty minutes of it.
double queueLength(const AudioSettings& settings) { return settings.expectsMediaDataInRealTime ? 30 : 2; }

/// Declares that nothing precedes the sound. Where something does, some versions of the library write WebM's
/// sound as early as that, and others do not.
void leavePrimingOut(AVCodecContext& encoder) {
    constexpr int preSkipOffset = 10;  // in the head of an Opus stream, two bytes
    if (encoder.extradata_size < preSkipOffset + 2) return;
    encoder.extradata[preSkipOffset] = encoder.extradata[preSkipOffset + 1] = 0;
    encoder.initial_padding = 0;
}

/// Fills the frame from the queue, whose channels lie apart.
void readInterleaved(AVAudioFifo* waiting, AVFrame& frame) {
    const auto channels = static_cast<std::size_t>(frame.ch_layout.nb_channels);
    const auto count = static_cast<std::size_t>(frame.nb_samples);
    std::vector<float> apart(channels * count);
    std::vector<void*> planes;
    for (std::size_t c = 0; c < channels; ++c) planes.push_back(apart.data() + c * count);
    av_audio_fifo_read(waiting, planes.data(), frame.nb_samples);
    auto* together = reinterpret_cast<float*>(frame.data[0]);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t c = 0; c < channels; ++c) *together++ = apart[c * count + i];
}

}  // namespace

const AVCodec* audioEncoder(AudioCodec codec) {
    // FFmpeg's own encoder for Opus is an experiment.
    return codec == AudioCodec::opus ? avcodec_find_encoder_by_name("libopus")
                                     : avcodec_find_encoder(AV_CODEC_ID_AAC);
}

std::string nameOf(AudioCodec codec) { return codec == AudioCodec::opus ? "Opus" : "AAC"; }

AudioWriterInput::AudioWriterInput(WriterState& state, const AudioSettings& settings)
    : WriterInput(state, queueLength(settings), "encode.audio"),
      settings_(settings),
      conformer_(settings.sampleRate, settings.channels, settings.expectsMediaDataInRealTime,
                 [this] { encodeFrames(encoder_->frame_size); }) {}

void AudioWriterInput::open() {
    const std::string sentence = "The encoder for " + nameOf(settings_.codec) + " sound does not open";
    const AVCodec* codec = audioEncoder(settings_.codec);
    if (!codec) throw libraryError(AVERROR_ENCODER_NOT_FOUND, sentence);
    encoder_.reset(avcodec_alloc_context3(codec));
    if (!encoder_) throw std::bad_alloc();
    encoder_->sample_fmt = settings_.codec == AudioCodec::opus ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
    encoder_->sample_rate = settings_.sampleRate;
    av_channel_layout_default(&encoder_->ch_layout, settings_.channels);
    encoder_->bit_rate = settings_.bitRate;
    encoder_->time_base = {1, settings_.sampleRate};
    if (state_.muxer.wantsGlobalHeaders()) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(encoder_.get(), codec, nullptr), sentence);
    if (settings_.codec == AudioCodec::opus) leavePrimingOut(*encoder_);
    track_ = state_.muxer.addTrack(*encoder_);
}

bool AudioWriterInput::accepts(const SampleBuffer& sample) const {
    return sample.audio && sample.audio->format.sampleRate > 0 && sample.audio->format.channels > 0;
}

void AudioWriterInput::encode(const SampleBuffer& sample, double time) {
    conformer_.add(*sample.audio, time);
}

void AudioWriterInput::encodeRest() {
    conformer_.finish();
    encodeFrames(1);
    feedEncoder(nullptr);
}

/// The encoder's first packet primes the decoder and begins before the sound. A fragmented file cannot hide
/// it: players would take its time for the movie's zero and show every picture 21 ms late. Without it the
/// first 21 ms of sound fade in; with Opus, 14.
bool AudioWriterInput::isWanted(const AVPacket& packet) {
    const bool hidesPriming = !state_.muxer.isFragmented() && settings_.codec != AudioCodec::opus;
    return hidesPriming || packet.pts >= conformer_.firstFrame().value_or(0);
}

/// Encodes full encoder frames while `atLeast` frames of sound are waiting.
void AudioWriterInput::encodeFrames(int atLeast) {
    AVAudioFifo* waiting = conformer_.output();
    while (av_audio_fifo_size(waiting) >= atLeast) {
        const FramePtr frame = makeFrame();
        frame->format = encoder_->sample_fmt;
        frame->sample_rate = settings_.sampleRate;
        frame->nb_samples = std::min(encoder_->frame_size, av_audio_fifo_size(waiting));
        check(av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout), "Sound cannot be encoded");
        check(av_frame_get_buffer(frame.get(), 0), "Sound cannot be encoded");
        if (encoder_->sample_fmt == AV_SAMPLE_FMT_FLT)
            readInterleaved(waiting, *frame);
        else
            av_audio_fifo_read(waiting, reinterpret_cast<void**>(frame->data), frame->nb_samples);
        frame->pts = *conformer_.firstFrame() + encodedFrames_;
        encodedFrames_ += frame->nb_samples;
        feedEncoder(frame.get());
    }
}

/// Gives a frame, or the end with null, to the encoder and what comes out to the file.
void AudioWriterInput::feedEncoder(const AVFrame* frame) {
    const std::string sentence = std::string("The encoder ") + encoder_->codec->name + " failed";
    check(avcodec_send_frame(encoder_.get(), frame), sentence);
    for (;;) {
        const int result = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        check(result, sentence);
        deliver(*packet_, encoder_->time_base);
    }
}

}  // namespace platform::ffmpeg
