#pragma once

#include "Platform/Foundation/MediaTime.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace platform {

enum class MediaType { video, audio };

/// Interleaved linear PCM: 32-bit floats (-1…1) or signed 16-bit integers, machine byte order.
struct AudioFormat {
    int sampleRate = 48000;
    int channels = 2;
    bool isFloat = true;

    std::size_t bytesPerFrame() const { return static_cast<std::size_t>(channels) * (isFloat ? 4 : 2); }
    friend bool operator==(const AudioFormat&, const AudioFormat&) = default;
};

struct AudioBuffer {
    AudioFormat format;
    std::vector<std::byte> bytes;

    std::size_t frameCount() const { return bytes.size() / format.bytesPerFrame(); }
    double duration() const { return static_cast<double>(frameCount()) / format.sampleRate; }
    /// The samples of a float buffer.
    std::span<const float> floats() const {
        return {reinterpret_cast<const float*>(bytes.data()), bytes.size() / sizeof(float)};
    }
    std::span<float> floats() {
        return {reinterpret_cast<float*>(bytes.data()), bytes.size() / sizeof(float)};
    }
};

/// A timed picture or a timed run of sound; exactly one of the two is present in a valid buffer.
/// Never changed once it has been handed on.
struct SampleBuffer {
    MediaTime presentationTime;
    ConstPixelBufferRef image;
    std::shared_ptr<const AudioBuffer> audio;

    bool isValid() const { return (image != nullptr) != (audio != nullptr); }
};

}  // namespace platform
