#include "Platform/Media/FFmpeg/HevcStream.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace platform::ffmpeg {
namespace {

constexpr std::size_t unitHeader = 2;                     // bytes
constexpr std::array<std::uint8_t, 2> ordinary{0x02, 1};  // a picture that others may refer to, type 1
constexpr std::uint32_t aloneSlice = 2, predictedSlice = 1;
constexpr int quarters = 4;                       // motion is told in quarters of a pixel
constexpr std::uint32_t mostMergeCandidates = 5;  // of the standard; one is left
// Of the standard (9.3.4.3.2): what the less probable symbol takes of the range.
constexpr std::uint8_t lessProbable[64][4] = {
    {128, 176, 208, 240}, {128, 167, 197, 227}, {128, 158, 187, 216}, {123, 150, 178, 205},
    {116, 142, 169, 195}, {111, 135, 160, 185}, {105, 128, 152, 175}, {100, 122, 144, 166},
    {95, 116, 137, 158},  {90, 110, 130, 150},  {85, 104, 123, 142},  {81, 99, 117, 135},
    {77, 94, 111, 128},   {73, 89, 105, 122},   {69, 85, 100, 116},   {66, 80, 95, 110},
    {62, 76, 90, 104},    {59, 72, 86, 99},     {56, 69, 81, 94},     {53, 65, 77, 89},
    {51, 62, 73, 85},     {48, 59, 69, 80},     {46, 56, 66, 76},     {43, 53, 63, 72},
    {41, 50, 59, 69},     {39, 48, 56, 65},     {37, 45, 54, 62},     {35, 43, 51, 59},
    {33, 41, 48, 56},     {32, 39, 46, 53},     {30, 37, 43, 50},     {29, 35, 41, 48},
    {27, 33, 39, 45},     {26, 31, 37, 43},     {24, 30, 35, 41},     {23, 28, 33, 39},
    {22, 27, 32, 37},     {21, 26, 30, 35},     {20, 24, 29, 33},     {19, 23, 27, 31},
    {18, 22, 26, 30},     {17, 21, 25, 28},     {16, 20, 23, 27},     {15, 19, 22, 25},
    {14, 18, 21, 24},     {14, 17, 20, 23},     {13, 16, 19, 22},     {12, 15, 18, 21},
    {12, 14, 17, 20},     {11, 14, 16, 19},     {11, 13, 15, 18},     {10, 12, 15, 17},
    {10, 12, 14, 16},     {9, 11, 13, 15},      {9, 11, 12, 14},      {8, 10, 12, 14},
    {8, 9, 11, 13},       {7, 9, 11, 12},       {7, 9, 10, 12},       {7, 8, 10, 11},
    {6, 8, 9, 11},        {6, 7, 9, 10},        {6, 7, 8, 9},         {2, 2, 2, 2},
};

// The state of a probability after the less probable symbol (9.3.4.3.2.2).
constexpr std::uint8_t stateAfterSurprise[64] = {
    0,  0,  1,  2,  2,  4,  4,  5,  6,  7,  8,  9,  9,  11, 11, 12, 13, 13, 15, 15, 16, 16,
    18, 18, 19, 19, 21, 21, 22, 22, 23, 24, 24, 25, 26, 26, 27, 27, 28, 29, 29, 30, 30, 30,
    31, 32, 32, 33, 33, 33, 34, 34, 35, 35, 35, 36, 36, 36, 37, 37, 37, 38, 38, 63};

/// Context-adaptive binary arithmetic coding (9.3.4).
class CabacWriter {
  public:
    /// A symbol's probability, from the value that the standard lets it begin with.
    class Context {
      public:
        Context(int initial, int quantiser) {
            const int slope = (initial >> 4) * 5 - 45, offset = ((initial & 15) << 3) - 16;
            const int probability = std::clamp((slope * quantiser >> 4) + offset, 1, 126);
            expected_ = probability > 63;
            state_ = static_cast<std::size_t>(expected_ ? probability - 64 : 63 - probability);
        }

      private:
        friend class CabacWriter;
        bool expected_;
        std::size_t state_;
    };

