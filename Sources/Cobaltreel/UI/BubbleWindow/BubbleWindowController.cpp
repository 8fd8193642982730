#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"

#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindow.hpp"
#include "Cobaltreel/UI/BubbleWindow/CutoutFeeder.hpp"
#include "Cobaltreel/UI/BubbleWindow/RoundFeeder.hpp"
#include "Cobaltreel/UI/Windows/ScreenRoom.hpp"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace cobaltreel {

BubbleWindowController::BubbleWindowController(std::shared_ptr<platform::Clock> clock,
                                               std::shared_ptr<platform::MainLoop> mainLoop,
                                               std::shared_ptr<platform::VisionService> vision,
                                               std::shared_ptr<platform::Compositor> compositor,
                                               std::shared_ptr<platform::WindowManager> windowManager)
    : compositor_(std::move(compositor)),
      windowManager_(std::move(windowManager)),
      roundFeeder_(std::make_shared<RoundFeeder>(mainLoop)),
      cutoutFeeder_(std::make_shared<CutoutFeeder>(std::move(clock), mainLoop, std::move(vision))) {}

BubbleWindowController::~BubbleWindowController() { hide(); }

BubbleFeeder& BubbleWindowController::feeder() const {
    return style_ == CameraStyle::cutout ? *cutoutFeeder_ : *roundFeeder_;
}

QWindow* BubbleWindowController::panel() const { return panel_.get(); }

void BubbleWindowController::show(CameraCorner corner, double diameter, CameraStyle style) {
    hide();
    style_ = style;
    panel_ = std::make_unique<BubbleWindow>(style, compositor_ && compositor_->isRunning());
    feeder().setTarget([panel = panel_.get()](const QImage& picture) { panel->setPicture(picture); });
    place(corner, diameter);
    if (style == CameraStyle::bubble) {
        const double density = panel_->devicePixelRatio();
        panel_->setPicture(RoundFeeder::empty((QSizeF(panel_->size()) * density).toSize(),
                                              BubbleGeometry::ringWidth * density));
    }
    panel_->show();
    panel_->raise();
}

void BubbleWindowController::update(CameraCorner corner, double diameter) {
    if (panel_) place(corner, diameter);
}

void BubbleWindowController::place(CameraCorner corner, double diameter) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect visibleFrame =
        screen ? roomOf(*screen, windowManager_.get()) : BubbleGeometry::frameWithoutScreen;
    // The desktop's points are pixels; the toolkit's are larger where the user has scaled it up.
    const QSize size =
        BubbleGeometry::size(screen ? diameter / screen->devicePixelRatio() : diameter, style_);
    panel_->place(BubbleGeometry::frame(corner, size, visibleFrame));
    const double density = panel_->devicePixelRatio();
    feeder().setSize((QSizeF(size) * density).toSize());
    roundFeeder_->setRingWidth(BubbleGeometry::ringWidth * density);
}

void BubbleWindowController::hide() {
    roundFeeder_->setTarget({});
    cutoutFeeder_->setTarget({});
    panel_.reset();
}

CameraBubble::FrameHandler BubbleWindowController::frameHandler() {
    return [feeder = feeder().weak_from_this()](const platform::ConstPixelBufferRef& frame) {
        if (const auto fed = feeder.lock()) fed->feed(frame);
    };
}

}  // namespace cobaltreel
