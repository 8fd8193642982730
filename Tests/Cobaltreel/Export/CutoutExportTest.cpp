// The cut-out on a whole session: real movies with a photographed person in the camera, real segmentation.
#include "Cobaltreel/Export/ExportFixture.hpp"
#include "Cobaltreel/Export/PersonSession.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include <cmath>
#include <future>

#include <opencv2/imgproc.hpp>

namespace cobaltreel {
namespace {

using composited::CompositedTake;
using platform::MediaType;
using platform::PixelFormat;
using Request = platform::PersonSegmentationRequest;

/// Counts the frames that are segmented.
struct CountingVision : platform::VisionService {
    platform::OpenCvVisionService real{std::filesystem::path()};
    int frames = 0;

    struct Counting : Request {
        CountingVision& owner;
        std::unique_ptr<Request> request;
        Counting(CountingVision& counter, std::unique_ptr<Request> inner)
            : owner(counter), request(std::move(inner)) {}
        std::vector<platform::ConstPixelBufferRef> perform(const platform::PixelBuffer& frame) override {
            ++owner.frames;
            return request->perform(frame);
        }
    };
    std::unique_ptr<Request> makePersonSegmentationRequest(Request::QualityLevel quality) override {
        return std::make_unique<Counting>(*this, real.makePersonSegmentationRequest(quality));
    }
    std::optional<platform::PlatformError> unavailable() override { return real.unavailable(); }
    std::string implementation() const override { return real.implementation(); }
};

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
        options.outputURL = temporary.path() / "out.mp4";
    }

    static constexpr double seconds = 1.2;
    std::optional<CompositedTake> scene;
    TemporaryFolder temporary;
    SessionFolder folder{temporary.path()};
    SessionMeta meta;
    ExportOptions options;
    std::shared_ptr<platform::MediaService> media = platform::makeFFmpegMediaService();
    std::shared_ptr<CountingVision> vision = std::make_shared<CountingVision>();
};

TEST_F(CutoutExportTest, ThePersonIsShownWithoutTheRoomAndEachCameraFrameIsSegmentedOnce) {
    ExportRenderer(folder, meta, media, vision).exportMovie(options);
    EXPECT_EQ(vision->frames, static_cast<int>(seconds * PersonSession::cameraRate));

    const auto asset = media->asset(options.outputURL);
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

TEST_F(CutoutExportTest, CancellingStopsSoonWhileTheCameraIsSegmented) {
    ExportRenderer renderer(folder, meta, media, vision);
    std::promise<void> underWay;
    bool told = false;
    renderer.onProgress = [&](double) {
        if (vision->frames >= 2 && !std::exchange(told, true)) underWay.set_value();
    };
    auto exporting = std::async(std::launch::async, [&] { renderer.exportMovie(options); });
    underWay.get_future().wait();
    renderer.cancelled = true;
    EXPECT_THROW(exporting.get(), ExportRenderer::Error);
    EXPECT_LT(vision->frames, static_cast<int>(seconds * PersonSession::cameraRate));
    EXPECT_FALSE(std::filesystem::exists(options.outputURL));
}

}  // namespace
}  // namespace cobaltreel
