#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/PipeWire/AudioCaptureStream.hpp"
#include "Platform/Capture/PipeWire/CameraStream.hpp"
#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Capture/SampleGate.hpp"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::pipewire {

/// Keeps one stream open for each device in use for as long as the device is there.
class PipeWireCaptureSession final : public CaptureSession, private GraphListener {
  public:
    explicit PipeWireCaptureSession(std::shared_ptr<PipeWireConnection> connection);
    ~PipeWireCaptureSession() override;

    void beginConfiguration() override;
    void commitConfiguration() override;
    void removeAllInputs() override;
    void removeAllOutputs() override;
    void setPreset(const Preset& preset) override;
    void addInput(const CaptureDevice& device) override;
    void addOutput(MediaType type, SerialQueue& queue, SampleHandler handler) override;
    void setVideoMirrored(bool mirrored) override;
    std::vector<CaptureDevice> inputs() const override;
    bool isRunning() const override;
    void startRunning() override;
    void stopRunning() override;
    void setEventHandler(std::function<void(const CaptureEvent&)> handler) override;

  private:
    struct Output {
        SerialQueue* queue = nullptr;
        SampleHandler handler;
    };
    struct Configuration {
        Preset preset;
        std::optional<CaptureDevice> camera;
        std::optional<CaptureDevice> microphone;
        std::array<Output, 2> outputs;
        bool mirrored = false;
    };
    /// A device in use. The stream is there while the device is.
    struct Input {
        std::optional<CaptureDevice> device;
        int node = 0;  ///< serial of the one that the stream records
        bool isLost = false;
        bool hasFailed = false;  ///< and is tried again after a while
        int attempts = 0;        ///< that failed since the device delivered last
    };
    struct Gates {
        std::unique_ptr<SampleGate<SampleBuffer>> video, audio;
    };

    void graphChanged() override;
    void disconnected() override;
    /// Opens and closes streams until they are what the configuration and the graph ask for. Not within a
    /// callback of a stream.
    void reconcile();
    void reconcileCamera();
    void reconcileMicrophone();
    /// The node to record, absent while the device is away; reports its loss and its return.
    const Node* presentNode(Input& input);
    void streamFailed(Input& input, const std::string& reason);
    void streamDelivered(Input& input);
    void notify(CaptureEvent::Kind kind, const CaptureDevice& device, const std::string& message);
    Gates makeGates() const;

    std::shared_ptr<PipeWireConnection> connection_;
    Configuration pending_;  // the configuring queue's

    // With the loop's lock held.
    Configuration current_;
    bool running_ = false;
    Input camera_, microphone_;
    Gates gates_;
    std::unique_ptr<CameraStream> cameraStream_;
    std::unique_ptr<AudioCaptureStream> microphoneStream_;
    std::unique_ptr<LoopEvent> retry_;
    std::function<void(const CaptureEvent&)> onEvent_;
};

}  // namespace platform::pipewire
