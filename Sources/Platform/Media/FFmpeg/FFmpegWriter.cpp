#include "Platform/Media/FFmpeg/FFmpegWriter.hpp"

#include "Platform/Media/FFmpeg/AudioWriterInput.hpp"
#include "Platform/Media/FFmpeg/VideoWriterInput.hpp"

#include <exception>
#include <utility>

namespace platform::ffmpeg {

FFmpegWriter::FFmpegWriter(const std::filesystem::path& path, FileType type) : state_(path, type) {}

FFmpegWriter::~FFmpegWriter() { cancelWriting(); }

AssetWriterInput& FFmpegWriter::addVideoInput(const VideoSettings& settings) {
    return *inputs_.emplace_back(std::make_unique<VideoWriterInput>(state_, settings));
}

AssetWriterInput& FFmpegWriter::addAudioInput(const AudioSettings& settings) {
    return *inputs_.emplace_back(std::make_unique<AudioWriterInput>(state_, settings));
}

void FFmpegWriter::setChapters(const std::vector<Chapter>& chapters) { state_.muxer.setChapters(chapters); }

bool FFmpegWriter::startWriting() {
    if (status() != Status::unknown) return false;
    try {
        for (const auto& input : inputs_) input->open();
        state_.muxer.begin();
    } catch (const PlatformError& problem) {
        state_.end(Status::failed, problem);
        state_.muxer.abandon();
        return false;
    }
    if (!state_.advance(Status::unknown, Status::writing)) return false;
    for (const auto& input : inputs_) input->start();
    return true;
}

std::optional<MediaTime> FFmpegWriter::flush() {
    const auto start = state_.sessionStart();
    if (!state_.isWriting() || !start) return std::nullopt;
    try {
        const auto end = state_.muxer.flush();
        return end ? std::optional(MediaTime::fromSeconds(start->seconds() + *end, nanosecondTimescale))
                   : std::nullopt;
    } catch (const PlatformError& problem) {
        state_.end(Status::failed, problem);
        return std::nullopt;
    }
}

void FFmpegWriter::finishWriting(std::function<void()> done) {
    finisher_ = NamedThread("movie.finish", [this, done = std::move(done)] {
        finish();
        done();
    });
}

void FFmpegWriter::finish() {
    for (const auto& input : inputs_) input->markAsFinished();
    joinInputs();
    if (state_.isWriting()) {
        try {
            state_.muxer.finish();
            state_.advance(Status::writing, Status::completed);
        } catch (const PlatformError& problem) {
            state_.end(Status::failed, problem);
        }
    }
    state_.muxer.abandon();
}

void FFmpegWriter::cancelWriting() {
    state_.end(Status::cancelled, std::nullopt);
    finisher_.join();
    joinInputs();
    state_.muxer.abandon();
}

void FFmpegWriter::joinInputs() {
    for (const auto& input : inputs_) input->join();
}

}  // namespace platform::ffmpeg
