#include "Platform/Capture/PipeWire/PictureConverter.hpp"

#include <algorithm>
#include <cstdint>

#include <libyuv.h>

namespace platform::pipewire {

namespace {

int half(int length) { return (length + 1) / 2; }

/// The part of the source, from an even corner, that is shown.
struct Crop {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

Crop middleOfShape(int width, int height, int shapeWidth, int shapeHeight) {
    const auto fitted = [](int length, int numerator, int denominator) {
        return static_cast<int>(static_cast<std::int64_t>(length) * numerator / denominator);
    };
    Crop crop{0, 0, std::min(width, fitted(height, shapeWidth, shapeHeight)),
              std::min(height, fitted(width, shapeHeight, shapeWidth))};
    crop.x = (width - crop.width) / 2 & ~1;
    crop.y = (height - crop.height) / 2 & ~1;
    return crop;
}

template <typename Planes>
bool toI420(const RawPicture& source, const Planes& out) {
    const int w = source.width;
    const int h = source.height;
    const auto* const first = source.planes[0];
    const int stride = source.strides[0];
    const auto packed = [&](auto convert) {
        return convert(first, stride, out.data[0], out.strides[0], out.data[1], out.strides[1], out.data[2],
                       out.strides[2], w, h) == 0;
    };
    const auto biplanar = [&](auto convert) {
        return convert(first, stride, source.planes[1], source.strides[1], out.data[0], out.strides[0],
                       out.data[1], out.strides[1], out.data[2], out.strides[2], w, h) == 0;
    };
    const auto triplanar = [&](auto convert, std::size_t u, std::size_t v) {
        return convert(first, stride, source.planes[u], source.strides[u], source.planes[v],
                       source.strides[v], out.data[0], out.strides[0], out.data[1], out.strides[1],
                       out.data[2], out.strides[2], w, h) == 0;
    };
    switch (source.layout) {
        case PictureLayout::yuy2:
            return packed(libyuv::YUY2ToI420);
        case PictureLayout::uyvy:
            return packed(libyuv::UYVYToI420);
        case PictureLayout::nv12:
            return biplanar(libyuv::NV12ToI420);
        case PictureLayout::nv21:
            return biplanar(libyuv::NV21ToI420);
        case PictureLayout::i420:
            return triplanar(libyuv::I420Copy, 1, 2);
        case PictureLayout::yv12:
            return triplanar(libyuv::I420Copy, 2, 1);
        case PictureLayout::i422:
            return triplanar(libyuv::I422ToI420, 1, 2);
        case PictureLayout::i444:
            return triplanar(libyuv::I444ToI420, 1, 2);
        case PictureLayout::gray:
            return packed(libyuv::I400ToI420);
        // libyuv names the order of a little-endian word, here the order in memory is named.
        case PictureLayout::bgra:
            return packed(libyuv::ARGBToI420);
        case PictureLayout::rgba:
            return packed(libyuv::ABGRToI420);
        case PictureLayout::argb:
            return packed(libyuv::BGRAToI420);
        case PictureLayout::abgr:
            return packed(libyuv::RGBAToI420);
        case PictureLayout::bgr:
            return packed(libyuv::RGB24ToI420);
        case PictureLayout::rgb:
            return packed(libyuv::RAWToI420);
    }
    return false;
}

}  // namespace

PictureConverter::PictureConverter(int width, int height, std::size_t limit)
    : width_(width), height_(height), limit_(limit) {}

PictureConverter::Planes PictureConverter::Scratch::planesFor(int width, int height) {
    const std::size_t luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const std::size_t chroma = static_cast<std::size_t>(half(width)) * static_cast<std::size_t>(half(height));
    if (bytes.size() < luma + 2 * chroma) bytes.resize(luma + 2 * chroma);
    return {{bytes.data(), bytes.data() + luma, bytes.data() + luma + chroma},
            {width, half(width), half(width)}};
}

ConstPixelBufferRef PictureConverter::convert(const RawPicture& picture, bool mirrored) {
    if (picture.width <= 0 || picture.height <= 0 || picture.planes[0] == nullptr) return nullptr;
    if (!pool_ || poolMatrix_ != picture.matrix) {
        pool_.emplace(PixelFormat::i420, width_, height_, limit_, picture.matrix);
        poolMatrix_ = picture.matrix;
    }
    const PixelBufferRef target = pool_->createPixelBuffer();
    if (!target) return nullptr;
    const Planes out{{target->plane(0).data, target->plane(1).data, target->plane(2).data},
                     {target->plane(0).stride, target->plane(1).stride, target->plane(2).stride}};

    const bool sameSize = picture.width == width_ && picture.height == height_;
    const Planes whole = sameSize && !mirrored ? out : whole_.planesFor(picture.width, picture.height);
    if (!toI420(picture, whole)) return nullptr;
    if (sameSize && !mirrored) return target;

    Planes fitted = whole;
    if (!sameSize) {
        fitted = mirrored ? scaled_.planesFor(width_, height_) : out;
        const Crop crop = middleOfShape(picture.width, picture.height, width_, height_);
        const auto from = [&](std::size_t plane, int x, int y) {
            return whole.data[plane] + static_cast<std::ptrdiff_t>(y) * whole.strides[plane] + x;
        };
        if (libyuv::I420Scale(from(0, crop.x, crop.y), whole.strides[0], from(1, crop.x / 2, crop.y / 2),
                              whole.strides[1], from(2, crop.x / 2, crop.y / 2), whole.strides[2], crop.width,
                              crop.height, fitted.data[0], fitted.strides[0], fitted.data[1],
                              fitted.strides[1], fitted.data[2], fitted.strides[2], width_, height_,
                              libyuv::kFilterBox) != 0)
            return nullptr;
    }
    if (mirrored)
        libyuv::I420Mirror(fitted.data[0], fitted.strides[0], fitted.data[1], fitted.strides[1],
                           fitted.data[2], fitted.strides[2], out.data[0], out.strides[0], out.data[1],
                           out.strides[1], out.data[2], out.strides[2], width_, height_);
    return target;
}

}  // namespace platform::pipewire
