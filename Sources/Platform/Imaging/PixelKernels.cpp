#include "Platform/Imaging/PixelKernels.hpp"

#include "Platform/Imaging/AxisFilter.hpp"
#include "Platform/Imaging/CpuFeatures.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#ifdef COBALTREEL_X86
#include <immintrin.h>
#endif

// Each loop is written once, as a body that the compiler inlines into a portable and an AVX2 function
// and vectorises there. Only the gathering filters, which no compiler vectorises, exist twice.

namespace platform::imaging {
namespace {

constexpr int sumShift = 6;
/// Bytes are weighed in 1/16384, by a product that keeps the upper 15 bits.
constexpr int byteShift = sumShift + 1;
/// Sums (6 fractional bits) times horizontal weights (14) down to a byte.
constexpr int filterShift = sumShift + 14;
constexpr std::int32_t filterRounding = 1 << (filterShift - 1);

[[gnu::always_inline]] inline std::int16_t scaledSample(std::uint8_t value, std::int16_t weight) {
    return static_cast<std::int16_t>(((static_cast<std::int32_t>(value << byteShift) * weight >> 14) + 1) >>
                                     1);
}

[[gnu::always_inline]] inline void roundSumsBody(const std::int16_t* __restrict sums, int count,
                                                 std::uint8_t* __restrict out) {
    for (int i = 0; i < count; ++i) {
        const int level = (sums[i] + (1 << (sumShift - 1))) >> sumShift;
        out[i] = static_cast<std::uint8_t>(std::clamp(level, 0, 255));
    }
}

[[gnu::always_inline]] inline std::uint32_t pixelAt(const std::uint8_t* bgra) {
    std::uint32_t pixel;
    std::memcpy(&pixel, bgra, 4);
    return pixel;
}

/// Two channels at once, each in the low byte of 16 bits: value × factor / 255, rounded.
[[gnu::always_inline]] inline std::uint32_t scaledPair(std::uint32_t pair, std::uint32_t factor) {
    const std::uint32_t product = pair * factor + 0x00800080;
    return ((product + ((product >> 8) & 0x00ff00ff)) >> 8) & 0x00ff00ff;
}
/// Keeps a sum of two bytes within its byte, should a caller's colors exceed their alpha.
[[gnu::always_inline]] inline std::uint32_t saturatedPair(std::uint32_t pair) {
    const std::uint32_t over = (pair >> 8) & 0x00010001;
    return (pair | (over * 255)) & 0x00ff00ff;
}

[[gnu::always_inline]] inline void blendOverBody(const std::uint8_t* __restrict top,
                                                 std::uint8_t* __restrict below, int pixels) {
    for (int i = 0; i < pixels; ++i) {
        const std::uint32_t a = pixelAt(top + 4 * i);
        const std::uint32_t b = pixelAt(below + 4 * i);
        const std::uint32_t rest = 255 - (a >> 24);
        const std::uint32_t even = saturatedPair((a & 0x00ff00ff) + scaledPair(b & 0x00ff00ff, rest));
        const std::uint32_t odd =
            saturatedPair(((a >> 8) & 0x00ff00ff) + scaledPair((b >> 8) & 0x00ff00ff, rest));
        const std::uint32_t result = even | (odd << 8);
        std::memcpy(below + 4 * i, &result, 4);
    }
}

[[gnu::always_inline]] inline void multiplyByMaskBody(std::uint8_t* __restrict bgra,
                                                      const std::uint8_t* __restrict mask, int pixels) {
    for (int i = 0; i < pixels; ++i) {
        const std::uint32_t pixel = pixelAt(bgra + 4 * i);
        const std::uint32_t result =
            scaledPair(pixel & 0x00ff00ff, mask[i]) | (scaledPair((pixel >> 8) & 0x00ff00ff, mask[i]) << 8);
        std::memcpy(bgra + 4 * i, &result, 4);
    }
}

[[gnu::always_inline]] inline void addBody(const std::uint8_t* __restrict other,
                                           std::uint8_t* __restrict bytes, int count) {
    for (int i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(std::min(bytes[i] + other[i], 255));
}

std::uint8_t roundedFilterSum(std::int32_t sum) {
    return static_cast<std::uint8_t>(std::clamp((sum + filterRounding) >> filterShift, 0, 255));
}

template <int channels>
void filterRow(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out) {
    const std::int16_t* weights = filter.weights.data();
    for (int i = 0; i < filter.count; ++i, weights += filter.taps) {
        const std::int16_t* samples = sums + filter.starts[static_cast<std::size_t>(i)] * channels;
        std::int32_t total[channels] = {};
        for (int t = 0; t < filter.taps; ++t)
            for (int c = 0; c < channels; ++c) total[c] += samples[t * channels + c] * weights[t];
        for (int c = 0; c < channels; ++c) out[i * channels + c] = roundedFilterSum(total[c]);
    }
}

void weighBytes(const std::uint8_t* const* rows, const std::int16_t* weights, int taps, int count,
                std::int16_t* sums) {
    std::fill_n(sums, count, std::int16_t{0});
    for (int t = 0; t < taps; ++t)
        for (int i = 0; i < count; ++i)
            sums[i] = static_cast<std::int16_t>(sums[i] + scaledSample(rows[t][i], weights[t]));
}
void roundSums(const std::int16_t* sums, int count, std::uint8_t* out) { roundSumsBody(sums, count, out); }
void blendOver(const std::uint8_t* top, std::uint8_t* below, int pixels) {
    blendOverBody(top, below, pixels);
}
void multiplyByMask(std::uint8_t* bgra, const std::uint8_t* mask, int pixels) {
    multiplyByMaskBody(bgra, mask, pixels);
}
void add(const std::uint8_t* other, std::uint8_t* bytes, int count) { addBody(other, bytes, count); }

#ifdef COBALTREEL_X86

/// The vectoriser widens bytes to 32 bits here and loses half of its lanes: by hand, sixteen at a time.
template <int group, bool add>
[[gnu::always_inline]] COBALTREEL_AVX2 inline void weighByteRows(const std::uint8_t* const* rows,
                                                                 const std::int16_t* weights, int count,
                                                                 std::int16_t* sums) {
    __m256i factors[group];
    for (int t = 0; t < group; ++t) factors[t] = _mm256_set1_epi16(weights[t]);
    int i = 0;
    for (; i + 16 <= count; i += 16) {
        auto* const place = reinterpret_cast<__m256i*>(sums + i);
        __m256i total = add ? _mm256_loadu_si256(place) : _mm256_setzero_si256();
        for (int t = 0; t < group; ++t) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[t] + i));
            const __m256i levels = _mm256_slli_epi16(_mm256_cvtepu8_epi16(bytes), byteShift);
            total = _mm256_add_epi16(total, _mm256_mulhrs_epi16(levels, factors[t]));
        }
        _mm256_storeu_si256(place, total);
    }
    for (; i < count; ++i) {
        int total = add ? sums[i] : 0;
        for (int t = 0; t < group; ++t) total += scaledSample(rows[t][i], weights[t]);
        sums[i] = static_cast<std::int16_t>(total);
    }
}

