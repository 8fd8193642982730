#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"

#include "Platform/Vision/CompositedPeople/PictureFile.hpp"

#include <algorithm>
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

std::optional<Cutout> photographedPerson() {
    const std::filesystem::path file = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg";
    if (!std::filesystem::exists(file)) return std::nullopt;
    return Cutout{readPictureFile(file), readMaskFile(*maskFileOf(file))};
}

cv::Mat3b drawnRoom(unsigned seed) {
    cv::RNG random(seed);
    const auto color = [&](int low, int high) {
        return cv::Scalar(random.uniform(low, high), random.uniform(low, high), random.uniform(low, high));
    };
    cv::Mat3b room(frameSize);
    room.setTo(color(90, 210));
    for (int shelf = 140; shelf < frameSize.height; shelf += 145)
        for (int x = 0, wide; x < 420; x += wide) {
            wide = random.uniform(14, 44);
            cv::rectangle(room, {x, shelf - random.uniform(70, 120)}, {x + wide - 2, shelf}, color(20, 225),
                          -1);
        }
    cv::rectangle(room, {880, 60}, {1180, 400}, {250, 240, 225}, -1);
    cv::rectangle(room, {780, 470}, {1280, 490}, color(30, 140), -1);
    cv::GaussianBlur(room, room, {}, random.uniform(1.0, 3.0));
    return room;
}

CompositedTake::CompositedTake(Cutout person, const cv::Mat3b& room, Trouble trouble, Motion motion)
    : person_(std::move(person)), room_(filling(room)), trouble_(trouble), motion_(motion) {
    noise_.create(frameSize.height + 64, frameSize.width + 64);
    cv::RNG(5).fill(noise_, cv::RNG::NORMAL, 0, trouble == Trouble::noise ? 7 : 2);
}

const char* CompositedTake::name(Trouble trouble) {
    static const char* const names[] = {"none", "noise", "blur", "exposure", "compression"};
    return names[static_cast<int>(trouble)];
}

CompositedTake::Frame CompositedTake::at(double seconds) const {
    const bool sways = motion_ == Motion::sway;
    const double sway = sways ? std::sin(1.7 * seconds) : 0, lean = sways ? std::sin(1.1 * seconds) : 0;
    const double away =
        motion_ != Motion::leaveAndReturn ? 0 : std::clamp(std::min(seconds - 1.6, 4.2 - seconds), 0.0, 1.0);
    const double aside = frameSize.width * away * away * (3 - 2 * away);
    const cv::Rect body = cv::boundingRect(person_.mask);
    const double scale = personHeight * (1 + 0.03 * lean) * frameSize.height / body.height;
    // The mask's lower end is below the frame's.
    const cv::Matx23d place(scale, 0,
                            frameSize.width / 2.0 + 60 * sway + aside - scale * (body.x + body.width / 2.0),
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
