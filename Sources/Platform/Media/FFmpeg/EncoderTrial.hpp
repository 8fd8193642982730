#pragma once

#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <string>
#include <vector>

namespace platform::ffmpeg {

/// Encodes a dozen pictures of the settings' size, decodes them in software and compares: what is wrong with
/// them or with the time they took, empty when nothing is. Drivers open what they cannot do, and return
/// pictures that are green, torn or late.
std::string trialOf(const std::string& encoder, const VideoSettings& settings);

/// An encoder that is open, and why the ones preferred to it are not.
struct ChosenEncoder {
    VideoEncoderPtr encoder;
    std::string passedOver;  ///< sentences; empty when the first candidate was taken
};

/// The first of `candidates` that works on this machine; hardware only after a trial, whose outcome is kept
/// for the process. Throws PlatformError naming all that was tried. Any thread.
ChosenEncoder chooseVideoEncoder(const VideoSettings& settings, bool globalHeaders,
                                 const std::vector<std::string>& candidates);

}  // namespace platform::ffmpeg
