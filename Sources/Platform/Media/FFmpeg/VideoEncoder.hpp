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

/// Opens the first of `candidates` that really opens on this machine. Frames are i420 with both sides
/// even; times are in 1/90000 s. Throws PlatformError naming all that was tried.
CodecPtr openVideoEncoder(const VideoSettings& settings, bool globalHeaders,
                          const std::vector<std::string>& candidates);

}  // namespace platform::ffmpeg
