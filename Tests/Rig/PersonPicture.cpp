#include "Rig/PersonPicture.hpp"

#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <opencv2/imgproc.hpp>

namespace rig {

PersonPicture::PersonPicture(int width, int height) {
    using namespace cobaltreel::composited;
    const auto person = photographedPerson();
    if (!person) throw std::runtime_error("there is nobody to show: install python-matplotlib-data");
    const CompositedTake take(*person, drawnRoom(7), CompositedTake::Trouble::none,
                              CompositedTake::Motion::sway);
    for (std::size_t i = 0; i < count; ++i) {
        cv::Mat3b picture;
        cv::resize(take.at(static_cast<double>(i) * period / 2 / count).picture, picture, {width, height});
        cv::Mat planes;
        cv::cvtColor(picture, planes, cv::COLOR_BGR2YUV_I420);
        pictures_.emplace_back(planes.datastart, planes.dataend);
    }
}

const std::uint8_t* PersonPicture::i420(double seconds) const {
    const double phase = std::fmod(seconds, period) / period * 2;
    const double there = phase < 1 ? phase : 2 - phase;
    return pictures_[std::min(count - 1, static_cast<std::size_t>(there * count))].data();
}

}  // namespace rig
