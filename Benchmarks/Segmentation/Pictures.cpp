#include "Pictures.hpp"

#include "Cut.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "RenderedPeople/Scene.hpp"
#include "Scores.hpp"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace cobaltreel::benchmarks {
namespace {

using rendered::Scene;

constexpr int tileHeight = 360, largestTileWidth = 640, columns = 2;
const cv::Vec3b green(40, 180, 40);

cv::Mat3b tileOf(const cv::Mat3b& picture, const cv::Mat1b& mask) {
    cv::Mat3b cutOut = picture.clone();
    cv::Mat1b whole(picture.size(), uchar(0));
    if (!mask.empty()) cv::resize(mask, whole, picture.size(), 0, 0, cv::INTER_LINEAR);
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x)
            for (int c = 0; c < 3; ++c)
                cutOut(y, x)[c] = static_cast<uchar>(
                    (picture(y, x)[c] * whole(y, x) + green[c] * (255 - whole(y, x))) / 255);
    const double scale = std::min(static_cast<double>(tileHeight) / picture.rows,
                                  static_cast<double>(largestTileWidth) / picture.cols);
    cv::Mat3b tile(tileHeight, 2 * largestTileWidth, cv::Vec3b(0, 0, 0));
    int x = 0;
    for (const auto& side : {picture, cutOut}) {
        cv::Mat3b small;
        cv::resize(side, small, {}, scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
        small.copyTo(tile(cv::Rect({x, 0}, small.size())));
        x += largestTileWidth;
    }
    return tile;
}

}  // namespace

std::vector<std::filesystem::path> pictureFiles(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        const std::string ending = entry.path().extension().string();
        if ((ending == ".png" || ending == ".jpg" || ending == ".jpeg") && !name.ends_with(".mask.png"))
            files.push_back(entry.path());
    }
    if (files.empty())
        throw std::runtime_error("There is no PNG or JPEG picture in " + folder.string() + ".");
    std::sort(files.begin(), files.end());
    return files;
}

void cutPictures(const std::filesystem::path& folder, const std::filesystem::path& sheet,
                 platform::VisionService& vision) {
    std::vector<cv::Mat3b> tiles;
    const auto files = pictureFiles(folder);
    for (const auto& file : files) {
        const cv::Mat3b picture = composited::readPictureFile(file);
        const auto request =
            vision.makePersonSegmentationRequest(platform::PersonSegmentationRequest::QualityLevel::accurate);
        const cv::Mat1b mask = cut(*request, *composited::asBgra(picture)).mask;
        tiles.push_back(tileOf(picture, mask));
        std::printf("%-50s %4d x %-4d", file.filename().c_str(), picture.cols, picture.rows);
        if (const auto truth = composited::maskFileOf(file)) {
            Scores scores;
            scores.beginTake();
            // Below a mask's lower end nothing is known.
            const cv::Mat1b known = composited::readMaskFile(*truth);
            const int rows = cv::boundingRect(known).br().y;
            cv::Mat1b whole(known.size(), uchar(0));
            if (!mask.empty()) cv::resize(mask, whole, known.size(), 0, 0, cv::INTER_LINEAR);
            scores.add(whole.rowRange(0, rows), known.rowRange(0, rows), 0, false);
            std::printf("  overlap %.4f  border %.2f px", scores.meanIoU(), scores.borderPx());
        }
        std::printf("%s\n", mask.empty() ? "  nobody" : "");
    }
    const int rows = (static_cast<int>(tiles.size()) + columns - 1) / columns;
    cv::Mat3b whole(rows * tileHeight, columns * 2 * largestTileWidth, cv::Vec3b(0, 0, 0));
    for (int i = 0; i < static_cast<int>(tiles.size()); ++i)
        tiles[static_cast<std::size_t>(i)].copyTo(
            whole(cv::Rect({i % columns * 2 * largestTileWidth, i / columns * tileHeight}, tiles[0].size())));
    composited::writePictureFile(sheet, whole);
}

