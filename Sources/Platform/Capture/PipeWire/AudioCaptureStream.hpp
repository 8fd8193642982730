#pragma once

#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Capture/PipeWire/TimestampSmoother.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace platform::pipewire {

/// Takes sound from the graph as 48 kHz float. The graph's own thread copies it, with its time, into a ring
/// and is never kept waiting; the connection's loop hands it on. Created, used and destroyed with the
/// connection's lock held.
class AudioCaptureStream {
  public:
    /// How many samples of sound may wait for their receiver.
    static constexpr std::size_t samplesWaiting = 64;

    struct Setup {
        std::string name;    ///< shown in the desktop's mixer
        std::string target;  ///< node to record; empty: the node that is linked to the stream
        int channels = 1;
    };
    using Receiver = std::function<void(SampleBuffer)>;

    /// `failed` is called when the server refuses or ends the stream; the owner then destroys it, but not in
    /// the call. Throws PlatformError when the stream cannot be made.
    AudioCaptureStream(PipeWireConnection& connection, const Setup& setup, Receiver receive,
                       std::function<void(const std::string& reason)> failed);
    ~AudioCaptureStream();
    AudioCaptureStream(const AudioCaptureStream&) = delete;
    AudioCaptureStream& operator=(const AudioCaptureStream&) = delete;

    /// Of the stream in the graph; absent until the server has announced it.
    std::optional<std::uint32_t> nodeID() const;

  private:
    struct Chunk {
        std::int64_t time = 0;  ///< host clock of the first frame, nanoseconds
        std::uint32_t frames = 0;
    };
    void takeFromGraph();
    void handOn();

    static constexpr std::uint32_t ringBytes = 1U << 20;  // 2.7 s of stereo

    int channels_;
    Receiver receive_;
    std::function<void(const std::string&)> failed_;
    std::vector<std::byte> ring_;
    std::atomic<std::uint32_t> written_{0};  // advanced by the graph's thread
    std::atomic<std::uint32_t> read_{0};     // advanced by the loop
    TimestampSmoother clock_;
    LoopEvent ready_;
    bool isEnding_ = false;
    StreamHandle stream_;
    Hook hook_;
};

}  // namespace platform::pipewire
