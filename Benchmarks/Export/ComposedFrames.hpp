#pragma once

#include "Platform/Media/MediaService.hpp"

#include <filesystem>
#include <memory>

namespace cobaltreel::benchmarks {

/// A media service whose writers keep the pictures that they are given, one i420 frame after the other
/// without gaps, and drop the sound. Everything else is `media`'s.
std::shared_ptr<platform::MediaService> keepingFrames(std::shared_ptr<platform::MediaService> media);

/// A file of such frames, mapped into memory. Throws std::runtime_error when it cannot be read.
class ComposedFrames {
  public:
    ComposedFrames(const std::filesystem::path& file, int width, int height);
    ~ComposedFrames();
    ComposedFrames(const ComposedFrames&) = delete;
    ComposedFrames& operator=(const ComposedFrames&) = delete;

    std::int64_t count() const { return count_; }
    /// Frame `index`, which must not outlive this.
    platform::ConstPixelBufferRef at(std::int64_t index) const;

  private:
    int width_, height_;
    std::size_t frameBytes_;
    std::int64_t count_ = 0;
    std::size_t bytes_ = 0;
    std::uint8_t* memory_ = nullptr;
};

}  // namespace cobaltreel::benchmarks
