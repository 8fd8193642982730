#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <array>
#include <cstring>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace platform::ffmpeg {
namespace {

constexpr int standardDefinitionBelow = 720;  // rows; unmarked pictures smaller than this are BT.601
constexpr std::size_t poolLimit = 32;         // more than that at once come without recycling

bool isFullRange(ColorMatrix matrix) {
    return matrix == ColorMatrix::bt601Full || matrix == ColorMatrix::bt709Full;
}

const int* coefficients(ColorMatrix matrix) {
    const bool old = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt601Full;
    return sws_getCoefficients(old ? SWS_CS_ITU601 : SWS_CS_ITU709);
}

bool isPlanar420(int format) { return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P; }

/// A buffer of a pool that is replaced when the shape or the matrix changes.
PixelBufferRef takeFrom(std::optional<PixelBufferPool>& pool, PixelFormat format, int width, int height,
                        ColorMatrix matrix) {
    const auto renew = [&] { pool.emplace(format, width, height, poolLimit, matrix); };
    if (!pool || pool->format() != format || pool->width() != width || pool->height() != height) renew();
    PixelBufferRef buffer = pool->createPixelBuffer();
    if (buffer && buffer->matrix() != matrix) {
        renew();
        buffer = pool->createPixelBuffer();
    }
    return buffer ? buffer : std::make_shared<PixelBuffer>(format, width, height, matrix);
}

PixelBufferRef wrap(const AVFrame& frame, ColorMatrix matrix) {
    FramePtr kept(av_frame_clone(&frame));
    if (!kept) throw std::bad_alloc();
    const int chromaWidth = (frame.width + 1) / 2, chromaHeight = (frame.height + 1) / 2;
    const std::array<Plane, 3> planes{
        Plane{kept->data[0], kept->linesize[0], frame.width, frame.height},
        Plane{kept->data[1], kept->linesize[1], chromaWidth, chromaHeight},
        Plane{kept->data[2], kept->linesize[2], chromaWidth, chromaHeight},
    };
    return std::make_shared<PixelBuffer>(PixelFormat::i420, frame.width, frame.height, planes,
                                         std::shared_ptr<AVFrame>(std::move(kept)), matrix);
}

/// Repeats the last column and row of an odd-sided luma plane in the even-sided `coded`.
void repeatLastLines(const PixelBuffer& coded, int width, int height) {
    const Plane& luma = coded.plane(0);
    const auto stride = static_cast<std::ptrdiff_t>(luma.stride);
    if (luma.width > width)
        for (int y = 0; y < height; ++y) luma.data[y * stride + width] = luma.data[y * stride + width - 1];
    if (luma.height > height)
        std::memcpy(luma.data + height * stride, luma.data + (height - 1) * stride,
                    static_cast<std::size_t>(luma.width));
}

/// The top left part of `coded`, of the picture's own size.
PixelBuffer visiblePart(const PixelBufferRef& coded, int width, int height) {
    std::array<Plane, 3> planes{coded->plane(0), coded->plane(1), coded->plane(2)};
    planes[0].width = width;
    planes[0].height = height;
    return PixelBuffer(PixelFormat::i420, width, height, planes, coded, coded->matrix());
}

/// A frame over a buffer's memory, which it keeps alive.
FramePtr frameOver(const ConstPixelBufferRef& buffer) {
    FramePtr frame = makeFrame();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = buffer->width();
    frame->height = buffer->height();
    for (int i = 0; i < 3; ++i) {
        frame->data[i] = buffer->plane(i).data;
        frame->linesize[i] = buffer->plane(i).stride;
    }
    auto owner = std::make_unique<ConstPixelBufferRef>(buffer);
    frame->buf[0] = av_buffer_create(
        buffer->plane(0).data, 1,
        [](void* opaque, std::uint8_t*) { delete static_cast<ConstPixelBufferRef*>(opaque); }, owner.get(),
        AV_BUFFER_FLAG_READONLY);
    if (!frame->buf[0]) throw std::bad_alloc();
    static_cast<void>(owner.release());  // now the frame's
    const ColorMarks marks = marksOf(buffer->matrix());
    frame->colorspace = marks.space;
    frame->color_primaries = AVCOL_PRI_BT709;
    frame->color_trc = AVCOL_TRC_BT709;
    frame->color_range = marks.range;
    return frame;
}

}  // namespace

