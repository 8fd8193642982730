#include "Platform/Vision/OpenCv/FramePicture.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

cv::Mat resizedPlane(const Plane& plane, int type, cv::Size size) {
    const cv::Mat whole(plane.height, plane.width, type, plane.data, static_cast<std::size_t>(plane.stride));
    cv::Mat out;
    const bool shrinks = size.width <= plane.width && size.height <= plane.height;
    cv::resize(whole, out, size, 0, 0, shrinks ? cv::INTER_AREA : cv::INTER_LINEAR);
    return out;
}

/// Rows of the matrix from (Y, U − 128, V − 128, 1) to blue, green, red.
cv::Matx34f yuvToBgr(ColorMatrix matrix) {
    const bool full = matrix == ColorMatrix::bt601Full || matrix == ColorMatrix::bt709Full;
    const bool bt601 = matrix == ColorMatrix::bt601Full || matrix == ColorMatrix::bt601Limited;
    // Luma weights of ITU-R BT.601 and BT.709.
    const float kr = bt601 ? 0.299F : 0.2126F, kb = bt601 ? 0.114F : 0.0722F, kg = 1 - kr - kb;
    const float luma = full ? 1.0F : 255.0F / 219.0F, chroma = full ? 1.0F : 255.0F / 224.0F;
    const float u = 2 * (1 - kb) * chroma, v = 2 * (1 - kr) * chroma, lift = full ? 0.0F : -16 * luma;
    return {luma, u, 0, lift, luma, -u * kb / kg, -v * kr / kg, lift, luma, 0, v, lift};
}

/// The mean luma of a room that is lit well enough, and the strongest correction.
constexpr double litLuma = 100, strongestGamma = 0.35;

}  // namespace

cv::Size workingSize(cv::Size frame, double area) {
    const double scale = std::min(1.0, std::sqrt(area / (static_cast<double>(frame.width) * frame.height)));
    return {std::max(1, static_cast<int>(std::lround(frame.width * scale))),
            std::max(1, static_cast<int>(std::lround(frame.height * scale)))};
}

cv::Mat3b readPicture(const PixelBuffer& frame, cv::Size size) {
    if (frame.format() == PixelFormat::bgra) {
        cv::Mat3b picture;
        cv::cvtColor(resizedPlane(frame.plane(), CV_8UC4, size), picture, cv::COLOR_BGRA2BGR);
        return picture;
    }
    if (frame.format() != PixelFormat::i420)
        throw PlatformError("Vision", 1,
                            "The camera frame is a gray picture; a person is searched in color pictures.");
    // The planes are brought to the small size first, so the conversion touches few pixels.
    cv::Mat channels[3];
    for (int i = 0; i < 3; ++i) channels[i] = resizedPlane(frame.plane(i), CV_8UC1, size);
    cv::Mat yuv;
    cv::merge(channels, 3, yuv);
    const cv::Matx34f m = yuvToBgr(frame.matrix());
    cv::Mat3b picture(size);
    for (int y = 0; y < size.height; ++y) {
        const cv::Vec3b* in = yuv.ptr<cv::Vec3b>(y);
        cv::Vec3b* out = picture[y];
        for (int x = 0; x < size.width; ++x) {
            const float luma = in[x][0], u = in[x][1] - 128.0F, v = in[x][2] - 128.0F;
            for (int c = 0; c < 3; ++c)
                out[x][c] = cv::saturate_cast<uchar>(m(c, 0) * luma + m(c, 1) * u + m(c, 2) * v + m(c, 3));
        }
    }
    return picture;
}

cv::Mat3b resized(const cv::Mat3b& picture, cv::Size size) {
    // OpenCV averages two by two pixels ten times as fast as any other number of them.
    cv::Mat3b near = picture, result;
    while (near.cols >= 2 * size.width && near.rows >= 2 * size.height) {
        cv::Mat3b half;
        cv::resize(near, half, {near.cols / 2, near.rows / 2}, 0, 0, cv::INTER_AREA);
        near = half;
    }
    cv::resize(near, result, size, 0, 0, cv::INTER_LINEAR);
    return result;
}

cv::Mat1b liftFor(const cv::Mat3b& picture) {
    const cv::Scalar mean = cv::mean(picture);
    const double luma = 0.114 * mean[0] + 0.587 * mean[1] + 0.299 * mean[2];
    if (luma >= litLuma || luma < 1) return {};
    const double gamma = std::max(strongestGamma, std::log(litLuma / 255) / std::log(luma / 255));
    cv::Mat1b curve(1, 256);
    for (int i = 0; i < 256; ++i) curve(i) = cv::saturate_cast<uchar>(255 * std::pow(i / 255.0, gamma));
    return curve;
}

cv::Mat3b lifted(const cv::Mat3b& picture, const cv::Mat1b& curve) {
    if (curve.empty()) return picture;
    cv::Mat3b lit;
    cv::LUT(picture, curve, lit);
    return lit;
}

}  // namespace platform
