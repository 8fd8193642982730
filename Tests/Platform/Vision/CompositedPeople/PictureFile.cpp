#include "Platform/Vision/CompositedPeople/PictureFile.hpp"

#include <QBuffer>
#include <QImage>
#include <memory>
#include <stdexcept>

#include <opencv2/imgproc.hpp>

namespace cobaltreel::composited {
namespace {

QImage read(const std::filesystem::path& file, QImage::Format format) {
    const QImage image(QString::fromStdString(file.string()));
    if (image.isNull()) throw std::runtime_error("The picture " + file.string() + " can't be read.");
    return image.convertToFormat(format);
}

cv::Mat matrixOf(const QImage& image, int type) {
    return cv::Mat(image.height(), image.width(), type, const_cast<uchar*>(image.constBits()),
                   static_cast<std::size_t>(image.bytesPerLine()))
        .clone();
}

QImage imageOver(const cv::Mat3b& picture) {
    return {picture.data, picture.cols, picture.rows, static_cast<qsizetype>(picture.step),
            QImage::Format_BGR888};
}

}  // namespace

cv::Mat3b readPictureFile(const std::filesystem::path& file) {
    return matrixOf(read(file, QImage::Format_BGR888), CV_8UC3);
}

cv::Mat1b readMaskFile(const std::filesystem::path& file) {
    return matrixOf(read(file, QImage::Format_Grayscale8), CV_8UC1);
}

void writePictureFile(const std::filesystem::path& file, const cv::Mat3b& picture) {
    if (!imageOver(picture).save(QString::fromStdString(file.string()), "PNG"))
        throw std::runtime_error("The picture " + file.string() + " can't be written.");
}

std::optional<std::filesystem::path> maskFileOf(const std::filesystem::path& picture) {
    const std::string name = picture.stem().string() + ".mask.png";
    for (const auto& folder : {picture.parent_path(), std::filesystem::path(COBALTREEL_MASKS)})
        if (std::filesystem::exists(folder / name)) return folder / name;
    return std::nullopt;
}

platform::PixelBufferRef asBgra(const cv::Mat3b& picture) {
    auto buffer =
        std::make_shared<platform::PixelBuffer>(platform::PixelFormat::bgra, picture.cols, picture.rows);
    const auto& plane = buffer->plane();
    cv::Mat target(picture.rows, picture.cols, CV_8UC4, plane.data, static_cast<std::size_t>(plane.stride));
    cv::cvtColor(picture, target, cv::COLOR_BGR2BGRA);
    return buffer;
}

cv::Mat3b compressed(const cv::Mat3b& picture, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    imageOver(picture).save(&buffer, "JPEG", quality);
    return matrixOf(QImage::fromData(bytes, "JPEG").convertToFormat(QImage::Format_BGR888), CV_8UC3);
}

}  // namespace cobaltreel::composited