ColorMarks marksOf(ColorMatrix matrix) {
    const bool old = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt601Full;
    return {old ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709,
            isFullRange(matrix) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG};
}

ColorMatrix colorMatrix(const AVFrame& frame) {
    const bool full = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P ||
                      frame.format == AV_PIX_FMT_YUVJ422P || frame.format == AV_PIX_FMT_YUVJ444P;
    bool old = false;
    switch (frame.colorspace) {
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_FCC:
            old = true;
            break;
        case AVCOL_SPC_UNSPECIFIED:
            old = frame.height < standardDefinitionBelow;
            break;
        default:
            break;
    }
    if (old) return full ? ColorMatrix::bt601Full : ColorMatrix::bt601Limited;
    return full ? ColorMatrix::bt709Full : ColorMatrix::bt709Limited;
}

PixelBufferRef PictureConversion::scaled(const AVFrame& frame, ColorMatrix matrix, ColorMatrix wanted) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    scaler_.reset(sws_getCachedContext(
        scaler_.release(), frame.width, frame.height, format, frame.width, frame.height, AV_PIX_FMT_YUV420P,
        SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!scaler_) {
        const char* name = av_get_pix_fmt_name(format);
        throw PlatformError(
            "FFmpeg", AVERROR(ENOSYS),
            std::string("Pictures of the format ") + (name ? name : "unknown") + " cannot be converted.");
    }
    constexpr int one = 1 << 16;  // brightness, contrast and saturation stay as they are
    sws_setColorspaceDetails(scaler_.get(), coefficients(matrix), isFullRange(matrix), coefficients(wanted),
                             isFullRange(wanted), 0, one, one);
    PixelBufferRef target = takeFrom(planar_, PixelFormat::i420, frame.width, frame.height, wanted);
    const std::array<std::uint8_t*, 4> data{target->plane(0).data, target->plane(1).data,
                                            target->plane(2).data, nullptr};
    const std::array<int, 4> strides{target->plane(0).stride, target->plane(1).stride,
                                     target->plane(2).stride, 0};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, data.data(), strides.data());
    return target;
}

PixelBufferRef PictureConversion::planar(const AVFrame& frame) {
    const ColorMatrix matrix = colorMatrix(frame);
    if (isPlanar420(frame.format)) return wrap(frame, matrix);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool rgb = description && (description->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    return scaled(frame, matrix, rgb ? ColorMatrix::bt709Limited : matrix);
}

PixelBufferRef PictureConversion::buffer(const AVFrame& frame, PixelFormat format) {
    PixelBufferRef picture = planar(frame);
    if (format == PixelFormat::i420) return picture;
    PixelBufferRef result = takeFrom(shown_, format, frame.width, frame.height, ColorMatrix::bt709Limited);
    convertPixels(*picture, *result);
    return result;
}

FramePtr PictureConversion::frame(const ConstPixelBufferRef& buffer, ColorMatrix matrix) {
    const int width = buffer->width(), height = buffer->height();
    const bool even = width % 2 == 0 && height % 2 == 0;
    const bool isReady = buffer->format() == PixelFormat::i420 && buffer->matrix() == matrix;
    if (isReady && even) return frameOver(buffer);

    const int codedWidth = width + width % 2, codedHeight = height + height % 2;
    PixelBufferRef coded = takeFrom(coded_, PixelFormat::i420, codedWidth, codedHeight, matrix);
    PixelBuffer visible = visiblePart(coded, width, height);
    convertPixels(*buffer, visible);
    repeatLastLines(*coded, width, height);
    return frameOver(coded);
}

}  // namespace platform::ffmpeg
