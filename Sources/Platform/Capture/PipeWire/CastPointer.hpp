#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstdint>
#include <optional>
#include <vector>

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
    /// Draws it into a bgra plane whose top left is at (`originX`, `originY`) of the stream.
    void draw(const Plane& plane, int originX, int originY) const;

  private:
    bool readShape(const spa_meta_cursor& meta, std::size_t size);

    std::optional<Position> position_;
    int hotX_ = 0;
    int hotY_ = 0;
    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint32_t> pixels_;  // premultiplied bgra
};

}  // namespace platform::pipewire
