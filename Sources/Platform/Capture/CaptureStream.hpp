#pragma once

#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace platform {

/// A whole display, less the windows of some applications.
struct DisplayContentFilter {
    Display display;
    std::vector<RunningApplication> excludingApplications;
};
/// One window, wherever it is and whatever covers it.
struct WindowContentFilter {
    Window window;
};
using ContentFilter = std::variant<DisplayContentFilter, WindowContentFilter>;

struct StreamConfiguration {
    int width = 0;  ///< pixels of the delivered frames
    int height = 0;
    MediaTime minimumFrameInterval{1, 60};
    bool showsCursor = true;
    bool capturesAudio = false;
    int sampleRate = 48000;
    int channelCount = 2;
    bool excludesCurrentProcessAudio = true;
    PixelFormat pixelFormat = PixelFormat::bgra;
    /// Pictures may come as i420 (BT.709, limited range) instead, which encoders take as they are.
    bool acceptsPlanar = false;
    int queueDepth = 8;  ///< frames in flight; with all of them held, new frames are dropped
};

/// Code of PlatformError("ScreenCapture") for content that has gone, as a window does that is closed or a
/// display that is unplugged: the recording ends there and lacks nothing.
inline constexpr int contentVanished = 4;

/// Code of PlatformError("ScreenCapture") for a stream that is asked for what it does not do.
inline constexpr int badConfiguration = 7;

/// `complete`: new picture content. The others carry no picture to be recorded.
enum class FrameStatus { complete = 0, idle = 1, blank = 2, suspended = 3, started = 4, stopped = 5 };
enum class StreamOutputType { screen, audio };

struct CapturedSample {
    SampleBuffer buffer;                ///< presentation time on the host clock
    std::optional<FrameStatus> status;  ///< pictures only
    /// New pictures that were lost since the sample before, because all frames in flight were held.
    std::uint32_t droppedBefore = 0;
};

/// A running capture. Frames come only when the content (or the pointer) changed, at most one per
/// `minimumFrameInterval`, the first one at once.
class CaptureStream {
  public:
    using OutputHandler = std::function<void(const CapturedSample&)>;

    virtual ~CaptureStream() = default;
    /// Delivers samples of one type on `queue`, which outlives the stream. Before `startCapture`; throws
    /// PlatformError for a second handler of one type.
    virtual void addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) = 0;
    /// Begins without blocking; `done` is called once, on a thread of the stream's, with the error or none.
    virtual void startCapture(std::function<void(std::optional<PlatformError>)> done) = 0;
    /// Ends without blocking. After `done` no handler is running and none is called again.
    virtual void stopCapture(std::function<void(std::optional<PlatformError>)> done) = 0;
};

/// Codes of PlatformError("ScreenCapture") for a decision of the user.
enum UserDecision {
    choiceCancelled = 20,  ///< the desktop's own dialog was closed without a choice
    choiceRefused = 21,    ///< the desktop, or the user for good, does not allow it
    sharingEnded = 22,     ///< of a running stream: ended by the desktop's own means
};

/// What the user has chosen in a dialog of the desktop. While it lives the content is just that, and streams
/// are made of it; a stream outlives it.
class ContentGrant {
  public:
    virtual ~ContentGrant() = default;
};

/// Screen capture of the host.
class ScreenCaptureService {
  public:
    /// How this host differs from one that lists what there is.
    struct Traits {
        bool asksUser = false;  ///< a dialog of the desktop chooses; the lists hold stand-ins until then
        bool excludesWindows = true;  ///< applications can be left out of a display's picture
    };
    using Granted = std::function<void(std::optional<PlatformError>, std::shared_ptr<ContentGrant>)>;

    virtual ~ScreenCaptureService() = default;
    virtual Traits traits() const = 0;
    /// Lets the user choose what is recorded, where the desktop wants that. `contentID` is that of the
    /// stand-in that was selected. `done` is called once on the main thread, at once and with no grant where
    /// nobody is asked. Main thread.
    virtual void requestContent(ContentKind kind, std::uint32_t contentID, Granted done) = 0;
    /// Throws PlatformError when the display server cannot be reached or refuses.
    virtual ShareableContent shareableContent() = 0;
    /// `onStopped` is called once, on a thread of the stream's, when a running stream dies by itself. Content
    /// that no longer exists is an error of the stream's start. Throws PlatformError for a configuration that
    /// cannot be had.
    virtual std::unique_ptr<CaptureStream> makeStream(
        const ContentFilter& filter, const StreamConfiguration& configuration,
        std::function<void(const PlatformError&)> onStopped) = 0;
    virtual std::string implementation() const = 0;
};

}  // namespace platform
