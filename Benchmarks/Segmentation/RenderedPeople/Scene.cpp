#include "RenderedPeople/Scene.hpp"

namespace cobaltreel::rendered {

std::string Scene::Description::name() const {
    static const char* const motions[] = {"still", "sway", "walk", "leave", "hands", "empty"};
    return std::string(Room::name(room)) + " " + motions[static_cast<int>(motion)] +
           (clothesLikeRoom ? " similar" : "") + (exposureDrift ? " drift" : "");
}

Scene::Scene(const Description& description) : description_(description) {
    Random random(description.seed * 7919u + 13u);
    room_ = std::make_unique<Room>(random, description.room, cv::Size(1280, 720));
    if (description.motion != Motion::empty) {
        cv::Scalar clothes = randomColor(random, 15, 225);
        if (description.clothesLikeRoom)
            clothes = scaled(room_->colorBehindPerson(), uniform(random, 0.85, 1.15));
        person_ = std::make_unique<Person>(random, clothes);
    }
    rest_.headWidth = uniform(random, 125, 215);
    rest_.headX = uniform(random, 480, 800);
    rest_.headY = uniform(random, 250, 320) + (rest_.headWidth - 170) * 0.3;
    rest_.headTilt = uniform(random, -6, 6);
    rest_.bodyTilt = uniform(random, -3, 3);
    phase_ = uniform(random, 0, 6.28);
    contrast_ = uniform(random, 0.8, 1.1);
    for (double& d : drift_) d = uniform(random, 0.03, 0.16);
    noise_.create(cv::Size(1280 + 256, 720 + 256));
    cv::RNG sensor(description.seed + 1);
    sensor.fill(noise_, cv::RNG::NORMAL, 0, description.noise);
}

Scene::~Scene() = default;

Pose Scene::poseAt(double t) const {
    Pose pose = rest_;
    const double swing = std::sin(t * 1.9 + phase_), slow = std::sin(t * 0.9 + phase_ * 2);
    switch (description_.motion) {
        case Motion::still:
        case Motion::empty:
            break;
        case Motion::sway:
            pose.headX += 38 * swing;
            pose.headY += 10 * slow;
            pose.headTilt += 7 * slow;
            pose.bodyTilt += 2.5 * swing;
            break;
        case Motion::walk:
            pose.headX += 210 * std::sin(t * 1.1 + phase_);
            pose.headY += 8 * swing;
            pose.headWidth *= 1 + 0.08 * slow;
            break;
        case Motion::leaveAndReturn: {
            // Sits for 1.6 s, is out of the picture from about 2.4 s to 3.2 s, and sits down again.
            const double away = t < 1.6 ? 0 : t < 2.6 ? (t - 1.6) : t < 3.2 ? 1 : t < 4.2 ? (4.2 - t) : 0;
            const double eased = away * away * (3 - 2 * away);
            const double side = phase_ > 3.14 ? 1 : -1;
            const double distance = (side > 0 ? 1280 - pose.headX : pose.headX) + pose.headWidth * 2.4;
            pose.headX += side * distance * eased;
            pose.present = away < 1;
            break;
        }
        case Motion::hands:
            pose.headX += 8 * swing;
            pose.raisedHand = std::clamp(0.5 + 0.9 * std::sin(t * 2.6 - 1.2), 0.0, 1.0);
            break;
    }
    return pose;
}

cv::Mat Scene::exposed(const cv::Mat3b& picture, double seconds) const {
    cv::Mat3b out;
    cv::GaussianBlur(picture, out, {}, 0.8);  // the lens
    double gain[3], offset = 0;
    for (int c = 0; c < 3; ++c)
        gain[c] =
            contrast_ *
            (description_.exposureDrift ? 1 + drift_[c] * std::sin(seconds * 1.6 + phase_ + 0.3 * c) : 1.0);
    if (description_.exposureDrift) offset = 6 * std::sin(seconds * 0.8);
    Random shake(
        static_cast<unsigned>(description_.seed * 131u + static_cast<unsigned>(std::lround(seconds * 1000))));
    const cv::Mat3s noise = noise_(cv::Rect(choice(shake, 256), choice(shake, 256), 1280, 720));
    cv::Mat wide;
    cv::multiply(out, cv::Scalar(gain[0], gain[1], gain[2]), wide, 1, CV_16SC3);
    cv::add(wide, cv::Scalar::all(offset), wide);
    cv::add(wide, noise, wide);
    wide.convertTo(out, CV_8U);
    return out;
}

Scene::Frame Scene::at(double seconds) const {
    cv::Mat3b picture = room_->at(seconds);
    cv::Mat1b truth(picture.size(), uchar(0));
    if (person_) truth = person_->paint(picture, poseAt(seconds));
    Frame frame{exposed(picture, seconds), truth};
    if (description_.size != picture.size()) {
        cv::resize(frame.picture, frame.picture, description_.size, 0, 0, cv::INTER_AREA);
        cv::resize(frame.truth, frame.truth, description_.size, 0, 0, cv::INTER_AREA);
    }
    return frame;
}

std::vector<Scene::Description> variedScenes(unsigned seed, int count) {
    std::vector<Scene::Description> scenes;
    for (int i = 0; i < count; ++i) {
        Random random(seed * 104729u + static_cast<unsigned>(i));
        Scene::Description scene;
        scene.seed = static_cast<unsigned>(random());
        scene.room = static_cast<Room::Kind>(i % Room::kindCount);
        // The two cycles have no common factor, so that thirty scenes hold every pair.
        scene.motion = static_cast<Scene::Motion>(i % Scene::motionCount);
        scene.clothesLikeRoom = i % 4 == 3;
        scene.exposureDrift = i % 3 == 1;
        scene.noise = uniform(random, 1.5, 7);
        scenes.push_back(scene);
    }
    return scenes;
}

std::vector<Scene::Description> emptyRooms(unsigned seed, int count) {
    std::vector<Scene::Description> scenes = variedScenes(seed + 1000, count);
    for (auto& scene : scenes) scene.motion = Scene::Motion::empty;
    return scenes;
}

}  // namespace cobaltreel::rendered
