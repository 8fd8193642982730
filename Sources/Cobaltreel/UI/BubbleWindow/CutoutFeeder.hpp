#pragma once

#include "Cobaltreel/Scene/PersonCutout.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleFeeder.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

namespace cobaltreel {

/// The person cut out of the camera's picture: twenty times a second at most and never two at once; other
/// frames are dropped. Pictures are premultiplied and no larger than the bubble, with the frame's aspect;
/// there is none before the first mask.
class CutoutFeeder final : public BubbleFeeder {
  public:
    /// Seconds between two frames that are segmented, at least.
    static constexpr double minInterval = 0.05;

    /// Without `vision` there is never a picture.
    CutoutFeeder(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
                 std::shared_ptr<platform::VisionService> vision);

    void feed(const platform::ConstPixelBufferRef& frame) override;

  private:
    bool admit();
    void finish();
    void render(const platform::ConstPixelBufferRef& frame);

    std::shared_ptr<platform::Clock> clock_;
    bool hasVision_;

    std::mutex lock_;  // guards the two below
    bool busy_ = false;
    double lastTime_ = 0;  // host clock, when the last accepted frame arrived

    PersonCutout cutout_;  // the queue's own

    platform::SerialQueue queue_{"cobaltreel.cutout.seg", 1};  // ends before what its work uses
};

}  // namespace cobaltreel
