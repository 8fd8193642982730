#pragma once

#include "Cobaltreel/Export/ExportOptions.hpp"
#include "Cobaltreel/Export/FrameComposer.hpp"
#include "Cobaltreel/Export/FrameSource.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/TrimMath.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"
#include "Platform/Media/MediaService.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace cobaltreel {

/// Turns one finished session folder into one composed movie. One object serves one export: create it,
/// set `onProgress`, call `exportMovie` on a thread that nobody waits for to stay
/// responsive.
class ExportRenderer {
  public:
    /// The pipeline's own failures; those of files, readers and writers pass through as they come.
    class Error : public std::runtime_error {
      public:
        enum class Kind { setup, cancelled };
        static Error setup(const std::string& stage) { return {Kind::setup, stage}; }
        static Error cancelled() { return {Kind::cancelled, "cancelled"}; }
        Kind kind() const { return kind_; }

      private:
        Error(Kind kind, const std::string& what) : std::runtime_error(what), kind_(kind) {}
        Kind kind_;
    };

    /// Unless the options ask for others.
    static constexpr int framesPerSecond = 30;

    ExportRenderer(SessionFolder folder, SessionMeta meta, std::shared_ptr<platform::MediaService> media,
                   std::shared_ptr<platform::VisionService> vision);
    ~ExportRenderer();

    /// Progress from 0 to 1, after every written frame; called on the export's thread.
    std::function<void(double)> onProgress;
    /// Set on any thread to give up the run under way; read once a frame and while waiting for the encoder.
    std::atomic<bool> cancelled{false};

    /// Runs the export and returns when the movie is complete at `options.outputPath`, on the disk. Throws
    /// `Error`, or what the platform threw; what stood there before then still stands, and nothing else is
    /// left. A request of `stop` sets `cancelled`, also one that was made before the run.
    void exportMovie(const ExportOptions& options, std::stop_token stop = {});

    /// Output frames of a kept span of `duration` seconds: at least one.
    static std::int64_t frameCount(double duration, int rate = framesPerSecond);
    /// The clicks of a session's log in output time, restricted to the kept span.
    static std::vector<Click> clicksInOutputTime(const EventLog& log, const SessionMeta& meta,
                                                 double trimStart, double trimEnd);

    /// Fills `preparedClicks` and `zoomMoves`, which `exportMovie` does by itself, too.
    void planClicksAndZoom(const ExportOptions& options);
    const std::vector<Click>& preparedClicks() const { return preparedClicks_; }
    const std::vector<CameraMove>& zoomMoves() const { return zoomMoves_; }

  private:
    struct Run;
    std::unique_ptr<platform::AssetReader> openScreen(const ExportOptions& options);
    std::unique_ptr<platform::AssetReader> openCamera(const ExportOptions& options,
                                                      const ExportTiming& timing);
    std::unique_ptr<platform::AssetReader> openAudioMix(const ExportOptions& options,
                                                        const ExportTiming& timing);
    std::vector<platform::Chapter> chapters(const ExportOptions& options) const;
    void runFrames(Run& run);
    void appendAudio(Run& run, double limit);
    void drainAudio(Run& run);
    void finish(Run& run);

    SessionFolder folder_;
    SessionMeta meta_;
    std::shared_ptr<platform::MediaService> media_;
    std::shared_ptr<platform::VisionService> vision_;
    std::vector<Click> preparedClicks_;
    std::vector<CameraMove> zoomMoves_;
};

}  // namespace cobaltreel
