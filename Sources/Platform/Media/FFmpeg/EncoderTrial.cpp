#include "Platform/Media/FFmpeg/EncoderTrial.hpp"

#include "Platform/Media/FFmpeg/Errors.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <tuple>

namespace platform::ffmpeg {
namespace {

constexpr int trialPictures = 12;

/// Edges like those of text over a slope that moves, so that every picture differs everywhere.
FramePtr trialPicture(int index, int width, int height) {
    FramePtr frame = makeFrame();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = height;
    check(av_frame_get_buffer(frame.get(), 0), "A picture for trying an encoder cannot be made");
    for (int plane = 0; plane < 3; ++plane) {
        const int w = plane == 0 ? width : width / 2, h = plane == 0 ? height : height / 2;
        for (int y = 0; y < h; ++y) {
            std::uint8_t* row = frame->data[plane] + static_cast<std::ptrdiff_t>(y) * frame->linesize[plane];
            for (int x = 0; x < w; ++x) {
                const int slope = (x + y + 8 * index) / 4 % 128;
                const bool stroke = plane == 0 && (x / 3 + y / 9) % 7 == 0 && y / 24 % 2 == 0;
                row[x] = static_cast<std::uint8_t>(stroke ? 20 : 64 + (slope < 64 ? slope : 127 - slope));
            }
        }
    }
    frame->pts = static_cast<std::int64_t>(index) * videoTimescale / 30;
    if (index == 0) frame->pict_type = AV_PICTURE_TYPE_I;
    return frame;
}

double meanDifference(const AVFrame& a, const AVFrame& b) {
    double sum = 0, count = 0;
    for (int plane = 0; plane < 3; ++plane) {
        const int w = plane == 0 ? a.width : a.width / 2, h = plane == 0 ? a.height : a.height / 2;
        for (int y = 0; y < h; ++y) {
            const std::uint8_t* p = a.data[plane] + static_cast<std::ptrdiff_t>(y) * a.linesize[plane];
            const std::uint8_t* q = b.data[plane] + static_cast<std::ptrdiff_t>(y) * b.linesize[plane];
            int row = 0;
            for (int x = 0; x < w; ++x) row += std::abs(p[x] - q[x]);
            sum += row;
        }
        count += static_cast<double>(w) * h;
    }
    return sum / count;
}

CodecPtr decoderOf(const AVCodecContext& encoder) {
    const AVCodec* codec = avcodec_find_decoder(encoder.codec_id);
    const std::string sentence = "What the encoder made cannot be looked at";
    if (!codec) throw libraryError(AVERROR_DECODER_NOT_FOUND, sentence);
    CodecPtr decoder(avcodec_alloc_context3(codec));
    struct FreeParameters {
        void operator()(AVCodecParameters* each) const { avcodec_parameters_free(&each); }
    };
    const std::unique_ptr<AVCodecParameters, FreeParameters> parameters(avcodec_parameters_alloc());
    if (!decoder || !parameters) throw std::bad_alloc();
    check(avcodec_parameters_from_context(parameters.get(), &encoder), sentence);
    check(avcodec_parameters_to_context(decoder.get(), parameters.get()), sentence);
    check(avcodec_open2(decoder.get(), codec, nullptr), sentence);
    return decoder;
}

class Trial {
  public:
    Trial(const std::string& name, const VideoSettings& settings)
        : settings_(settings),
          encoder_(openVideoEncoder(name, settings, true)),
          decoder_(decoderOf(encoder_->description())) {}

    std::string run() {
        const int width = settings_.width + settings_.width % 2,
                  height = settings_.height + settings_.height % 2;
        for (int i = 0; i < trialPictures; ++i) pictures_.push_back(trialPicture(i, width, height));
        using Clock = std::chrono::steady_clock;
        const auto begun = Clock::now();
        for (const FramePtr& picture : pictures_) {
            FramePtr given(av_frame_clone(picture.get()));
            if (!given) throw std::bad_alloc();
            encode(std::move(given));
        }
        encode(nullptr);
        const double each =
            std::chrono::duration<double>(Clock::now() - begun).count() / static_cast<double>(trialPictures);
        for (const PacketPtr& packet : packets_) decode(packet.get());
        decode(nullptr);
        if (!complaint_.empty()) return complaint_;
        if (decoded_ != trialPictures)
            return "of " + std::to_string(trialPictures) + " pictures " + std::to_string(decoded_) +
                   " came back";
        // A machine that stands still for a moment makes a good encoder late once; twelve pictures at half
        // of the required pace are no accident.
        if (each > 2 / settings_.expectedFrameRate) {
            char text[80];
            std::snprintf(text, sizeof text, "a picture takes %.0f ms, too long for %.0f a second",
                          each * 1000, settings_.expectedFrameRate);
            return text;
        }
        return {};
    }

