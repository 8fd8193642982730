#pragma once

#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <string>
#include <vector>

namespace platform::ffmpeg {

/// Units of the times given to video encoders and written to files, a second.
inline constexpr int videoTimescale = 90000;

/// The names of the library's encoders that can serve, the preferred first: hardware, then software.
std::vector<std::string> videoEncoderCandidates(VideoCodec codec);

/// Whether the encoder is a piece of hardware, to be believed only after a trial.
bool isHardware(const std::string& encoder);

/// Opens one encoder by its name. Frames are i420 with both sides even; times are in 1/90000 s. In real time
/// the quality is constant and the bit rate is left to a RateGovernor; otherwise the settings' rate is a
/// ceiling over two seconds. Throws PlatformError.
CodecPtr openVideoEncoder(const std::string& name, const VideoSettings& settings, bool globalHeaders);

/// A frame as the encoder wants it: the same one for software, a copy in the device's memory for an encoder
/// that reads nothing else. Throws PlatformError.
FramePtr frameFor(const AVCodecContext& encoder, FramePtr frame);

/// Has the frame quantised `steps` (not negative) coarser than the encoder's quality. Encoders that cannot
/// ignore it. All frames of an encoder bear it or none: libx265 prepares its own frames by the first and
/// reuses them.
void coarsen(AVFrame& frame, double steps);

}  // namespace platform::ffmpeg