COBALTREEL_AVX2 void weighBytesAvx2(const std::uint8_t* const* rows, const std::int16_t* weights, int taps,
                                    int count, std::int16_t* sums) {
    int t = std::min(taps, 4);
    switch (t) {
        case 1:
            weighByteRows<1, false>(rows, weights, count, sums);
            break;
        case 2:
            weighByteRows<2, false>(rows, weights, count, sums);
            break;
        case 3:
            weighByteRows<3, false>(rows, weights, count, sums);
            break;
        default:
            weighByteRows<4, false>(rows, weights, count, sums);
            break;
    }
    for (; t + 4 <= taps; t += 4) weighByteRows<4, true>(rows + t, weights + t, count, sums);
    for (; t < taps; ++t) weighByteRows<1, true>(rows + t, weights + t, count, sums);
}
COBALTREEL_AVX2 void roundSumsAvx2(const std::int16_t* sums, int count, std::uint8_t* out) {
    roundSumsBody(sums, count, out);
}
COBALTREEL_AVX2 void blendOverAvx2(const std::uint8_t* top, std::uint8_t* below, int pixels) {
    blendOverBody(top, below, pixels);
}
COBALTREEL_AVX2 void multiplyByMaskAvx2(std::uint8_t* bgra, const std::uint8_t* mask, int pixels) {
    multiplyByMaskBody(bgra, mask, pixels);
}
COBALTREEL_AVX2 void addAvx2(const std::uint8_t* other, std::uint8_t* bytes, int count) {
    int i = 0;
    for (; i + 32 <= count; i += 32) {
        auto* const place = reinterpret_cast<__m256i*>(bytes + i);
        const __m256i more = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(other + i));
        _mm256_storeu_si256(place, _mm256_adds_epu8(_mm256_loadu_si256(place), more));
    }
    addBody(other + i, bytes + i, count - i);
}

