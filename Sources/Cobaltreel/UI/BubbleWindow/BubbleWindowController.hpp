#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Platform/Desktop/Compositor.hpp"
#include "Platform/Desktop/WindowManager.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <QWindow>
#include <memory>

namespace cobaltreel {

class BubbleFeeder;
class BubbleWindow;
class RoundFeeder;

/// The floating camera bubble in a corner of the main screen. One for the whole run; main thread, but for
/// the frame handler.
class BubbleWindowController final : public CameraBubble {
  public:
    /// Without `vision` the cut-out stays empty; without `compositor` nothing is blended; without
    /// `windowManager` the toolkit tells where panels and docks are.
    BubbleWindowController(std::shared_ptr<platform::Clock> clock,
                           std::shared_ptr<platform::MainLoop> mainLoop,
                           std::shared_ptr<platform::VisionService> vision,
                           std::shared_ptr<platform::Compositor> compositor,
                           std::shared_ptr<platform::WindowManager> windowManager = nullptr);
    ~BubbleWindowController() override;

    void show(CameraCorner corner, double diameter, CameraStyle style) override;
    void update(CameraCorner corner, double diameter) override;
    void hide() override;
    FrameHandler frameHandler() override;

    /// The window while it is shown, null otherwise.
    QWindow* panel() const;

  private:
    BubbleFeeder& feeder() const;
    void place(CameraCorner corner, double diameter);

    std::shared_ptr<platform::Compositor> compositor_;
    std::shared_ptr<platform::WindowManager> windowManager_;
    std::unique_ptr<BubbleWindow> panel_;
    CameraStyle style_ = CameraStyle::bubble;  // of the current panel
    std::shared_ptr<RoundFeeder> roundFeeder_;
    std::shared_ptr<BubbleFeeder> cutoutFeeder_;  // keeps its last mask from one showing to the next
};

}  // namespace cobaltreel