    void symbol(bool value, Context& context) {
        const std::uint32_t surprise = lessProbable[context.state_][range_ >> 6 & 3];
        range_ -= surprise;
        if (value == context.expected_)
            context.state_ = std::min<std::size_t>(context.state_ + 1, 62);
        else {
            low_ += range_;
            range_ = surprise;
            if (context.state_ == 0) context.expected_ = value;
            context.state_ = stateAfterSurprise[context.state_];
        }
        renormalize();
    }
    /// One that is as often 0 as 1.
    void plain(bool value) {
        low_ <<= 1;
        if (value) low_ += range_;
        shift(1024);
    }
    void isEnd(bool end) {
        range_ -= 2;
        if (end) {
            low_ += range_;
            range_ = 2;
        }
        renormalize();
        if (!end) return;
        put(low_ >> 9 & 1);
        bits_.bits((low_ >> 7 & 3) | 1, 2);
    }
    const Bytes& bytes() const { return bits_.bytes(); }

  private:
    void renormalize() {
        for (; range_ < 256; range_ <<= 1, low_ <<= 1) shift(512);
    }
    /// Writes the highest bit, where what is to come cannot change it any more.
    void shift(std::uint32_t top) {
        if (low_ >= top) {
            low_ -= top;
            put(1);
        } else if (low_ < top / 2)
            put(0);
        else {
            low_ -= top / 2;
            ++outstanding_;
        }
    }
    void put(std::uint32_t bit) {
        if (!isFirst_) bits_.bits(bit, 1);
        isFirst_ = false;
        for (; outstanding_ > 0; --outstanding_) bits_.bits(1 - bit, 1);
    }

    BitWriter bits_;
    std::uint32_t low_ = 0;
    std::uint32_t range_ = 510;
    int outstanding_ = 0;
    bool isFirst_ = true;
};

/// The symbols of blocks that are predicted whole and without a remainder, with what they begin with in
/// slices of predicted blocks (9.3.2.2).
class PredictedBlocks {
  public:
    explicit PredictedBlocks(int quantiser)
        : skipped_{{197, quantiser}, {185, quantiser}, {201, quantiser}},
          isIntra_(149, quantiser),
          isWhole_(154, quantiser),
          isMerged_(110, quantiser),
          isNotZero_(140, quantiser),
          isNotOne_(198, quantiser),
          predictor_(168, quantiser),
          hasRemainder_(79, quantiser) {}

    /// Like its first neighbor.
    void skip(int skippedNeighbors) { writer_.symbol(true, skipped_[skippedNeighbors]); }
    /// Moved up or down by so many quarters of a pixel more than predicted.
    void move(int skippedNeighbors, int difference) {
        writer_.symbol(false, skipped_[skippedNeighbors]);
        writer_.symbol(false, isIntra_);
        writer_.symbol(true, isWhole_);
        writer_.symbol(false, isMerged_);
        writer_.symbol(false, isNotZero_);  // sideways
        const int magnitude = std::abs(difference);
        writer_.symbol(magnitude > 0, isNotZero_);
        if (magnitude > 0) {
            writer_.symbol(magnitude > 1, isNotOne_);
            if (magnitude > 1) number(static_cast<unsigned>(magnitude - 2));
            writer_.plain(difference < 0);
        }
        writer_.symbol(false, predictor_);  // the first
        writer_.symbol(false, hasRemainder_);
    }
    void isEnd(bool end) { writer_.isEnd(end); }
    const Bytes& bytes() const { return writer_.bytes(); }

  private:
    /// In Exp-Golomb code of the first order.
    void number(unsigned value) {
        int order = 1;
        for (; value >= 1U << order; ++order) {
            writer_.plain(true);
            value -= 1U << order;
        }
        writer_.plain(false);
        while (order-- > 0) writer_.plain((value >> order & 1) != 0);
    }

    CabacWriter writer_;
    CabacWriter::Context skipped_[3], isIntra_, isWhole_, isMerged_, isNotZero_, isNotOne_, predictor_,
        hasRemainder_;
};

int maxSlicesOf(std::uint32_t level) {
    constexpr std::uint32_t level5 = 150, level4 = 120, level31 = 93;
    return level >= level5 ? 200 : level >= level4 ? 75 : level >= level31 ? 40 : 16;
}

int bitsFor(int values) { return static_cast<int>(std::bit_width(static_cast<unsigned>(values - 1))); }

/// Ends a slice's header and reads on where its data begins.
std::size_t dataAfter(const BitReader& header) { return header.place() / 8 + 1; }
void align(BitWriter& header) { header.bits(1, 1); }  // what is missing in the byte is zeros

Bytes unitOf(const BitWriter& header, std::span<const std::uint8_t> data) {
    Bytes bytes = header.bytes();
    bytes.insert(bytes.end(), data.begin(), data.end());
    Bytes unit(ordinary.begin(), ordinary.end());
    unit.reserve(unit.size() + bytes.size() + bytes.size() / 64);
    appendEscaped(unit, bytes);
    return unit;
}

}  // namespace