[[gnu::always_inline]] COBALTREEL_AVX2 inline __m256i loadTwo(const std::int16_t* low,
                                                              const std::int16_t* high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

/// Eight 32-bit totals to eight bytes, in order.
[[gnu::always_inline]] COBALTREEL_AVX2 inline __m128i roundedBytes(__m256i totals) {
    const __m256i levels = _mm256_srai_epi32(totals, filterShift);
    const __m256i words = _mm256_packs_epi32(levels, levels);
    const __m256i bytes = _mm256_packus_epi16(words, words);
    return _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
}

[[gnu::always_inline]] COBALTREEL_AVX2 inline __m128i weighedInFours(const std::int16_t* samples,
                                                                     const std::int16_t* weights, int taps) {
    __m128i total = _mm_setzero_si128();
    for (int t = 0; t < taps; t += 8)
        total = _mm_add_epi32(total,
                              _mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(samples + t)),
                                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights + t))));
    return total;
}

/// For a smaller picture, whose outputs have many taps each: four outputs at a time, eight taps of each.
COBALTREEL_AVX2 void shrinkGrayAvx2(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out) {
    for (int i = 0; i < filter.count; i += 4) {
        __m128i parts[4];
        for (int lane = 0; lane < 4; ++lane) {
            const auto output = static_cast<std::size_t>(std::min(i + lane, filter.count - 1));
            parts[lane] =
                weighedInFours(sums + filter.starts[output],
                               &filter.weights[output * static_cast<std::size_t>(filter.taps)], filter.taps);
        }
        const __m128i totals =
            _mm_hadd_epi32(_mm_hadd_epi32(parts[0], parts[1]), _mm_hadd_epi32(parts[2], parts[3]));
        const __m128i bytes =
            roundedBytes(_mm256_add_epi32(_mm256_castsi128_si256(totals), _mm256_set1_epi32(filterRounding)));
        std::uint8_t four[16];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(four), bytes);
        std::memcpy(out + i, four, static_cast<std::size_t>(std::min(4, filter.count - i)));
    }
}

/// Eight outputs of a block, not yet rounded down.
[[gnu::always_inline]] COBALTREEL_AVX2 inline __m256i blockTotals(const std::int16_t* sums,
                                                                  const AxisFilter::Block& block,
                                                                  const std::int16_t* weights, int pairs) {
    const __m256i shuffle = _mm256_load_si256(reinterpret_cast<const __m256i*>(block.shuffle.data()));
    __m256i totals = _mm256_set1_epi32(filterRounding);
    for (int pair = 0; pair < pairs; ++pair, weights += 16) {
        const __m256i samples = loadTwo(sums + block.base[0] + 2 * pair, sums + block.base[1] + 2 * pair);
        totals = _mm256_add_epi32(
            totals, _mm256_madd_epi16(_mm256_shuffle_epi8(samples, shuffle),
                                      _mm256_loadu_si256(reinterpret_cast<const __m256i*>(weights))));
    }
    return totals;
}

