#include "Platform/Media/FFmpeg/H264Stream.hpp"

#include <algorithm>
#include <utility>

namespace platform::ffmpeg {
namespace {

constexpr int highProfile = 100;
constexpr std::uint8_t nonKeySlice = 0x41;  // referred to, type 1
constexpr std::uint32_t allSlicesAreP = 5;

}  // namespace

Bytes avcConfiguration(std::span<const std::uint8_t> sequenceSet, std::span<const std::uint8_t> pictureSet) {
    Bytes record{1, sequenceSet[1], sequenceSet[2], sequenceSet[3], 0xff, 0xe1};
    const auto append = [&](std::span<const std::uint8_t> set) {
        record.push_back(static_cast<std::uint8_t>(set.size() >> 8));
        record.push_back(static_cast<std::uint8_t>(set.size()));
        record.insert(record.end(), set.begin(), set.end());
    };
    append(sequenceSet);
    record.push_back(1);
    append(pictureSet);
    // 4:2:0, eight bits of luma and chroma, no further sets.
    if (sequenceSet[1] == highProfile) record.insert(record.end(), {0xfd, 0xf8, 0xf8, 0});
    return record;
}

std::optional<H264Stream> H264Stream::of(std::span<const std::uint8_t> sequenceSet,
                                         std::span<const std::uint8_t> pictureSet) {
    if (sequenceSet.size() < 5 || pictureSet.size() < 2) return std::nullopt;
    H264Stream stream;
    const Bytes sequence = unescaped(sequenceSet.subspan(1)), picture = unescaped(pictureSet.subspan(1));

    BitReader s(sequence);
    const std::uint32_t profile = s.bits(8);
    s.bits(16);  // constraints, level
    bool fits = s.number() == 0;
    if (profile == highProfile) {
        s.number();                     // chroma format
        s.number();                     // depth of luma
        s.number();                     // of chroma
        s.bits(1);                      // lossless
        fits = s.bits(1) == 0 && fits;  // no matrices follow
    } else {
        constexpr std::uint32_t baseline = 66, main = 77;
        fits = (profile == baseline || profile == main) && fits;
    }
    stream.frameNumberBits_ = static_cast<int>(s.number()) + 4;
    constexpr std::uint32_t orderOfDecoding = 2;
    fits = s.number() == orderOfDecoding && fits;
    fits = s.number() == 1 && fits;  // one picture is referred to
    s.bits(1);                       // gaps
    const std::uint32_t columns = s.number() + 1, rows = s.number() + 1;
    stream.blocks_ = columns * rows;
    fits = s.bits(1) == 1 && fits;  // no fields

    BitReader p(picture);
    fits = p.number() == 0 && p.number() == 0 && fits;
    fits = p.bits(1) == 0 && p.bits(1) == 0 && fits;    // variable-length coding, no order of its own
    fits = p.number() == 0 && p.number() == 0 && fits;  // one group of slices, one reference
    p.number();                                         // references of B slices
    fits = p.bits(1) == 0 && fits;                      // no weights
    p.bits(2);                                          // of B slices
    for (int i = 0; i < 3; ++i) p.number();             // quantisers
    stream.hasDeblockingControl_ = p.bits(1) == 1;
    p.bits(1);                      // intra prediction
    fits = p.bits(1) == 0 && fits;  // no redundant pictures
    return fits ? std::optional(stream) : std::nullopt;
}

Bytes H264Stream::repetition(int frameNumber) const {
    BitWriter slice;
    slice.number(0);  // first block
    slice.number(allSlicesAreP);
    slice.number(0);  // picture set
    slice.bits(static_cast<std::uint32_t>(frameNumber), frameNumberBits_);
    slice.bits(0, 1);                            // as many references as the set says
    slice.bits(0, 1);                            // in their order
    slice.bits(0, 1);                            // the oldest leaves
    slice.number(0);                             // quantiser
    if (hasDeblockingControl_) slice.number(1);  // no filter
    slice.number(blocks_);                       // skipped
    slice.bits(1, 1);                            // the end
    Bytes unit{nonKeySlice};
    appendEscaped(unit, slice.bytes());
    return unit;
}

void H264Stream::setFrameNumber(Bytes& unit, int frameNumber) const {
    // The number lies in the first few bytes. What follows a byte that takes no part in escaping stays.
    constexpr std::ptrdiff_t header = 10;
    if (static_cast<std::ptrdiff_t>(unit.size()) < 2) return;
    const auto from =
        unit.begin() + std::min<std::ptrdiff_t>(header, static_cast<std::ptrdiff_t>(unit.size()));
    auto end = std::find_if(from, unit.end(), [](std::uint8_t byte) { return byte > 3; });
    if (end != unit.end()) ++end;
    Bytes head = unescaped({unit.data() + 1, static_cast<std::size_t>(end - unit.begin() - 1)});
    BitReader reader(head);
    for (int i = 0; i < 3; ++i) reader.number();  // first block, type, picture set
    for (int i = 0; i < frameNumberBits_; ++i) {
        const std::size_t place = reader.place() + static_cast<std::size_t>(i);
        if (place / 8 >= head.size()) return;
        const auto mask = static_cast<std::uint8_t>(0x80 >> place % 8);
        const bool bit = (static_cast<std::uint32_t>(frameNumber) >> (frameNumberBits_ - 1 - i) & 1) != 0;
        head[place / 8] = static_cast<std::uint8_t>(bit ? head[place / 8] | mask : head[place / 8] & ~mask);
    }
    Bytes numbered{unit.front()};
    numbered.reserve(unit.size() + 4);
    appendEscaped(numbered, head);
    numbered.insert(numbered.end(), end, unit.end());
    unit = std::move(numbered);
}

}  // namespace platform::ffmpeg
