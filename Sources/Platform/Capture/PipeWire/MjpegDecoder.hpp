#pragma once

#include "Platform/Capture/PipeWire/PictureConverter.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace platform::pipewire {

/// Decodes a camera's JPEG pictures, each on its own. One thread.
class MjpegDecoder {
  public:
    MjpegDecoder();
    ~MjpegDecoder();

    /// The picture, which is valid until the next call; absent when it is damaged.
    std::optional<RawPicture> decode(std::span<const std::uint8_t> bytes);

  private:
    struct Handles;
    std::unique_ptr<Handles> handles_;
};

}  // namespace platform::pipewire
