#pragma once

#include "Platform/Media/FFmpeg/BitStream.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace platform::ffmpeg {

/// The syntax of an HEVC stream in which every picture is one slice that refers to the picture before it:
/// enough of it to put pictures of our own between those of the encoder. Ours consist of slices, runs of
/// blocks (coding tree blocks, counted row by row), that either look as they did, here or elsewhere, or were
/// coded by themselves. Units are without start code.
class HevcStream {
  public:
    /// How blocks are coded. Slices can be moved between streams in which that is the same.
    struct Coding {
        int blockSide = 0;                     // pixels
        std::array<std::uint32_t, 6> tools{};  // sizes and depths of transforms, shapes, smoothing
        Bytes pictureSet;

        bool operator==(const Coding&) const = default;
    };
    /// A picture's place among the others.
    struct Place {
        int number = 0;    // pictures since the key picture, which is 0
        int distance = 1;  // back to the picture that it refers to
        int kept = 0;      // back to another that is still needed afterwards; 0: none
    };

    /// Reads the parameter sets. Absent where the stream has anything that is not written here: other
    /// references, filters across the borders of blocks, blocks of several sizes, tiles.
    static std::optional<HevcStream> of(std::span<const std::uint8_t> sequenceSet,
                                        std::span<const std::uint8_t> pictureSet);

    const Coding& coding() const { return coding_; }
    int columns() const { return columns_; }
    int rows() const { return rows_; }
    /// The most slices that a decoder of the stream's level takes in a picture.
    int maxSlices() const { return maxSlices_; }

    /// A slice of blocks that look as in the picture referred to, each so many pixels farther down (negative:
    /// up) in it.
    Bytes predicted(Place place, int firstBlock, std::span<const int> moved) const;
    /// A slice that refers to nothing, from the data of a key picture of another stream that has as many
    /// blocks in a row, coded with this quantiser.
    Bytes codedAlone(Place place, int firstBlock, int quantiser, std::span<const std::uint8_t> data) const;
    /// The data of a key picture's only slice.
    static Bytes keyPictureData(std::span<const std::uint8_t> unit);
    /// Gives an encoder's picture its place. False, and the unit as it was, if it isn't as described above.
    bool move(Bytes& unit, Place place) const;

  private:
    void beginSlice(BitWriter& slice, Place place, int firstBlock, std::uint32_t type) const;

    Coding coding_;
    int columns_ = 0;  // of blocks
    int rows_ = 0;
    int maxSlices_ = 0;
    int numberBits_ = 0;
    int initialQuantiser_ = 0;
};

}  // namespace platform::ffmpeg
