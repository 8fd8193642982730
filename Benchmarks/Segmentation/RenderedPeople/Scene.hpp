#pragma once

#include "RenderedPeople/Person.hpp"
#include "RenderedPeople/Room.hpp"

#include <memory>
#include <string>

namespace cobaltreel::rendered {

/// One rendered take: a room, perhaps a person in it, and what the camera makes of them. The same
/// description gives the same frames on every machine.
class Scene {
  public:
    enum class Motion { still, sway, walk, leaveAndReturn, hands, empty };
    static constexpr int motionCount = 5;  // with a person in it

    struct Description {
        unsigned seed = 1;
        Room::Kind room = Room::Kind::plain;
        Motion motion = Motion::still;
        bool clothesLikeRoom = false;
        bool exposureDrift = false;
        double noise = 4;  ///< standard deviation of the sensor's noise, of 255
        cv::Size size{1280, 720};
        std::string name() const;
    };
    struct Frame {
        cv::Mat3b picture;
        cv::Mat1b truth;  ///< 255 = person
    };

    explicit Scene(const Description& description);
    ~Scene();
    const Description& description() const { return description_; }
    Pose poseAt(double seconds) const;
    Frame at(double seconds) const;

  private:
    cv::Mat exposed(const cv::Mat3b& picture, double seconds) const;

    Description description_;
    std::unique_ptr<Room> room_;
    std::unique_ptr<Person> person_;
    Pose rest_;
    double phase_ = 0;
    double drift_[3] = {};
    double contrast_ = 1;
    cv::Mat3s noise_;
};

/// A varied set of takes with a person: rooms, motions, clothes and cameras mixed by `seed`.
std::vector<Scene::Description> variedScenes(unsigned seed, int count);
/// Takes of rooms without anybody.
std::vector<Scene::Description> emptyRooms(unsigned seed, int count);

}  // namespace cobaltreel::rendered
