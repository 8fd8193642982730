#pragma once

#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <memory>
#include <string>
#include <vector>

namespace platform::ffmpeg {

/// Units of the times given to video encoders and written to files, a second.
inline constexpr int videoTimescale = 90000;

/// The names of the library's encoders that can serve, the preferred first: hardware, then software.
std::vector<std::string> videoEncoderCandidates(VideoCodec codec);

/// Whether the encoder is a piece of hardware, to be believed only after a trial.
bool isHardware(const std::string& encoder);

/// Pictures in, packets of a movie's track out. One thread; operations throw PlatformError.
class VideoEncoder {
  public:
    virtual ~VideoEncoder() = default;

    virtual std::string name() const = 0;
    /// What its packets are: size, base of the times, colors, parameter sets.
    virtual const AVCodecContext& description() const = 0;
    /// Takes a picture, i420 with both sides even, its time in 1/90000 s; a picture type of I asks for a key
    /// frame. It is quantised `coarser` steps (not negative) than the encoder's quality, where the encoder
    /// can. Null is the end.
    virtual void send(FramePtr picture, double coarser) = 0;
    /// Moves the next packet that is ready into an empty one.
    virtual bool receive(AVPacket& packet) = 0;
};
using VideoEncoderPtr = std::unique_ptr<VideoEncoder>;

/// Opens one encoder by its name. In real time the quality is constant and the bit rate is left to a
/// RateGovernor; otherwise the settings' rate is a ceiling over two seconds. Throws PlatformError.
VideoEncoderPtr openVideoEncoder(const std::string& name, const VideoSettings& settings, bool globalHeaders);

/// A context that describes what is asked for, with no encoder open.
CodecPtr describe(const AVCodec* codec, const VideoSettings& settings);

}  // namespace platform::ffmpeg
