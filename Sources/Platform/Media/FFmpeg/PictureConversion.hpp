#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <optional>

namespace platform::ffmpeg {

/// Pictures between the codec's frames and pixel buffers. Planar 4:2:0 frames pass without a copy, each
/// side keeping the other's memory alive. Keeps scratch memory; one thread.
class PictureConversion {
  public:
    /// A decoded frame as a buffer of `format` (i420 or bgra) of the frame's visible size.
    PixelBufferRef buffer(const AVFrame& frame, PixelFormat format);

    /// A buffer as a frame for an encoder: i420 of `matrix`, both sides even; an odd side's last line is
    /// repeated. Takes bgra and i420 of any matrix.
    FramePtr frame(const ConstPixelBufferRef& buffer, ColorMatrix matrix = ColorMatrix::bt709Limited);

  private:
    PixelBufferRef planar(const AVFrame& frame);
    PixelBufferRef scaled(const AVFrame& frame, ColorMatrix matrix, ColorMatrix wanted);

    SwsPtr scaler_;
    std::optional<PixelBufferPool> planar_;  // i420 made from other formats
    std::optional<PixelBufferPool> shown_;   // what a reader delivers when it isn't i420
    std::optional<PixelBufferPool> coded_;   // what an encoder gets when it can't have the original
};

/// The matrix of a decoded frame; of an unmarked one the usual guess by its height.
ColorMatrix colorMatrix(const AVFrame& frame);

/// What a track of this matrix is marked with; the camera's own colors count as BT.709's primaries.
struct ColorMarks {
    AVColorSpace space;
    AVColorRange range;
};
ColorMarks marksOf(ColorMatrix matrix);

}  // namespace platform::ffmpeg
