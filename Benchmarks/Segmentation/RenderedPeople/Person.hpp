#pragma once

#include "RenderedPeople/Paint.hpp"

namespace cobaltreel::rendered {

/// Where a person is in one frame. Pixels of a 1280 × 720 frame, origin at the top left, y downwards.
struct Pose {
    double headX = 640;
    double headY = 270;      ///< centre of the head
    double headWidth = 170;  ///< of the skull without hair
    double headTilt = 0;     ///< degrees, clockwise
    double bodyTilt = 0;
    double raisedHand = 0;  ///< 0: out of the picture, 1: beside the face
    bool present = true;
};

/// A person drawn once (head, body and forearm as layers) and placed per frame.
class Person {
  public:
    /// Everything about the looks comes from `random`; `clothes` fixes the main color of the clothes.
    Person(Random& random, const cv::Scalar& clothes);

    /// Paints the person onto `frame` and returns exactly what is covered, 0…255.
    cv::Mat1b paint(cv::Mat3b& frame, const Pose& pose) const;

  private:
    void drawBody(Random& random);
    void drawHead(Random& random);
    void drawForearm(Random& random);

    cv::Scalar skin_, hair_, clothes_;
    Sprite body_, head_, forearm_;
    bool rightHand_;
};

}  // namespace cobaltreel::rendered
