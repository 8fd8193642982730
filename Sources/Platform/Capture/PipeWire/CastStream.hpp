#pragma once

#include "Platform/Capture/FrameOutput.hpp"
#include "Platform/Capture/Frames/FramePacer.hpp"
#include "Platform/Capture/PipeWire/CastFrames.hpp"
#include "Platform/Capture/PipeWire/CastPicture.hpp"
#include "Platform/Capture/PipeWire/CastPointer.hpp"
#include "Platform/Capture/PipeWire/CastShadow.hpp"
#include "Platform/Capture/PipeWire/Handles.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace platform::pipewire {

/// The pictures of one screen or window that a compositor shares. From the moment it is made the last picture
/// is at hand, so that a recording has its first frame at once, however still the screen is. Works on a loop
/// thread of its own ("cobaltreel.cast"); operations on any other thread.
class CastStream {
  public:
    struct Events {
        /// Once: a picture has come (no error), or the stream has failed before one did.
        std::function<void(std::optional<PlatformError>)> ready;
        /// Once, after `ready`: the stream has ended by itself.
        std::function<void(const PlatformError&)> ended;
    };

    /// `remote` is the connection that the desktop opened for us, `node` the stream's number there, of a
    /// display or a window. `screen` is told where the pointer is, in pixels of the pictures that are
    /// delivered. Throws PlatformError.
    CastStream(UniqueFd remote, std::uint32_t node, ContentKind kind, std::shared_ptr<CastScreen> screen,
               Events events);
    ~CastStream();
    CastStream(const CastStream&) = delete;
    CastStream& operator=(const CastStream&) = delete;

    /// Pixels of the picture that was ready.
    Size size() const;
    /// Begins delivering to `output`, which must not go before `stop`: the picture of now at once, or when
    /// the last of our own windows has left it.
    void start(const StreamConfiguration& configuration, FrameOutput& output);
    /// After it returns nothing is delivered.
    void stop();
    /// The desktop has ended the stream, whatever the media server says.
    void end(const PlatformError& error);

  private:
    void connect(UniqueFd remote, std::uint32_t node);
    void connectStream(std::uint32_t node);
    void onFormat(const spa_pod* param);
    void onBuffers();
    void onRemoved(const pw_buffer* buffer);
    void takePointer(const spa_buffer& buffer);
    /// Tells where the pointer was at that time, nanoseconds.
    void publishPointer(std::int64_t time);
    void deliverIfDue();
    void deliver();

    void fail(const PlatformError& error);
    void letGoOfPicture();

    const ContentKind kind_;
    const std::shared_ptr<CastScreen> screen_;
    Events events_;

    std::unique_ptr<pw_thread_loop, LoopDeleter> loop_;
    std::unique_ptr<pw_context, ContextDeleter> context_;
    // With the loop's lock held.
    std::unique_ptr<pw_core, CoreDeleter> core_;
    std::optional<ServerListener> server_;
    std::unique_ptr<Hook> streamHook_;
    StreamHandle stream_;
    std::unique_ptr<LoopEvent> due_;
    std::unique_ptr<LoopEvent> patience_;
    std::uint32_t node_ = 0;
    std::optional<CastFormat> format_;
    bool isReady_ = false;
    bool hasEnded_ = false;

    pw_buffer* held_ = nullptr;  // whose memory `picture_` points into
    std::optional<CastPicture> picture_;
    bool areChangesLost_ = false;   // of a picture that could not be used
    std::int64_t pictureTime_ = 0;  // nanoseconds; 0 once delivered
    CastShadow shadow_;
    CastPointer pointer_;

    // While frames are delivered.
    FrameOutput* output_ = nullptr;
    std::optional<CastFrames> frames_;
    std::optional<FramePacer> pacer_;
    bool showsCursor_ = true;
    double interval_ = 0;  // seconds
    double notBefore_ = 0;
    std::int64_t lastTime_ = 0;
    bool isPictureNew_ = false;
    bool isPointerNew_ = false;
};

}  // namespace platform::pipewire
