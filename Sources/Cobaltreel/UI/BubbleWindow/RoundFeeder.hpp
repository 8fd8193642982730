#pragma once

#include "Cobaltreel/UI/BubbleWindow/BubbleFeeder.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Imaging/RenderContext.hpp"

#include <optional>

namespace cobaltreel {

/// The camera's picture for the round style: its middle, filling the bubble's square. Of the frames that
/// arrive while one is being rendered the newest is kept.
class RoundFeeder final : public BubbleFeeder {
  public:
    explicit RoundFeeder(std::shared_ptr<platform::MainLoop> mainLoop) : BubbleFeeder(std::move(mainLoop)) {}

    void feed(const platform::ConstPixelBufferRef& frame) override;

  private:
    void renderAll();
    void render(const platform::ConstPixelBufferRef& frame);

    std::mutex lock_;
    platform::ConstPixelBufferRef next_;
    bool busy_ = false;

    // The queue's own.
    platform::RenderContext context_;
    std::optional<platform::PixelBufferPool> pool_;

    platform::SerialQueue queue_{"cobaltreel.bubble.round", 1};  // ends before what its work uses
};

}  // namespace cobaltreel
