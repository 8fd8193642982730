#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"

#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindow.hpp"
#include "Cobaltreel/UI/BubbleWindow/CutoutFeeder.hpp"
#include "Cobaltreel/UI/BubbleWindow/RoundFeeder.hpp"
#include "Cobaltreel/UI/BubbleWindow/RoundStencil.hpp"
#include "Cobaltreel/UI/Windows/ScreenRoom.hpp"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
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
    panel_->exposed = [this] { restack(); };
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, panel_.get(), [this] { restack(); });
    // Window managers put their windows in order in their own time, some after ours and without a word.
    auto* const watch = new QTimer(panel_.get());
    QObject::connect(watch, &QTimer::timeout, panel_.get(), [this] { restack(); });
    watch->start(300);
    feeder().setTarget([panel = panel_.get()](const QImage& picture) { panel->setPicture(picture); });
    place(corner, diameter);
    if (style == CameraStyle::bubble) {
        const double density = panel_->devicePixelRatio();
        panel_->setPicture(
            RoundStencil((QSizeF(panel_->size()) * density).toSize(), BubbleGeometry::ringWidth * density)
                .empty());
    }
    isBelow_ = false;
    panel_->show();
    panel_->raise();
}

void BubbleWindowController::update(CameraCorner corner, double diameter) {
    if (!panel_) return;
    place(corner, diameter);
    restack();
}

void BubbleWindowController::restack() {
    if (!windowManager_ || QGuiApplication::platformName() != QLatin1String("xcb")) return;
    bool isBelow = false;
    for (QWindow* const other : QGuiApplication::topLevelWindows()) {
        const bool goesBefore =
            other->modality() != Qt::NonModal || other->flags().testFlag(Qt::WindowStaysOnTopHint);
        if (other == panel_.get() || !goesBefore || !other->isVisible() ||
            !other->geometry().intersects(panel_->geometry()))
            continue;
        windowManager_->stackBelow(static_cast<std::uint32_t>(panel_->winId()),
                                   static_cast<std::uint32_t>(other->winId()));
        isBelow = true;
    }
    if (!isBelow && isBelow_) panel_->raise();
    isBelow_ = isBelow;
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
