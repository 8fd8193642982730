#include "Platform/Media/FFmpeg/ChangedBlocks.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace platform::ffmpeg {
namespace {

/// Clears the places of the blocks in which two rows of a plane differ. Most rows are the same throughout.
template <int side>
void compareRow(const std::uint8_t* a, const std::uint8_t* b, int width, std::uint8_t* constant) {
    if (std::memcmp(a, b, static_cast<std::size_t>(width)) == 0) return;
    const int whole = width / side;
    for (int i = 0; i < whole; ++i)
        if (constant[i]) constant[i] = std::memcmp(a + i * side, b + i * side, side) == 0;
    if (const int rest = width % side; rest && constant[whole])
        constant[whole] =
            std::memcmp(a + whole * side, b + whole * side, static_cast<std::size_t>(rest)) == 0;
}

template <int side>
void comparePlane(const AVFrame& a, const AVFrame& b, int plane, int width, int height,
                  std::uint8_t* constant) {
    const int columns = (width + side - 1) / side;
    for (int y = 0; y < height; ++y)
        compareRow<side>(a.data[plane] + static_cast<std::ptrdiff_t>(y) * a.linesize[plane],
                         b.data[plane] + static_cast<std::ptrdiff_t>(y) * b.linesize[plane], width,
                         constant + static_cast<std::ptrdiff_t>(y / side) * columns);
}

}  // namespace

template <int side>
int compareBlocks(const AVFrame& picture, const AVFrame& previous, std::span<std::uint8_t> constant) {
    std::fill(constant.begin(), constant.end(), std::uint8_t{1});
    // Pictures are not written to once they were handed on.
    if (picture.data[0] == previous.data[0]) return 0;
    comparePlane<side>(picture, previous, 0, picture.width, picture.height, constant.data());
    for (int plane : {1, 2})
        comparePlane<side / 2>(picture, previous, plane, picture.width / 2, picture.height / 2,
                               constant.data());
    return static_cast<int>(std::count(constant.begin(), constant.end(), 0));
}

template int compareBlocks<16>(const AVFrame&, const AVFrame&, std::span<std::uint8_t>);
template int compareBlocks<32>(const AVFrame&, const AVFrame&, std::span<std::uint8_t>);

}  // namespace platform::ffmpeg
