#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"

#include "Platform/Media/FFmpeg/AudioMixReader.hpp"
#include "Platform/Media/FFmpeg/AudioMixer.hpp"
#include "Platform/Media/FFmpeg/AudioWriterInput.hpp"
#include "Platform/Media/FFmpeg/EncoderTrial.hpp"
#include "Platform/Media/FFmpeg/Errors.hpp"
#include "Platform/Media/FFmpeg/FFmpegAsset.hpp"
#include "Platform/Media/FFmpeg/FFmpegWriter.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"
#include "Platform/Media/FFmpeg/VideoTrackReader.hpp"
#include "Platform/Media/Gif/GifWriter.hpp"

#include <x265.h>

namespace platform {
namespace {

using namespace ffmpeg;

EncoderReport videoReport(const std::string& purpose, const VideoSettings& settings) {
    try {
        const ChosenEncoder chosen =
            chooseVideoEncoder(settings, true, videoEncoderCandidates(settings.codec));
        return {purpose, chosen.encoder->name(), chosen.passedOver};
    } catch (const PlatformError& problem) {
        return {purpose, "", problem.description()};
    }
}

EncoderReport audioReport(AudioCodec audio) {
    const std::string name = nameOf(audio), purpose = "sound (" + name + ")";
    if (const AVCodec* codec = audioEncoder(audio)) return {purpose, codec->name, ""};
    return {purpose, "", "FFmpeg here has no encoder for " + name + ". Install FFmpeg's libavcodec with it."};
}

class FFmpegMediaService final : public MediaService {
  public:
    FFmpegMediaService() { captureLibraryLog(); }

    std::shared_ptr<Asset> asset(const std::filesystem::path& path) override {
        return std::make_shared<FFmpegAsset>(path);
    }
    std::unique_ptr<AssetReader> makeTrackReader(const std::shared_ptr<Asset>& asset, const AssetTrack& track,
                                                 const TimeRange& range, PixelFormat format) override {
        return std::make_unique<VideoTrackReader>(asset->path(), track, range, format);
    }
    std::unique_ptr<AssetReader> makeAudioMixReader(const Composition& composition) override {
        return std::make_unique<AudioMixReader>(composition);
    }
    std::unique_ptr<AudioMix> makeAudioMix(const Composition& composition) override {
        return std::make_unique<AudioMixer>(composition);
    }
    std::unique_ptr<AssetWriter> makeWriter(const std::filesystem::path& path, FileType type) override {
        if (type == FileType::gif) return makeGifWriter(path);
        return std::make_unique<FFmpegWriter>(path, type);
    }
    std::vector<EncoderReport> encoders() override {
        const VideoSettings screen{VideoCodec::hevc, 1280, 720, 20'000'000, 60, false, true};
        const VideoSettings camera{VideoCodec::h264, 1280, 720, 4'000'000, 30, false, true};
        const VideoSettings exported{VideoCodec::h264, 1920, 1080, 10'000'000, 30, true, false};
        const VideoSettings web{VideoCodec::vp9, 1920, 1080, 10'000'000, 30, false, false};
        return {videoReport("screen recording (HEVC)", screen),
                videoReport("camera recording (H.264)", camera),
                videoReport("export (H.264)", exported),
                videoReport("export (VP9)", web),
                audioReport(AudioCodec::aac),
                audioReport(AudioCodec::opus)};
    }
    std::string implementation() const override { return std::string("FFmpeg ") + av_version_info(); }
};

}  // namespace

std::shared_ptr<MediaService> makeFFmpegMediaService() { return std::make_shared<FFmpegMediaService>(); }

std::vector<LibraryVersion> mediaLibraryVersions() {
    const auto text = [](unsigned version) {
        return std::to_string(AV_VERSION_MAJOR(version)) + '.' + std::to_string(AV_VERSION_MINOR(version)) +
               '.' + std::to_string(AV_VERSION_MICRO(version));
    };
    return {{"libavformat", text(avformat_version())}, {"libavcodec", text(avcodec_version())},
            {"libavutil", text(avutil_version())},     {"libswresample", text(swresample_version())},
            {"libswscale", text(swscale_version())},   {"libx265", x265_version_str}};
}

}  // namespace platform
