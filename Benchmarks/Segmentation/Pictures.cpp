#include "Pictures.hpp"

#include "Cut.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Platform/Vision/RenderedPeople/Scene.hpp"
#include "Scores.hpp"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace cobaltreel::benchmarks {
namespace {

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
        const cv::Mat1b mask = cut(*request, *rendered::asBgra(picture)).mask;
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

void searchRooms(const std::filesystem::path& folder, platform::VisionService& vision) {
    using Quality = platform::PersonSegmentationRequest::QualityLevel;
    using rendered::Scene;
    constexpr int framesBefore = 2, frames = 3;
    const auto somebody = rendered::asBgra(
        Scene({.seed = 21, .room = rendered::Room::Kind::office, .motion = Scene::Motion::still})
            .at(0)
            .picture);
    const auto files = pictureFiles(folder);
    for (const bool seen : {false, true})
        for (const auto quality : {Quality::fast, Quality::accurate}) {
            int found = 0;
            for (const auto& file : files) {
                const auto room = rendered::asBgra(composited::readPictureFile(file));
                const auto request = vision.makePersonSegmentationRequest(quality);
                for (int i = 0; seen && i < framesBefore; ++i) request->perform(*somebody);
                cv::Mat1b mask;
                for (int i = 0; i < frames; ++i) mask = cut(*request, *room).mask;
                if (mask.empty() || cv::countNonZero(mask > 127) == 0) continue;
                ++found;
                std::printf("  %s\n", file.filename().c_str());
            }
            std::printf("%s, %s: somebody in %d of %zu rooms (%.1f %%)\n",
                        seen ? "after somebody" : "at once", quality == Quality::fast ? "fast" : "accurate",
                        found, files.size(), 100.0 * found / static_cast<double>(files.size()));
        }
}

}  // namespace cobaltreel::benchmarks
