#include "Platform/Imaging/Yuv/GrayConversion.hpp"

#include <libyuv.h>

namespace platform::imaging {

// libyuv names pixels by their order in a word: its ARGB lies in memory as blue, green, red, alpha. Its
// J400 is gray of the full range.

void grayToBgra(const std::uint8_t* gray, int grayStride, std::uint8_t* bgra, int stride, int width,
                int height) {
    libyuv::J400ToARGB(gray, grayStride, bgra, stride, width, height);
}

void bgraToGray(const std::uint8_t* bgra, int stride, std::uint8_t* gray, int grayStride, int width,
                int height) {
    libyuv::ARGBToJ400(bgra, stride, gray, grayStride, width, height);
}

}  // namespace platform::imaging
