#include "Cut.hpp"

#include <QImage>
#include <chrono>
#include <ctime>
#include <stdexcept>

namespace cobaltreel::benchmarks {
namespace {

double threadMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

QImage read(const std::filesystem::path& file, QImage::Format format) {
    const QImage image(QString::fromStdString(file.string()));
    if (image.isNull()) throw std::runtime_error("The picture " + file.string() + " can't be read.");
    return image.convertToFormat(format);
}

}  // namespace

Cut cut(platform::PersonSegmentationRequest& request, const platform::PixelBuffer& frame) {
    const double cpu = threadMs();
    const auto start = std::chrono::steady_clock::now();
    const auto masks = request.perform(frame);
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    Cut result{{}, threadMs() - cpu, wall.count()};
    if (!masks.empty()) {
        const auto& plane = masks.front()->plane();
        result.mask = cv::Mat1b(cv::Mat(plane.height, plane.width, CV_8UC1, plane.data,
                                        static_cast<std::size_t>(plane.stride)))
                          .clone();
    }
    return result;
}

cv::Mat3b readPictureFile(const std::filesystem::path& file) {
    QImage image = read(file, QImage::Format_BGR888);
    return cv::Mat3b(cv::Mat(image.height(), image.width(), CV_8UC3, image.bits(),
                             static_cast<std::size_t>(image.bytesPerLine())))
        .clone();
}

cv::Mat1b readMaskFile(const std::filesystem::path& file) {
    QImage image = read(file, QImage::Format_Grayscale8);
    return cv::Mat1b(cv::Mat(image.height(), image.width(), CV_8UC1, image.bits(),
                             static_cast<std::size_t>(image.bytesPerLine())))
        .clone();
}

void writePictureFile(const std::filesystem::path& file, const cv::Mat3b& picture) {
    const QImage image(picture.data, picture.cols, picture.rows, static_cast<qsizetype>(picture.step),
                       QImage::Format_BGR888);
    if (!image.save(QString::fromStdString(file.string()), "PNG"))
        throw std::runtime_error("The picture " + file.string() + " can't be written.");
}

}  // namespace cobaltreel::benchmarks
