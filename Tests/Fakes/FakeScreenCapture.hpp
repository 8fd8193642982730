#pragma once

#include "Platform/Capture/CaptureStream.hpp"

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A fake stream as its test sees it. Stays valid after the owner of the stream has let go of it.
/// Safe on any thread, but not inside an output handler.
class FakeStream {
  public:
    ContentFilter filter;
    StreamConfiguration configuration;

    /// How often the owner asked the stream to stop.
    int stopRequests() const;

    /// Hands a sample to its handler on the handler's queue and waits until it has been handled. False,
    /// and nothing happens, when the stream does not run or nobody listens to this type.
    bool deliver(StreamOutputType type, const CapturedSample& sample);
    /// Delivers a picture of the configured size (plain gray, or `picture`) at `seconds` of the host clock.
    bool deliverFrame(double seconds, std::optional<FrameStatus> status = FrameStatus::complete,
                      ConstPixelBufferRef picture = nullptr);
    /// Delivers `frames` frames of silence in the configured audio format.
    bool deliverAudio(double seconds, std::size_t frames = 1024);
    /// The stream dies by itself: nothing is delivered after, `onStopped` is told once.
    void stopByItself(const PlatformError& error);

    /// Lets a start (or stop) that the service holds back finish. True when one was waiting.
    bool finishStart();
    bool finishStop();

  private:
    friend class FakeScreenCapture;
    friend class FakeStreamHandle;
    using Done = std::function<void(std::optional<PlatformError>)>;
    struct Output {
        SerialQueue* queue = nullptr;
        CaptureStream::OutputHandler handler;
    };

    bool finish(Done& waiting, bool runs, const std::optional<PlatformError>& error);

    mutable std::mutex mutex_;
    std::mutex delivery_;  // held while a handler runs, so that stopping can wait for it
    bool running_ = false;
    int stopRequests_ = 0;
    std::array<Output, 2> outputs_;
    std::function<void(const PlatformError&)> onStopped_;
    std::optional<PlatformError> startError_;
    std::optional<PlatformError> stopError_;
    bool holdsStart_ = false;
    bool holdsStop_ = false;
    Done waitingStart_;
    Done waitingStop_;
};

/// A screen capture service whose content, streams and failures are scripted by a test. Deterministic: the
/// `done` callbacks run before the call returns, on the calling thread, unless they are held back.
class FakeScreenCapture final : public ScreenCaptureService {
  public:
    // The script; each error, while present, is what the operation fails with.
    ShareableContent content;
    Traits hostTraits;
    std::optional<PlatformError> grantError;
    std::optional<PlatformError> contentError;
    std::optional<PlatformError> makeStreamError;
    std::optional<PlatformError> startError;
    std::optional<PlatformError> stopError;
    bool holdsStart = false;  ///< starts wait for `FakeStream::finishStart`
    bool holdsStop = false;   ///< stops wait for `FakeStream::finishStop`

    /// Every stream made so far, the newest last.
    std::vector<std::shared_ptr<FakeStream>> streams;

    /// How often the user was asked, and what for.
    std::vector<ContentKind> grantRequests;
    /// Of the grant that was given last; expired once nobody holds it.
    std::weak_ptr<ContentGrant> grant;

    Traits traits() const override { return hostTraits; }
    void requestContent(ContentKind kind, std::uint32_t contentID, Granted done) override;
    ShareableContent shareableContent() override;
    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const StreamConfiguration& configuration,
                                              std::function<void(const PlatformError&)> onStopped) override;
    std::string implementation() const override { return "fake"; }
};

}  // namespace platform
