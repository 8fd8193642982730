#include "Rig/PersonPicture.hpp"

#include "Platform/Vision/RenderedPeople/Scene.hpp"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace rig {

PersonPicture::PersonPicture(int width, int height) {
    using cobaltreel::rendered::Room;
    using cobaltreel::rendered::Scene;
    Scene::Description description;
    description.seed = 7;
    description.room = Room::Kind::bookshelf;
    description.motion = Scene::Motion::sway;
    description.noise = 1;
    description.size = {width, height};
    const Scene scene(description);
    for (std::size_t i = 0; i < count; ++i) {
        cv::Mat planes;
        cv::cvtColor(scene.at(static_cast<double>(i) * period / 2 / count).picture, planes,
                     cv::COLOR_BGR2YUV_I420);
        pictures_.emplace_back(planes.datastart, planes.dataend);
    }
}

const std::uint8_t* PersonPicture::i420(double seconds) const {
    const double phase = std::fmod(seconds, period) / period * 2;
    const double there = phase < 1 ? phase : 2 - phase;
    return pictures_[std::min(count - 1, static_cast<std::size_t>(there * count))].data();
}

}  // namespace rig
