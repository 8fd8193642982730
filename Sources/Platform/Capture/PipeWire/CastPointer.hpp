#pragma once

#include "Platform/Capture/Frames/CursorImage.hpp"

#include <cstdint>
#include <optional>

struct spa_meta_cursor;

namespace platform::pipewire {

/// The pointer of a screen cast, as the metadata of its buffers tell it. What they say is believed only as
/// far as it lies inside the metadata's own memory.
class CastPointer {
  public:
    /// The largest side of a pointer's picture that is drawn, in pixels; what is larger keeps the last
    /// picture.
    static constexpr int largestSide = 1024;

    struct Position {
        int x = 0;
        int y = 0;
        friend bool operator==(const Position&, const Position&) = default;
    };

    /// Takes note of one buffer's metadata, `size` bytes in all. True when pointer or picture changed.
    bool update(const spa_meta_cursor& meta, std::size_t size);
    /// In pixels of the stream; absent while the pointer is not on it.
    std::optional<Position> position() const { return position_; }
    /// Empty while it has no picture.
    const CursorImage& image() const { return image_; }

  private:
    bool readShape(const spa_meta_cursor& meta, std::size_t size);

    std::optional<Position> position_;
    CursorImage image_;
};

}  // namespace platform::pipewire