std::optional<HevcStream> HevcStream::of(std::span<const std::uint8_t> sequenceSet,
                                         std::span<const std::uint8_t> pictureSet) {
    if (sequenceSet.size() <= unitHeader || pictureSet.size() <= unitHeader) return std::nullopt;
    HevcStream stream;
    const Bytes sequence = unescaped(sequenceSet.subspan(unitHeader));
    stream.coding_.pictureSet = unescaped(pictureSet.subspan(unitHeader));

    BitReader s(sequence);
    bool fits = true;
    const auto require = [&](bool condition) { fits = fits && condition; };
    s.bits(4);                // video set
    require(s.bits(3) == 0);  // one layer in time
    s.bits(1 + 2 + 1 + 5);    // nesting, profile
    s.bits(32);               // compatible profiles
    s.bits(32), s.bits(16);   // sources, constraints
    stream.maxSlices_ = maxSlicesOf(s.bits(8));
    require(s.number() == 0);  // its number
    require(s.number() == 1);  // 4:2:0
    const auto width = static_cast<int>(s.number()), height = static_cast<int>(s.number());
    if (s.bits(1) == 1)  // what is shown of it
        for (int i = 0; i < 4; ++i) s.number();
    require(s.number() == 0 && s.number() == 0);  // eight bits of luma and chroma
    stream.numberBits_ = static_cast<int>(s.number()) + 4;
    s.bits(1);
    require(s.number() >= 2);  // pictures that are kept beside the one that is decoded
    s.number(), s.number();    // order
    stream.coding_.blockSide = 1 << std::min(s.number() + 3, 6U);
    require(s.number() == 0);  // blocks of one size
    auto& tools = stream.coding_.tools;
    for (std::size_t i = 0; i < 4; ++i) tools[i] = s.number();
    require(s.bits(1) == 0);  // no matrices
    tools[4] = s.bits(1);
    require(s.bits(1) == 0);   // no offsets
    require(s.bits(1) == 0);   // no plain samples
    require(s.number() == 0);  // references in every slice
    require(s.bits(1) == 0);   // none that stay
    require(s.bits(1) == 0);   // no motion from other pictures
    tools[5] = s.bits(1);

    BitReader p(stream.coding_.pictureSet);
    require(p.number() == 0 && p.number() == 0);  // numbers of the sets
    require(p.bits(1 + 1 + 3) == 0);              // slices have no dependents and nothing extra
    p.bits(1);                                    // signs
    require(p.bits(1) == 0);                      // probabilities begin as usual
    require(p.number() == 0);                     // one reference
    p.number();                                   // the same of B slices
    stream.initialQuantiser_ = 26 + p.signedNumber();
    p.bits(2);                // intra prediction, skipped transforms
    require(p.bits(1) == 0);  // one quantiser in a slice
    p.signedNumber();
    p.signedNumber();                 // chroma
    require(p.bits(1 + 1) == 0);      // quantisers of chroma in slices, weights
    p.bits(1);                        // weights of B slices
    require(p.bits(1 + 1 + 1) == 0);  // lossless blocks, tiles, rows side by side
    p.bits(1);                        // filters across slices, of which there are none:
    require(p.bits(1) == 1 && p.bits(1) == 0 && p.bits(1) == 1);
    require(p.bits(1 + 1) == 0);  // matrices, orders of references
    p.number();                   // merging side by side
    require(p.bits(1) == 0);      // nothing extra

    const int side = stream.coding_.blockSide;
    require(width > 0 && height > 0 && width % side == 0 && height % side == 0);
    stream.columns_ = width / side;
    stream.rows_ = height / side;
    return fits ? std::optional(std::move(stream)) : std::nullopt;
}

void HevcStream::beginSlice(BitWriter& slice, Place place, int firstBlock, std::uint32_t type) const {
    slice.bits(firstBlock == 0 ? 1 : 0, 1);
    slice.number(0);  // picture set
    if (firstBlock > 0) slice.bits(static_cast<std::uint32_t>(firstBlock), bitsFor(columns_ * rows_));
    slice.number(type);
    slice.bits(static_cast<std::uint32_t>(place.number), numberBits_);
    slice.bits(0, 1);  // the references follow:
    slice.number(place.kept > 0 ? 2 : 1);
    slice.number(0);  // none after
    slice.number(static_cast<std::uint32_t>(place.distance - 1));
    slice.bits(1, 1);  // used
    if (place.kept > 0) {
        slice.number(static_cast<std::uint32_t>(place.kept - place.distance - 1));
        slice.bits(0, 1);
    }
}

