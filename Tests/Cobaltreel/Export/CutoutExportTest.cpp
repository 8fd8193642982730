// The cut-out on a whole session: real movies with a photographed person in the camera, real segmentation.
#include "Cobaltreel/Export/ExportFixture.hpp"
#include "Cobaltreel/Export/PersonSession.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include <cmath>

#include <opencv2/imgproc.hpp>

namespace cobaltreel {
namespace {

using composited::CompositedTake;
using platform::MediaType;
using platform::PixelFormat;

class CutoutExportTest : public testing::Test {
  protected:
    void SetUp() override {
        unsetenv("COBALTREEL_SEGMENTATION_MODEL");
        if (const auto reason = vision->unavailable()) GTEST_SKIP() << reason->description();
        const auto person = composited::photographedPerson();
        if (!person) GTEST_SKIP() << "python-matplotlib-data is not installed";
        scene.emplace(*person, composited::drawnRoom(22), CompositedTake::Trouble::none,
                      CompositedTake::Motion::sway);
        meta = PersonSession::write(folder, *media, seconds,
                                    [this](double time) { return scene->at(time).picture; });
        options.trimStart = 0;
        options.trimEnd = seconds;
        options.quality = ExportOptions::Quality::full;
        options.autoZoom = options.clickRipples = options.systemAudio = false;
        options.bubble = true;
        options.cameraStyle = CameraStyle::cutout;
        options.outputPath = temporary.path() / "out.mp4";
    }

    static constexpr double seconds = 1.2;
    std::optional<CompositedTake> scene;
    rig::TemporaryFolder temporary;
    SessionFolder folder{temporary.path()};
    SessionMeta meta;
    ExportOptions options;
    std::shared_ptr<platform::MediaService> media = platform::makeFFmpegMediaService();
    std::shared_ptr<platform::VisionService> vision =
        std::make_shared<platform::OpenCvVisionService>(std::filesystem::path());
};

TEST_F(CutoutExportTest, ThePersonIsShownWithoutTheRoom) {
    ExportRenderer(folder, meta, media, vision).exportMovie(options);

    const auto asset = media->asset(options.outputPath);
    const auto reader = media->makeTrackReader(asset, asset->loadTracks(MediaType::video).at(0), {0, seconds},
                                               PixelFormat::i420);
    ASSERT_TRUE(reader->startReading());
    // Half the output's height, in the lower right corner, three hundredths of the height from both edges.
    const cv::Rect box(1280 - 640 - 22, 720 - 360 - 22, 640, 360);
    int frames = 0;
    while (const auto sample = reader->copyNextSampleBuffer()) {
        const double t = sample->presentationTime.seconds();
        const double shown = std::floor(t * PersonSession::cameraRate + 1e-3) / PersonSession::cameraRate;
        cv::Mat1b truth;
        cv::resize(scene->at(shown).truth, truth, box.size(), 0, 0, cv::INTER_AREA);
        const auto& plane = sample->image->plane(0);
        const cv::Mat1b luma(plane.height, plane.width, plane.data, static_cast<std::size_t>(plane.stride));
        cv::Mat1b off;
        cv::absdiff(luma(box), cv::Scalar(PersonSession::screenLuma), off);
        // Away from the border, where the soft shadow lies, all of the room must be gone.
        const auto disc = [](int r) {
            return cv::getStructuringElement(cv::MORPH_ELLIPSE, {2 * r + 1, 2 * r + 1});
        };
        cv::Mat1b away, inside;
        cv::dilate(truth, away, disc(36));
        away = away == 0;
        cv::erode(truth, inside, disc(6));
        const auto share = [](const cv::Mat1b& part, const cv::Mat1b& whole) {
            return static_cast<double>(cv::countNonZero(part & whole)) / cv::countNonZero(whole);
        };
        EXPECT_LT(share(off > 12, away), 0.02) << "the room shows at " << t;
        cv::Mat1b camera, visible;
        cv::cvtColor(scene->at(shown).picture, camera, cv::COLOR_BGR2GRAY);
        cv::resize(camera, camera, box.size(), 0, 0, cv::INTER_AREA);
        // Only where the person's own luma is unlike the screen's is a hole visible.
        cv::absdiff(camera, cv::Scalar(PersonSession::screenLuma), visible);
        EXPECT_GT(share(off > 12, inside & (visible > 30)), 0.95) << "the person is missing at " << t;
        EXPECT_NEAR(luma(20, 20), PersonSession::screenLuma, 4);
        ++frames;
    }
    EXPECT_EQ(frames, static_cast<int>(seconds * 30));
}

}  // namespace
}  // namespace cobaltreel
