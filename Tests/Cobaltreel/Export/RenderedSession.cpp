#include "Cobaltreel/Export/RenderedSession.hpp"

#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>

namespace cobaltreel {
namespace {

constexpr double firstPTS = 1000;

using Draw = std::function<platform::ConstPixelBufferRef(double seconds)>;

void writeMovie(platform::MediaService& media, const std::filesystem::path& path,
                const platform::VideoSettings& video, double seconds, const Draw& draw) {
    const auto writer = media.makeWriter(path, platform::FileType::quickTimeMovie);
    auto& pictures = writer->addVideoInput(video);
    if (!writer->startWriting()) throw *writer->error();
    writer->startSession(platform::MediaTime::fromSeconds(firstPTS));
    for (int i = 0; i < seconds * video.expectedFrameRate; ++i) {
        const double t = i / video.expectedFrameRate;
        while (!pictures.waitUntilReady(0.1) && writer->status() == platform::AssetWriter::Status::writing) {
        }
        if (!pictures.append({platform::MediaTime::fromSeconds(firstPTS + t, 90000), draw(t), nullptr}))
            throw std::runtime_error("a frame of " + path.string() + " was refused");
    }
    const auto finished = std::make_shared<std::promise<void>>();
    writer->finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    if (const auto error = writer->error()) throw *error;
}

}  // namespace

SessionMeta RenderedSession::write(const SessionFolder& folder, const rendered::Scene& scene, double seconds,
                                   platform::MediaService& media) {
    const cv::Size size = scene.description().size;
    SessionMeta meta;
    meta.version = 1;
    meta.captureWidthPx = size.width;
    meta.captureHeightPx = size.height;
    meta.displayFramePoints = {0, 0, static_cast<double>(size.width), static_cast<double>(size.height)};
    meta.scaleFactor = 1;
    meta.mainScreenHeightPoints = size.height;
    meta.screenFirstPTS = meta.cameraFirstPTS = firstPTS;
    meta.recordingEndHostTime = firstPTS + seconds;
    meta.cameraEnabled = true;
    meta.cameraCorner = CameraCorner::bottomRight;
    meta.cameraStyle = CameraStyle::cutout;
    meta.bubbleSizeFraction = 0.5;

    const auto gray =
        std::make_shared<platform::PixelBuffer>(platform::PixelFormat::i420, size.width, size.height);
    for (int i = 0; i < 3; ++i)
        std::memset(gray->plane(i).data, i == 0 ? screenLuma : 128,
                    static_cast<std::size_t>(gray->plane(i).stride * gray->plane(i).height));
    platform::VideoSettings video{.codec = platform::VideoCodec::hevc,
                                  .width = size.width,
                                  .height = size.height,
                                  .averageBitRate = 8'000'000,
                                  .expectedFrameRate = screenRate,
                                  .expectsMediaDataInRealTime = true};
    writeMovie(media, folder.screenMovie(), video, seconds, [&](double) { return gray; });
    video.codec = platform::VideoCodec::h264;
    video.expectedFrameRate = cameraRate;
    writeMovie(media, folder.cameraMovie(), video, seconds,
               [&](double t) { return rendered::asBgra(scene.at(t).picture); });
    folder.writeMeta(meta);
    return meta;
}

}  // namespace cobaltreel