namespace {

/// What happens before a camera sees a room without anybody.
enum class Before { nothing, cut, walkedOut };

constexpr double liveStep = 0.05;
constexpr int framesAtOnce = 3, framesAfterwards = 40;
/// What the masks are made from; larger pictures only take longer.
const cv::Size roomSize(640, 360);

/// Somebody who sits for a moment and walks out of the picture, to the left or to the right.
std::vector<Scene::Frame> walkOut(unsigned seed) {
    const Scene scene({.seed = seed,
                       .room = rendered::Room::Kind::plain,
                       .motion = Scene::Motion::leaveAndReturn,
                       .noise = 2});
    std::vector<Scene::Frame> walk;
    for (double t = 1; t < 2.8; t += liveStep) {
        const auto frame = scene.at(t);
        if (cv::countNonZero(frame.truth) == 0) break;
        Scene::Frame small;
        cv::resize(frame.picture, small.picture, roomSize, 0, 0, cv::INTER_AREA);
        cv::resize(frame.truth, small.truth, roomSize, 0, 0, cv::INTER_NEAREST);
        walk.push_back(small);
    }
    return walk;
}

/// The camera's noise, another in each frame.
cv::Mat3b noisy(const cv::Mat3b& picture, cv::RNG& random) {
    static const cv::Mat3s noise = [] {
        cv::Mat3s values(roomSize.height + 64, roomSize.width + 64);
        cv::RNG(3).fill(values, cv::RNG::NORMAL, 0, 2);
        return values;
    }();
    cv::Mat3b shown;
    cv::add(picture, noise(cv::Rect({random.uniform(0, 64), random.uniform(0, 64)}, roomSize)), shown,
            cv::noArray(), CV_8U);
    return shown;
}

}  // namespace

void searchRooms(const std::filesystem::path& folder, platform::VisionService& vision) {
    using Quality = platform::PersonSegmentationRequest::QualityLevel;
    struct Case {
        const char* name;
        Before before;
        int frames;
    };
    const auto somebody = composited::asBgra(
        Scene({.seed = 21, .room = rendered::Room::Kind::office, .motion = Scene::Motion::still})
            .at(0)
            .picture);
    std::vector<std::vector<Scene::Frame>> walks;
    for (const unsigned seed : {21U, 22U, 23U, 24U, 25U}) walks.push_back(walkOut(seed));
    const auto files = pictureFiles(folder);
    for (const Case& c : {Case{"at once", Before::nothing, framesAtOnce},
                          {"somebody is gone from one frame to the next", Before::cut, framesAtOnce},
                          {"somebody walked out 2 s ago", Before::walkedOut, framesAfterwards}})
        for (const auto quality : {Quality::fast, Quality::accurate}) {
            int found = 0;
            cv::RNG random(3);
            for (std::size_t f = 0; f < files.size(); ++f) {
                const auto& file = files[f];
                cv::Mat3b room;
                cv::resize(composited::readPictureFile(file), room, roomSize, 0, 0, cv::INTER_AREA);
                const auto request = vision.makePersonSegmentationRequest(quality);
                for (int i = 0; c.before == Before::cut && i < 2; ++i) request->perform(*somebody);
                if (c.before == Before::walkedOut)
                    for (const auto& frame : walks[f % walks.size()]) {
                        cv::Mat3b shown = room.clone();
                        frame.picture.copyTo(shown, frame.truth);
                        request->perform(*composited::asBgra(noisy(shown, random)));
                    }
                cv::Mat1b mask;
                for (int i = 0; i < c.frames; ++i)
                    mask = cut(*request, *composited::asBgra(noisy(room, random))).mask;
                if (mask.empty() || cv::countNonZero(mask > 127) == 0) continue;
                ++found;
                std::printf("  %s\n", file.filename().c_str());
            }
            std::printf("%s, %s: somebody in %d of %zu rooms (%.1f %%)\n", c.name,
                        quality == Quality::fast ? "fast" : "accurate", found, files.size(),
                        100.0 * found / static_cast<double>(files.size()));
            std::fflush(stdout);
        }
}

}  // namespace cobaltreel::benchmarks
