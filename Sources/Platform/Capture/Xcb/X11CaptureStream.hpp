#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/FrameOutput.hpp"
#include "Platform/Capture/Xcb/CaptureSource.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace platform {

/// A stream that takes pictures on a thread and a connection of its own. The thread sleeps until the server
/// reports a change; it ends with the stream. Callbacks must not destroy the stream.
class X11CaptureStream final : public CaptureStream {
  public:
    using SourceMaker =
        std::function<std::unique_ptr<CaptureSource>(XcbConnection&, const StreamConfiguration&)>;

    X11CaptureStream(std::string displayName, const StreamConfiguration& configuration,
                     SourceMaker makeSource, std::function<void(const PlatformError&)> onStopped);
    ~X11CaptureStream() override;

    void addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) override;
    void startCapture(std::function<void(std::optional<PlatformError>)> done) override;
    void stopCapture(std::function<void(std::optional<PlatformError>)> done) override;

  private:
    using Done = std::function<void(std::optional<PlatformError>)>;

    void run(const Done& started);
    void capture(const Done& started, bool& hasStarted);
    void takePictures(XcbConnection& connection, CaptureSource& source);
    bool isStopping();
    void requestStop();
    /// Sleeps until a stop is requested, the connection has something to say (unless `quietly`) or the
    /// host clock reads `until` (0: no limit).
    void sleep(const XcbConnection* connection, bool quietly, double until);
    void waitForStop();

    const std::string displayName_;
    const StreamConfiguration configuration_;
    const SourceMaker makeSource_;
    const std::function<void(const PlatformError&)> onStopped_;
    FrameOutput output_;

    std::mutex mutex_;
    bool isStarted_ = false;
    bool isStopping_ = false;
    bool hasEnded_ = false;
    int socket_ = -1;  // of the connection while there is one, so that stopping can break a wait for replies
    std::vector<Done> waitingForEnd_;

    UniqueFd wake_;
    NamedThread thread_;
};

}  // namespace platform