  private:
    void encode(FramePtr picture) {
        encoder_->send(std::move(picture), 0);
        for (PacketPtr packet = makePacket(); encoder_->receive(*packet); packet = makePacket())
            packets_.push_back(std::move(packet));
    }

    void decode(const AVPacket* packet) {
        check(avcodec_send_packet(decoder_.get(), packet), "what it makes cannot be decoded");
        const FramePtr frame = makeFrame();
        while (avcodec_receive_frame(decoder_.get(), frame.get()) == 0) {
            const auto index = static_cast<std::size_t>(decoded_++);
            if (index >= pictures_.size()) return;
            const AVFrame& original = *pictures_[index];
            constexpr double farOff = 6;  // levels of 255; good ones differ by two
            if (frame->format != AV_PIX_FMT_YUV420P || frame->width != original.width ||
                frame->height != original.height || meanDifference(original, *frame) > farOff)
                complaint_ = "its pictures come back changed";
        }
    }

    const VideoSettings& settings_;
    VideoEncoderPtr encoder_;
    CodecPtr decoder_;
    std::vector<FramePtr> pictures_;
    std::vector<PacketPtr> packets_;
    int decoded_ = 0;
    std::string complaint_;
};

/// The outcome of trials, by what they depend on.
std::string knownTrialOf(const std::string& name, const VideoSettings& settings) {
    using Key = std::tuple<std::string, int, int, double, bool>;
    static std::mutex mutex;
    static std::map<Key, std::string> outcomes;
    const std::lock_guard lock(mutex);
    const Key key{name, settings.width, settings.height, settings.expectedFrameRate,
                  settings.expectsMediaDataInRealTime};
    const auto known = outcomes.find(key);
    return known != outcomes.end() ? known->second
                                   : outcomes.emplace(key, trialOf(name, settings)).first->second;
}

}  // namespace

std::string trialOf(const std::string& encoder, const VideoSettings& settings) {
    try {
        const std::string complaint = Trial(encoder, settings).run();
        return complaint.empty() ? "" : "The encoder " + encoder + " was tried: " + complaint + ".";
    } catch (const PlatformError& problem) {
        return problem.description();
    }
}

ChosenEncoder chooseVideoEncoder(const VideoSettings& settings, bool globalHeaders,
                                 const std::vector<std::string>& candidates) {
    ChosenEncoder chosen;
    const auto passOver = [&](const std::string& why) {
        chosen.passedOver += (chosen.passedOver.empty() ? "" : " ") + why;
    };
    int code = AVERROR_ENCODER_NOT_FOUND;
    for (const std::string& name : candidates) {
        try {
            if (isHardware(name)) {
                const std::string complaint = knownTrialOf(name, settings);
                if (!complaint.empty()) {
                    passOver(complaint);
                    continue;
                }
            }
            chosen.encoder = openVideoEncoder(name, settings, globalHeaders);
            return chosen;
        } catch (const PlatformError& problem) {
            code = problem.code();
            passOver(problem.description());
        }
    }
    const char* codec = settings.codec == VideoCodec::hevc  ? "HEVC"
                        : settings.codec == VideoCodec::vp9 ? "VP9"
                                                            : "H.264";
    throw PlatformError("FFmpeg", code,
                        std::string("No encoder for ") + codec + " of " + std::to_string(settings.width) +
                            " × " + std::to_string(settings.height) + " pixels works here. " +
                            chosen.passedOver + " Install FFmpeg with libx264, libx265 and libvpx.");
}

}  // namespace platform::ffmpeg
