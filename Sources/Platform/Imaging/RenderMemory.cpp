#include "Platform/Imaging/RenderMemory.hpp"

#include <algorithm>
#include <utility>

namespace platform::imaging {

RenderMemory::Lease RenderMemory::take(std::size_t bytes) {
    // The smallest block that is large enough; otherwise the largest makes room for a larger one, so
    // that blocks grow to what a frame needs instead of piling up.
    std::size_t chosen = idle_.size();
    for (std::size_t i = 0; i < idle_.size(); ++i) {
        if (chosen == idle_.size()) {
            chosen = i;
            continue;
        }
        const bool fits = idle_[i].size >= bytes, chosenFits = idle_[chosen].size >= bytes;
        if (fits == chosenFits
                ? (fits ? idle_[i].size < idle_[chosen].size : idle_[i].size > idle_[chosen].size)
                : fits)
            chosen = i;
    }
    // Blocks come back in destructors: room for them must exist beforehand.
    idle_.reserve(idle_.size() + out_ + 1);
    Block block;
    if (chosen < idle_.size()) {
        block = std::move(idle_[chosen]);
        idle_.erase(idle_.begin() + static_cast<std::ptrdiff_t>(chosen));
    }
    if (block.size < bytes) {
        block.bytes.reset();
        block.size = 0;
        block.bytes.reset(new std::uint8_t[bytes]);
        block.size = bytes;
    }
    ++out_;
    return {*this, std::move(block)};
}

void RenderMemory::giveBack(Block block) noexcept {
    --out_;
    idle_.push_back(std::move(block));
}

ScratchTile::ScratchTile(RenderMemory& memory, const PixelBox& rect, int channels)
    : lease(memory.take(static_cast<std::size_t>(rect.width()) * static_cast<std::size_t>(rect.height()) *
                        static_cast<std::size_t>(channels))),
      tile{rect, lease.data(), rect.width() * channels, channels} {}

}  // namespace platform::imaging
