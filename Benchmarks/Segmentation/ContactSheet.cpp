#include "ContactSheet.hpp"

#include "Platform/Vision/CompositedPeople/PictureFile.hpp"

#include <opencv2/imgproc.hpp>

namespace cobaltreel::benchmarks {
namespace {

const cv::Size tileSize(320, 180);

}  // namespace

void ContactSheet::add(const cv::Mat3b& frame, const cv::Mat1b& mask, const cv::Mat1b& truth,
                       const std::string& caption) {
    cv::Mat3b tile;
    cv::Mat1b found(tileSize, uchar(0)), exact;
    cv::resize(frame, tile, tileSize, 0, 0, cv::INTER_AREA);
    cv::resize(truth, exact, tileSize, 0, 0, cv::INTER_AREA);
    if (!mask.empty()) cv::resize(mask, found, tileSize, 0, 0, cv::INTER_AREA);
    for (int y = 0; y < tileSize.height; ++y)
        for (int x = 0; x < tileSize.width; ++x) {
            const bool says = found(y, x) > 127, is = exact(y, x) > 127;
            if (says && !is)
                tile(y, x) = {0, 0, 255};
            else if (!says && is)
                tile(y, x) = {255, 0, 0};
            else if (!says)
                tile(y, x) *= 0.4;
        }
    cv::putText(tile, caption, {4, 12}, cv::FONT_HERSHEY_SIMPLEX, 0.36, {255, 255, 255}, 1, cv::LINE_AA);
    tiles_.push_back(tile);
}

void ContactSheet::write(const std::string& file, int columns) const {
    const int rows = (static_cast<int>(tiles_.size()) + columns - 1) / columns;
    cv::Mat3b sheet(rows * tileSize.height, columns * tileSize.width, cv::Vec3b(0, 0, 0));
    for (int i = 0; i < static_cast<int>(tiles_.size()); ++i)
        tiles_[static_cast<std::size_t>(i)].copyTo(
            sheet(cv::Rect({i % columns * tileSize.width, i / columns * tileSize.height}, tileSize)));
    composited::writePictureFile(file, sheet);
}

}  // namespace cobaltreel::benchmarks
