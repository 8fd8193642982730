#pragma once

#include "Platform/Imaging/Resampler.hpp"
#include "Platform/Imaging/Tile.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace platform::imaging {

/// What a render keeps for the next one: blocks of pixels and the resampler with its weights.
/// One thread at a time.
class RenderMemory {
    struct Block {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t size = 0;
    };

  public:
    /// A block in use; goes back when it is dropped.
    class Lease {
      public:
        Lease(RenderMemory& home, Block block) : home_(&home), block_(std::move(block)) {}
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease() { home_->giveBack(std::move(block_)); }

        /// Contents are unspecified.
        std::uint8_t* data() const { return block_.bytes.get(); }

      private:
        RenderMemory* home_;
        Block block_;
    };

    Lease take(std::size_t bytes);
    Resampler& resampler() { return resampler_; }

  private:
    void giveBack(Block block) noexcept;

    std::vector<Block> idle_;
    std::size_t out_ = 0;
    Resampler resampler_;
};

/// A blank tile over borrowed memory.
struct ScratchTile {
    ScratchTile(RenderMemory& memory, const PixelBox& rect, int channels);

    RenderMemory::Lease lease;
    Tile tile;
};

}  // namespace platform::imaging
