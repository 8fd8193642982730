#pragma once

#include "Platform/Media/AssetReader.hpp"

#include <memory>
#include <optional>

namespace cobaltreel {

/// Steps through a movie's frames along the output timeline: at output time t the current frame is the
/// latest whose time is not after t, and when the movie runs out its last frame stays.
class FrameSource {
  public:
    /// `reader` has started; `origin` is the movie time, in seconds, of output time 0.
    FrameSource(std::unique_ptr<platform::AssetReader> reader, double origin);

    /// Moves on to output time `t` (seconds; never smaller than before). Waits for the decoder.
    void advance(double t);

    /// Why the movie broke off before its end; absent while it did not.
    std::optional<platform::PlatformError> error() const;

    /// Null until the first frame's time has come.
    const platform::ConstPixelBufferRef& current() const { return current_; }

  private:
    struct Pending {
        platform::ConstPixelBufferRef image;
        double time;
    };
    std::unique_ptr<platform::AssetReader> reader_;
    double origin_;
    platform::ConstPixelBufferRef current_;
    std::optional<Pending> pending_;
    bool finished_ = false;
};

}  // namespace cobaltreel
