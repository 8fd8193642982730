#pragma once

#include "Platform/Media/MediaService.hpp"

#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>

namespace rig {

/// Writes a movie as recordings are written. Throws what the writer says when that fails.
class MovieMaker {
  public:
    /// `first`: the host-clock time of the movie's beginning, seconds.
    MovieMaker(platform::MediaService& media, const std::filesystem::path& path,
               std::optional<platform::VideoSettings> video, std::optional<platform::AudioSettings> audio,
               double first)
        : writer_(media.makeWriter(path, platform::FileType::quickTimeMovie)), first_(first) {
        if (video) video->expectsMediaDataInRealTime = true;
        if (video) pictures_ = &writer_->addVideoInput(*video);
        if (audio) sounds_ = &writer_->addAudioInput(*audio);
        if (!writer_->startWriting()) throw *writer_->error();
        writer_->startSession(platform::MediaTime::fromSeconds(first, timescale));
    }

    /// Times count from the movie's beginning.
    void add(double time, platform::ConstPixelBufferRef picture) {
        append(*pictures_, {at(time), std::move(picture), nullptr});
    }
    void add(double time, std::shared_ptr<platform::AudioBuffer> sound) {
        append(*sounds_, {at(time), nullptr, std::move(sound)});
    }
    /// Brings what there is onto the disk, as a recording does again and again.
    void flushUntil(double time) {
        std::optional<platform::MediaTime> end;
        while (!end || end->seconds() < first_ + time) end = writer_->flush();
    }
    void finish() {
        std::promise<void> finished;
        writer_->finishWriting([&finished] { finished.set_value(); });
        finished.get_future().wait();
        if (const auto error = writer_->error()) throw *error;
    }

  private:
    static constexpr int timescale = 90000;

    platform::MediaTime at(double time) const {
        return platform::MediaTime::fromSeconds(first_ + time, timescale);
    }
    void append(platform::AssetWriterInput& input, const platform::SampleBuffer& sample) {
        while (!input.waitUntilReady(0.1) && writer_->status() == platform::AssetWriter::Status::writing) {
        }
        if (input.append(sample)) return;
        if (const auto error = writer_->error()) throw *error;
        throw std::runtime_error("a made movie could not be written");
    }

    std::unique_ptr<platform::AssetWriter> writer_;
    double first_;
    platform::AssetWriterInput* pictures_ = nullptr;
    platform::AssetWriterInput* sounds_ = nullptr;
};

}  // namespace rig
