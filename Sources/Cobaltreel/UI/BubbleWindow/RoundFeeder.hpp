#pragma once

#include "Cobaltreel/Scene/RoundBubble.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleFeeder.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <atomic>
#include <optional>

namespace cobaltreel {

/// The camera's picture for the round style: its middle, filling the circle, with the ring. Of the frames
/// that arrive while one is being rendered the newest is kept.
class RoundFeeder final : public BubbleFeeder {
  public:
    explicit RoundFeeder(std::shared_ptr<platform::MainLoop> mainLoop) : BubbleFeeder(std::move(mainLoop)) {}

    /// Of the ring in pixels, from the next size on. Any thread.
    void setRingWidth(double pixels) { ringWidth_ = pixels; }

    void feed(const platform::ConstPixelBufferRef& frame) override;

    /// The bubble before the first frame: the ring around black. Pixels.
    static QImage empty(QSize size, double ringWidth);

  private:
    void renderAll();
    void render(const platform::ConstPixelBufferRef& frame);

    std::mutex lock_;
    platform::ConstPixelBufferRef next_;
    bool busy_ = false;
    std::atomic<double> ringWidth_{BubbleGeometry::ringWidth};

    // The queue's own.
    platform::Resampler resampler_;
    std::optional<platform::PixelBufferPool> pool_;
    std::optional<RoundBubble> bubble_;

    platform::SerialQueue queue_{"cobaltreel.bubble.round", 1};  // ends before what its work uses
};

}  // namespace cobaltreel
