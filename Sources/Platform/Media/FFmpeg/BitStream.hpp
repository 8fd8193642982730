#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace platform::ffmpeg {

using Bytes = std::vector<std::uint8_t>;

/// Bytes of a unit of H.264 or HEVC without those that keep start codes from appearing in it.
Bytes unescaped(std::span<const std::uint8_t> escaped);
/// Appends bytes to a unit, and what keeps start codes from appearing in them.
void appendEscaped(Bytes& unit, std::span<const std::uint8_t> bytes);

void appendWithStartCode(Bytes& bytes, std::span<const std::uint8_t> unit);

/// Reads fields of bits, the highest first. The bytes must outlive it.
class BitReader {
  public:
    explicit BitReader(const Bytes& bytes) : bytes_(bytes) {}

    /// Past the end everything is 0.
    std::uint32_t bits(int count);
    /// An unsigned number in Exp-Golomb code.
    std::uint32_t number();
    int signedNumber();
    /// In bits.
    std::size_t place() const { return place_; }

  private:
    const Bytes& bytes_;
    std::size_t place_ = 0;
};

/// Writes fields of bits, the highest first.
class BitWriter {
  public:
    void bits(std::uint32_t value, int count);
    /// In Exp-Golomb code.
    void number(std::uint32_t value);
    void signedNumber(int value);
    /// The last byte is filled with zeros.
    const Bytes& bytes() const { return bytes_; }

  private:
    Bytes bytes_;
    std::size_t used_ = 0;  // bits
};

}  // namespace platform::ffmpeg
