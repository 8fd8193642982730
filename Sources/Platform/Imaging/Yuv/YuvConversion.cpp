#include "Platform/Imaging/Yuv/YuvConversion.hpp"

#include <libyuv.h>

namespace platform::imaging {
namespace {

const libyuv::YuvConstants* constantsOf(ColourMatrix matrix) {
    switch (matrix) {
        case ColourMatrix::bt601Limited:
            return &libyuv::kYuvI601Constants;
        case ColourMatrix::bt601Full:
            return &libyuv::kYuvJPEGConstants;
        case ColourMatrix::bt709Limited:
            return &libyuv::kYuvH709Constants;
        case ColourMatrix::bt709Full:
            return &libyuv::kYuvF709Constants;
    }
    return &libyuv::kYuvH709Constants;
}

}  // namespace

// libyuv names pixels by their order in a word: its ARGB lies in memory as blue, green, red, alpha.

void i420ToBgra(const I420View& from, ColourMatrix matrix, std::uint8_t* bgra, int stride) {
    libyuv::I420ToARGBMatrix(from.data[0], from.stride[0], from.data[1], from.stride[1], from.data[2],
                             from.stride[2], bgra, stride, constantsOf(matrix), from.width, from.height);
}

void i444ToBgra(const I420View& from, ColourMatrix matrix, std::uint8_t* bgra, int stride) {
    libyuv::I444ToARGBMatrix(from.data[0], from.stride[0], from.data[1], from.stride[1], from.data[2],
                             from.stride[2], bgra, stride, constantsOf(matrix), from.width, from.height);
}

void grayToBgra(const std::uint8_t* gray, int grayStride, std::uint8_t* bgra, int stride, int width,
                int height) {
    libyuv::J400ToARGB(gray, grayStride, bgra, stride, width, height);
}

void bgraToGray(const std::uint8_t* bgra, int stride, std::uint8_t* gray, int grayStride, int width,
                int height) {
    libyuv::ARGBToJ400(bgra, stride, gray, grayStride, width, height);
}

void copyRows(const std::uint8_t* from, int fromStride, std::uint8_t* to, int toStride, int rowBytes,
              int height) {
    libyuv::CopyPlane(from, fromStride, to, toStride, rowBytes, height);
}

}  // namespace platform::imaging
