#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"

#include "Platform/Vision/CompositedPeople/PictureFile.hpp"

#include <cmath>
#include <utility>

#include <opencv2/imgproc.hpp>

namespace cobaltreel::composited {
namespace {

const cv::Size frameSize(1280, 720);
/// Of the frame's height, as somebody at a desk before a camera.
constexpr double personHeight = 0.88;

/// As much of the middle of a picture as fills the frame.
cv::Mat3b filling(const cv::Mat3b& picture) {
    const double scale = std::max(static_cast<double>(frameSize.width) / picture.cols,
                                  static_cast<double>(frameSize.height) / picture.rows);
    cv::Mat3b large;
    cv::resize(picture, large, {}, scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    return large(
               cv::Rect({(large.cols - frameSize.width) / 2, (large.rows - frameSize.height) / 2}, frameSize))
        .clone();
}

}  // namespace

CompositedTake::CompositedTake(Cutout person, const cv::Mat3b& room, Trouble trouble, bool moves)
    : person_(std::move(person)), room_(filling(room)), trouble_(trouble), moves_(moves) {
    noise_.create(frameSize.height + 64, frameSize.width + 64);
    cv::RNG(5).fill(noise_, cv::RNG::NORMAL, 0, trouble == Trouble::noise ? 7 : 2);
}

const char* CompositedTake::name(Trouble trouble) {
    static const char* const names[] = {"none", "noise", "blur", "exposure", "compression"};
    return names[static_cast<int>(trouble)];
}

CompositedTake::Frame CompositedTake::at(double seconds) const {
    const double sway = moves_ ? std::sin(1.7 * seconds) : 0, lean = moves_ ? std::sin(1.1 * seconds) : 0;
    const cv::Rect body = cv::boundingRect(person_.mask);
    const double scale = personHeight * (1 + 0.03 * lean) * frameSize.height / body.height;
    // The mask's lower end is below the frame's.
    const cv::Matx23d place(scale, 0, frameSize.width / 2.0 + 60 * sway - scale * (body.x + body.width / 2.0),
                            0, scale, frameSize.height - scale * body.br().y + 3);
    cv::Mat3b person;
    cv::Mat1b mask;
    cv::warpAffine(person_.picture, person, place, frameSize, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    cv::warpAffine(person_.mask, mask, place, frameSize, cv::INTER_LINEAR);
    Frame frame{room_.clone(), mask > 127};

    cv::Mat1b soft;
    cv::GaussianBlur(mask, soft, {}, 1.2);
    for (int y = 0; y < frameSize.height; ++y)
        for (int x = 0; x < frameSize.width; ++x)
            for (int c = 0; c < 3; ++c)
                frame.picture(y, x)[c] = static_cast<uchar>(
                    (person(y, x)[c] * soft(y, x) + frame.picture(y, x)[c] * (255 - soft(y, x))) / 255);

    if (trouble_ == Trouble::blur) cv::GaussianBlur(frame.picture, frame.picture, {}, 2.5);
    // The camera corrects its exposure in steps.
    const double gain = trouble_ == Trouble::exposure ? (std::fmod(seconds, 1.2) < 0.6 ? 0.6 : 1.15) : 1;
    const int shake = static_cast<int>(std::lround(seconds * 1000));
    const cv::Mat3s noise = noise_(cv::Rect({shake * 7 % 64, shake * 13 % 64}, frameSize));
    cv::Mat wide;
    frame.picture.convertTo(wide, CV_16SC3, gain);
    cv::add(wide, noise, wide);
    wide.convertTo(frame.picture, CV_8U);
    if (trouble_ == Trouble::compression) frame.picture = compressed(frame.picture, 30);
    return frame;
}

}  // namespace cobaltreel::composited
