#pragma once

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Media/FFmpeg/WriterInput.hpp"

#include <memory>
#include <vector>

namespace platform::ffmpeg {

/// Writes a movie file: encoders on a thread each, one file that they share.
class FFmpegWriter final : public AssetWriter {
  public:
    /// Throws PlatformError when the file cannot be created.
    FFmpegWriter(const std::filesystem::path& path, FileType type);
    ~FFmpegWriter() override;

    AssetWriterInput& addVideoInput(const VideoSettings& settings) override;
    AssetWriterInput& addAudioInput(const AudioSettings& settings) override;
    void setChapters(const std::vector<Chapter>& chapters) override;
    bool startWriting() override;
    void startSession(MediaTime atSourceTime) override { state_.startSession(atSourceTime); }
    Status status() const override { return state_.status(); }
    std::optional<PlatformError> error() const override { return state_.error(); }
    std::optional<MediaTime> flush() override;
    void finishWriting(std::function<void()> done) override;
    void cancelWriting() override;

  private:
    void finish();
    void joinInputs();

    WriterState state_;
    std::vector<std::unique_ptr<WriterInput>> inputs_;
    NamedThread finisher_;
};

}  // namespace platform::ffmpeg
