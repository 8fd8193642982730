#include "Platform/Media/FFmpeg/BitStream.hpp"

#include <bit>

namespace platform::ffmpeg {

Bytes unescaped(std::span<const std::uint8_t> escaped) {
    Bytes bytes;
    bytes.reserve(escaped.size());
    int zeros = 0;
    for (const std::uint8_t byte : escaped) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

void appendEscaped(Bytes& unit, std::span<const std::uint8_t> bytes) {
    int zeros = 0;
    for (const std::uint8_t byte : bytes) {
        if (zeros >= 2 && byte <= 3) {
            unit.push_back(3);
            zeros = 0;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        unit.push_back(byte);
    }
}

void appendWithStartCode(Bytes& bytes, std::span<const std::uint8_t> unit) {
    bytes.insert(bytes.end(), {0, 0, 0, 1});
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

std::uint32_t BitReader::bits(int count) {
    std::uint32_t value = 0;
    for (; count > 0; --count, ++place_)
        value = value << 1 | (place_ / 8 < bytes_.size() ? bytes_[place_ / 8] >> (7 - place_ % 8) & 1 : 0);
    return value;
}

std::uint32_t BitReader::number() {
    int zeros = 0;
    while (zeros < 31 && bits(1) == 0) ++zeros;
    return (1U << zeros) - 1 + bits(zeros);
}

int BitReader::signedNumber() {
    const std::uint32_t code = number();
    const auto magnitude = static_cast<int>((code + 1) / 2);
    return code % 2 == 1 ? magnitude : -magnitude;
}

void BitWriter::bits(std::uint32_t value, int count) {
    while (count-- > 0) {
        if (used_ % 8 == 0) bytes_.push_back(0);
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (value >> count & 1) << (7 - used_ % 8));
        ++used_;
    }
}

void BitWriter::number(std::uint32_t value) {
    const auto length = static_cast<int>(std::bit_width(value + 1));
    bits(0, length - 1);
    bits(value + 1, length);
}

void BitWriter::signedNumber(int value) {
    number(value > 0 ? 2 * static_cast<std::uint32_t>(value) - 1 : 2 * static_cast<std::uint32_t>(-value));
}

}  // namespace platform::ffmpeg
