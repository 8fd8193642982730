#pragma once

#include "Platform/Capture/PipeWire/AudioCaptureStream.hpp"
#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Capture/SampleGate.hpp"
#include "Platform/Capture/SystemAudio.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace platform::pipewire {

/// Records every program's playback before it reaches a speaker, by linking each one to a stream of its
/// own. So it makes no difference which speaker is the default one, or that it changes, and what this
/// process plays is simply not linked.
class PipeWireSystemAudio final : public SystemAudioSource, private GraphListener {
  public:
    explicit PipeWireSystemAudio(std::shared_ptr<PipeWireConnection> connection);
    ~PipeWireSystemAudio() override;

    void start(SerialQueue& queue, SampleHandler handler) override;
    void stop() override;

  private:
    struct Link;
    using PortPair = std::pair<std::uint32_t, std::uint32_t>;  // output, input

    void graphChanged() override;
    void disconnected() override;
    void openStream();
    /// The links that there should be right now.
    std::set<PortPair> wantedLinks() const;
    bool isRecorded(const Node& node) const;
    void makeLink(const PortPair& ports);

    std::shared_ptr<PipeWireConnection> connection_;

    // With the loop's lock held.
    bool running_ = false;
    bool hasFailed_ = false;
    std::unique_ptr<SampleGate<SampleBuffer>> gate_;
    std::unique_ptr<AudioCaptureStream> stream_;
    std::map<PortPair, std::unique_ptr<Link>> links_;
    std::unique_ptr<LoopEvent> retry_;
    std::unique_ptr<LoopEvent> relink_;
};

}  // namespace platform::pipewire