/// Two blocks at a time, because bringing the results together costs as much as the sums. The compiler
/// unrolls the sums where the number of pairs is a constant.
[[gnu::always_inline]] COBALTREEL_AVX2 inline void filterBlocks(const std::int16_t* sums,
                                                                const AxisFilter& filter, int pairs,
                                                                std::uint8_t* out) {
    const std::int16_t* weights = filter.blockWeights.data();
    const std::ptrdiff_t blockStep = std::ptrdiff_t{16} * pairs;
    const auto blocks = static_cast<std::ptrdiff_t>(filter.blocks.size());
    for (std::ptrdiff_t i = 0; i < blocks; i += 2, weights += 2 * blockStep) {
        const AxisFilter::Block* const block = &filter.blocks[static_cast<std::size_t>(i)];
        const __m256i low = blockTotals(sums, block[0], weights, pairs);
        const __m256i high = i + 1 < blocks ? blockTotals(sums, block[1], weights + blockStep, pairs) : low;
        const __m256i words = _mm256_permute4x64_epi64(
            _mm256_packs_epi32(_mm256_srai_epi32(low, filterShift), _mm256_srai_epi32(high, filterShift)),
            0b11'01'10'00);
        const __m128i bytes =
            _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
        const int written = static_cast<int>(8 * i);
        if (written + 16 <= filter.count) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), bytes);
        } else {
            std::uint8_t rest[16];
            _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), bytes);
            std::memcpy(out + written, rest, static_cast<std::size_t>(filter.count - written));
        }
    }
}

COBALTREEL_AVX2 void filterGrayAvx2(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out) {
    if (filter.blocks.empty() && filter.taps % 8 == 0) return shrinkGrayAvx2(sums, filter, out);
    if (filter.blocks.empty()) return filterRow<1>(sums, filter, out);
    constexpr int cubicPairs = 2;
    if (filter.taps == 2 * cubicPairs) return filterBlocks(sums, filter, cubicPairs, out);
    filterBlocks(sums, filter, filter.taps / 2, out);
}

COBALTREEL_AVX2 void filterBgraAvx2(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out) {
    const __m256i sideBySide =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    const auto pairOfWeights = [&](int output, int tap) {
        std::int32_t both;
        std::memcpy(&both, &filter.weights[static_cast<std::size_t>(output * filter.taps + tap)], 4);
        return both;
    };
    for (int i = 0; i < filter.count; i += 2) {
        const int second = std::min(i + 1, filter.count - 1);
        const std::int16_t* low = sums + 4 * filter.starts[static_cast<std::size_t>(i)];
        const std::int16_t* high = sums + 4 * filter.starts[static_cast<std::size_t>(second)];
        __m256i totals = _mm256_set1_epi32(filterRounding);
        for (int t = 0; t < filter.taps; t += 2) {
            const __m256i weights =
                _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_set1_epi32(pairOfWeights(i, t))),
                                        _mm_set1_epi32(pairOfWeights(second, t)), 1);
            const __m256i samples = _mm256_shuffle_epi8(loadTwo(low + 4 * t, high + 4 * t), sideBySide);
            totals = _mm256_add_epi32(totals, _mm256_madd_epi16(samples, weights));
        }
        const __m128i bytes = roundedBytes(totals);
        std::uint8_t both[16];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(both), bytes);
        std::memcpy(out + 4 * i, both, second == i ? 4 : 8);
    }
}

#endif

}  // namespace

const PixelKernels& portablePixelKernels() {
    static constexpr PixelKernels kernels{weighBytes, roundSums,      filterRow<1>, filterRow<4>,
                                          blendOver,  multiplyByMask, add};
    return kernels;
}

const PixelKernels& pixelKernels() {
#ifdef COBALTREEL_X86
    static constexpr PixelKernels avx2{weighBytesAvx2, roundSumsAvx2,      filterGrayAvx2, filterBgraAvx2,
                                       blendOverAvx2,  multiplyByMaskAvx2, addAvx2};
    if (hasAvx2()) return avx2;
#endif
    return portablePixelKernels();
}

}  // namespace platform::imaging
