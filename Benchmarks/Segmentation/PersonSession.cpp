#include "PersonSession.hpp"

#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Rig/MovieMaker.hpp"
#include "Rig/PlainSession.hpp"

#include <cstring>

namespace cobaltreel {

SessionMeta PersonSession::write(const SessionFolder& folder, platform::MediaService& media, double seconds,
                                 const std::function<cv::Mat3b(double)>& picture) {
    constexpr int width = 1280, height = 720;
    SessionMeta meta = rig::plainSession(width, height, 1000);
    meta.cameraFirstPTS = 1000;
    meta.recordingEndHostTime = 1000 + seconds;
    meta.cameraEnabled = true;
    meta.cameraCorner = CameraCorner::bottomRight;
    meta.cameraStyle = CameraStyle::cutout;
    meta.bubbleSizeFraction = 0.5;

    const auto gray = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::i420, width, height);
    for (int i = 0; i < 3; ++i)
        std::memset(gray->plane(i).data, i == 0 ? screenLuma : 128,
                    static_cast<std::size_t>(gray->plane(i).stride * gray->plane(i).height));
    platform::VideoSettings video{.codec = platform::VideoCodec::hevc,
                                  .width = width,
                                  .height = height,
                                  .averageBitRate = 8'000'000,
                                  .expectedFrameRate = screenRate};
    rig::MovieMaker screen(media, folder.screenMovie(), video, {}, 1000);
    for (int i = 0; i < seconds * screenRate; ++i) screen.add(i / screenRate, gray);
    screen.finish();
    video.codec = platform::VideoCodec::h264;
    video.expectedFrameRate = cameraRate;
    rig::MovieMaker camera(media, folder.cameraMovie(), video, {}, 1000);
    for (int i = 0; i < seconds * cameraRate; ++i)
        camera.add(i / cameraRate, composited::asBgra(picture(i / cameraRate)));
    camera.finish();
    folder.writeMeta(meta);
    return meta;
}

}  // namespace cobaltreel