Bytes HevcStream::predicted(Place place, int firstBlock, std::span<const int> moved) const {
    BitWriter slice;
    beginSlice(slice, place, firstBlock, predictedSlice);
    slice.bits(0, 1);  // as many references as the set says
    slice.number(mostMergeCandidates - 1);
    slice.signedNumber(0);  // the quantiser is that of the set
    align(slice);

    PredictedBlocks blocks(initialQuantiser_);
    std::vector<bool> isSkipped(moved.size());
    const auto count = static_cast<int>(moved.size());
    for (int i = 0; i < count; ++i) {
        const auto at = [](int block) { return static_cast<std::size_t>(block); };
        const int column = (firstBlock + i) % columns_, upper = i - columns_;
        const bool hasLeft = i > 0 && column > 0, hasUpper = upper >= 0;
        const bool hasUpperRight = upper + 1 >= 0 && column + 1 < columns_;
        // What is above comes into it only where nothing is to the left: in another order for what the block
        // copies from a neighbor than for what its own motion is told against.
        const int upperFirst = hasUpper ? moved[at(upper)] : hasUpperRight ? moved[at(upper + 1)] : 0;
        const int rightFirst = hasUpperRight ? moved[at(upper + 1)] : hasUpper ? moved[at(upper)] : 0;
        const int left = hasLeft ? moved[at(i - 1)] : 0;
        const int merged = hasLeft ? left : upperFirst;
        const int expected = hasLeft ? left : rightFirst;
        const int skippedNeighbors =
            (hasLeft && isSkipped[at(i - 1)] ? 1 : 0) + (hasUpper && isSkipped[at(upper)] ? 1 : 0);
        isSkipped[at(i)] = moved[at(i)] == merged;
        if (isSkipped[at(i)])
            blocks.skip(skippedNeighbors);
        else
            blocks.move(skippedNeighbors, quarters * (moved[at(i)] - expected));
        blocks.isEnd(i == count - 1);
    }
    return unitOf(slice, blocks.bytes());
}

Bytes HevcStream::codedAlone(Place place, int firstBlock, int quantiser,
                             std::span<const std::uint8_t> data) const {
    BitWriter slice;
    beginSlice(slice, place, firstBlock, aloneSlice);
    slice.signedNumber(quantiser - initialQuantiser_);
    align(slice);
    return unitOf(slice, data);
}

Bytes HevcStream::keyPictureData(std::span<const std::uint8_t> unit) {
    if (unit.size() <= unitHeader) return {};
    Bytes bytes = unescaped(unit.subspan(unitHeader));
    BitReader slice(bytes);
    slice.bits(2);   // first slice, earlier pictures are shown
    slice.number();  // picture set
    slice.number();  // type
    slice.signedNumber();
    const std::size_t data = std::min(dataAfter(slice), bytes.size());
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(data));
    return bytes;
}

bool HevcStream::move(Bytes& unit, Place place) const {
    if (unit.size() <= unitHeader || !std::equal(ordinary.begin(), ordinary.end(), unit.begin()))
        return false;
    const Bytes bytes = unescaped(std::span(unit).subspan(unitHeader));
    BitReader from(bytes);
    bool fits = from.bits(1) == 1;  // the first slice
    fits = from.number() == 0 && fits;
    fits = from.number() == predictedSlice && fits;
    from.bits(numberBits_);
    fits = from.bits(1) == 0 && fits;
    // The library keeps more pictures than it uses.
    const std::uint32_t kept = std::min(from.number(), 16U);
    fits = kept > 0 && from.number() == 0 && fits;
    for (std::uint32_t i = 0; i < kept; ++i) fits = from.number() == 0 && from.bits(1) == 1 && fits;
    fits = from.bits(1) == 0 && fits;  // as many references as the set says
    const std::uint32_t mergeCandidates = from.number();
    const int quantiser = from.signedNumber();
    fits = from.bits(1) == 1 && fits;
    if (!fits) return false;

    BitWriter slice;
    beginSlice(slice, place, 0, predictedSlice);
    slice.bits(0, 1);
    slice.number(mergeCandidates);
    slice.signedNumber(quantiser);
    align(slice);
    unit = unitOf(slice, std::span(bytes).subspan((from.place() + 7) / 8));
    return true;
}

}  // namespace platform::ffmpeg
