#pragma once

#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <QImage>
#include <QSize>
#include <functional>
#include <memory>
#include <mutex>

namespace cobaltreel {

/// Turns the camera's pictures into what the bubble shows of them. Belongs to the bubble and is held weakly
/// by whoever feeds it.
class BubbleFeeder : public std::enable_shared_from_this<BubbleFeeder> {
  public:
    using Target = std::function<void(const QImage&)>;

    virtual ~BubbleFeeder() = default;
    BubbleFeeder(const BubbleFeeder&) = delete;
    BubbleFeeder& operator=(const BubbleFeeder&) = delete;

    /// On the camera's queue; returns at once. What cannot be handled in time is dropped.
    virtual void feed(const platform::ConstPixelBufferRef& frame) = 0;

    /// Receives, on the main thread, every picture for the bubble; empty for none. Main thread.
    void setTarget(Target target);
    /// The bubble's size in pixels, from the next frame on. Any thread.
    void setSize(QSize pixels);

  protected:
    explicit BubbleFeeder(std::shared_ptr<platform::MainLoop> mainLoop) : mainLoop_(std::move(mainLoop)) {}

    QSize size() const;
    /// Hands a picture to the main thread, in place of one that still waits. Any thread.
    void hand(QImage picture);

  private:
    /// What the main thread takes from. Complete before the thread that renders begins, which the pointer of
    /// `enable_shared_from_this` is not; and a picture under way never makes the main thread end the feeder.
    struct Outlet {
        void deliver();

        Target target;  // main thread
        std::mutex mutex;
        QImage waiting;
    };

    std::shared_ptr<platform::MainLoop> mainLoop_;
    const std::shared_ptr<Outlet> outlet_ = std::make_shared<Outlet>();
    mutable std::mutex mutex_;
    QSize size_;
};

}  // namespace cobaltreel
