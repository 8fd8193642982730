#pragma once

#include "Platform/Capture/PipeWire/MjpegDecoder.hpp"
#include "Platform/Capture/PipeWire/PictureConverter.hpp"
#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <atomic>
#include <functional>
#include <string>

namespace platform::pipewire {

/// Takes a camera's pictures, converted to one size. Works on the connection's loop; created, used and
/// destroyed with its lock held.
class CameraStream {
  public:
    struct Setup {
        std::string name;  ///< shown in the desktop's own tools
        std::string target;
        int width = 1280;
        int height = 720;
        double maximumRate = 30;  ///< frames a second; of a faster camera every second, third, … is taken
    };
    struct Handlers {
        std::function<void(SampleBuffer)> receive;
        /// The server refuses or ends the stream; the owner then destroys it, but not in the call.
        std::function<void(const std::string& reason)> failed;
        /// Called once after a second or so of pictures that cannot be decoded.
        std::function<void()> unreadable;
    };

    /// Throws PlatformError when the stream cannot be made.
    CameraStream(PipeWireConnection& connection, const Setup& setup,
                 const std::vector<OfferedFormat>& offered, Handlers handlers);
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    void setMirrored(bool mirrored) { mirrored_ = mirrored; }

  private:
    void onFormat(const spa_pod* param);
    void onBuffers();
    void handle(const spa_buffer& buffer);
    std::optional<RawPicture> read(const spa_buffer& buffer);
    bool comesTooSoon(double time);

    Setup setup_;
    Handlers handlers_;
    PictureConverter converter_;
    std::optional<MjpegDecoder> decoder_;  // while the camera sends MJPEG
    PictureLayout layout_ = PictureLayout::yuy2;
    ColorMatrix matrix_ = ColorMatrix::bt601Limited;
    Size size_;
    bool fasterThanWanted_ = false;
    bool hasFormat_ = false;
    double lastTaken_ = 0;
    int unreadableInARow_ = 0;
    std::atomic<bool> mirrored_{false};
    bool isEnding_ = false;
    StreamHandle stream_;
    Hook hook_;
};

}  // namespace platform::pipewire
