#pragma once

#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace cobaltreel::benchmarks {

/// Hears what one speaker plays and when, from start to end.
class Ear {
  public:
    /// `speaker` is the name of its node. Throws std::runtime_error when it cannot be heard.
    Ear(platform::pipewire::PipeWireConnection& connection, const std::string& speaker);
    ~Ear();

    /// The frequency heard around a time of the host clock, hertz; absent in silence and where it jumps.
    std::optional<double> frequencyAt(double hostTime) const;

  private:
    static constexpr int sampleRate = 48000;
    struct Chunk {
        double at;  ///< host clock, seconds
        std::vector<float> samples;
    };
    void listen();
    static std::optional<double> frequencyIn(const std::vector<float>& samples);

    platform::pipewire::PipeWireConnection& connection_;
    mutable std::mutex mutex_;
    std::vector<Chunk> chunks_;
    platform::pipewire::StreamHandle stream_;
    std::unique_ptr<platform::pipewire::Hook> hook_;
};

}  // namespace cobaltreel::benchmarks
