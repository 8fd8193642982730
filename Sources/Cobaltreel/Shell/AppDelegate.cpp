#include "Cobaltreel/Shell/AppDelegate.hpp"

#include "Cobaltreel/Capture/Awaiting.hpp"
#include "Cobaltreel/Shell/InstanceAnswers.hpp"
#include "Cobaltreel/Shell/OrphanSessions.hpp"
#include "Cobaltreel/Shell/StatusLabels.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Colors.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/Windows/QtColor.hpp"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QPalette>
#include <QWindow>
#include <algorithm>
#include <limits>
#include <utility>

namespace cobaltreel {
namespace {

const std::string panelShownKey = "panelShown";
constexpr double secondsAfterStop = 1;

/// At the item that a tray is still taking in.
constexpr double secondsBetweenLooks = 0.05;
constexpr int maxLooks = 20;

/// Dark, whatever the desktop's own choice: for what the toolkit draws itself, such as the tray's tooltip.
void setDarkAppearance() {
    const QColor window = qtColor(Colors::window), text(224, 224, 224);
    QPalette palette(window);
    for (const auto role : {QPalette::Window, QPalette::Base, QPalette::ToolTipBase})
        palette.setColor(role, window);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ToolTipText, QPalette::ButtonText})
        palette.setColor(role, text);
    QGuiApplication::setPalette(palette);
}

}  // namespace

AppDelegate::AppDelegate(platform::PlatformServices host, RecordingServices recording)
    : host_(std::move(host)),
      alerts_(recording.alerts),
      windows_(recording.windows),
      defaults_(recording.defaults),
      permissions_({host_.mainLoop, host_.screenAccess, host_.deviceAccess, host_.systemSettings,
                    host_.relauncher, [this] { quit(); }, host_.session.type}),
      onboardingWindow_(permissions_, host_.mainLoop),
      coordinator_(std::move(recording)),
      hotkey_(host_.keys),
      markKey_(host_.keys, HotkeyManager::markChord),
      model_(coordinator_, host_.clock, host_.mainLoop),
      stoppedAt_(-std::numeric_limits<double>::infinity()) {
    qApp->installEventFilter(this);
    connect(&model_, &PopoverModel::quitRequested, this, &AppDelegate::quit);
    connect(&coordinator_, &RecordingCoordinator::stateChanged, this, &AppDelegate::onStateChanged);
    // Nobody looks at the panel while a recording runs.
    connect(&coordinator_, &RecordingCoordinator::deviceMessage, this, [this](const QString& notice) {
        if (coordinator_.state() == RecordingCoordinator::State::recording && host_.notifications)
            host_.notifications->show("Cobaltreel", notice.toStdString());
    });
    connect(&coordinator_, &RecordingCoordinator::elapsedChanged, this, &AppDelegate::updateLabel);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    setDarkAppearance();
    AppSettings::shared();
    permissions_.refresh();
    if (!permissions_.allGranted()) onboardingWindow_.open();
    hotkey_.onPress = [this] { hotKeyPressed(); };
    markKey_.onPress = [this] { coordinator_.mark({}); };
    const bool isWayland = host_.session.type == platform::SessionType::wayland;
    if (!hotkey_.registerChord())
        model_.setNotice(PopoverModel::hotKeyTopic, isWayland ? S::bindToggle() : S::shortcutTaken());
    updateMarkKey();
    if (coordinator_.recordsOwnWindows()) model_.setNotice(PopoverModel::bubbleTopic, S::bubbleHides());
    if (host_.buttons && host_.buttons->unavailable())
        model_.setNotice(PopoverModel::clicksTopic, S::clicksUnseen());
    showStatusItem();
    checkOrphanSessions();
    learnWhatThereIs();
}

/// So that the hot key finds something to record before the panel has ever been opened.
QCoro::Task<void> AppDelegate::learnWhatThereIs() {
    const auto alive = lifetime_.watch();
    co_await coordinator_.refreshContent();
    if (alive) coordinator_.refreshDevices();
}

void AppDelegate::checkOrphanSessions() {
    const auto orphan = OrphanSessions::takeUnprompted(Paths::sessionsRoot(), *defaults_, *host_.media);
    if (!orphan) return;
    alerts_->present({S::orphanTitle(), S::orphanMessage(), {S::open(), S::cancel()}},
                     lifetime_.guard([this, orphan = *orphan](int button) {
                         if (button == 0) coordinator_.openPreview(orphan.folder, orphan.meta);
                     }));
}

/// A second press of the keys that stopped a recording is a slip, not the wish for another one.
void AppDelegate::hotKeyPressed() {
    const bool slipped = coordinator_.state() == RecordingCoordinator::State::idle &&
                         host_.clock->now() - stoppedAt_ < secondsAfterStop;
    if (!slipped) coordinator_.toggle();
}

/// Other programs have the keys back between recordings. A portal asks the user about keys, so it is not
/// asked again and again.
void AppDelegate::updateMarkKey() {
    if (host_.session.type == platform::SessionType::wayland ||
        coordinator_.state() == RecordingCoordinator::State::recording)
        markKey_.registerChord();
    else
        markKey_.releaseChord();
}

std::string AppDelegate::onRequest(const platform::InstanceRequest& request) {
    using Kind = platform::InstanceRequest::Kind;
    if (request.kind == Kind::toggle) hotKeyPressed();
    if (request.kind == Kind::show) openPanel();
    return InstanceAnswers::answer(request, coordinator_, windows_->isExporting());
}

bool AppDelegate::isInPicture() const {
    return coordinator_.state() == RecordingCoordinator::State::recording && coordinator_.recordsOwnWindows();
}

/// The panel leaves before the countdown; without a tray it comes back afterwards, being all there is to see.
void AppDelegate::keepPanelOutOfPicture() {
    using State = RecordingCoordinator::State;
    if (coordinator_.state() == State::idle && std::exchange(isPanelHidden_, false)) panel_->show();
    const bool isBeginning = coordinator_.state() == State::countdown && coordinator_.recordsOwnWindows();
    if (!isBeginning || !panel_ || !panel_->isOpen()) return;
    isPanelHidden_ = panelLook_ == PanelWindow::Look::titled;
    panel_->hide();
}

void AppDelegate::onStateChanged() {
    keepPanelOutOfPicture();
    const bool recording = coordinator_.state() == RecordingCoordinator::State::recording;
    if (std::exchange(wasRecording_, recording) && !recording) stoppedAt_ = host_.clock->now();
    updateMarkKey();
    updateLabel();
}

std::vector<platform::StatusMenuItem> AppDelegate::statusMenu() {
    const bool recording = coordinator_.state() == RecordingCoordinator::State::recording;
    return {{(recording ? S::stopRecording() : S::startRecording()).toStdString(),
             [this] { coordinator_.toggle(); }},
            {S::showPanel().toStdString(), [this] { openPanel(); }},
            {S::settings().toStdString(), [this] { coordinator_.openSettings(); }},
            {S::quit().toStdString(), [this] { quit(); }}};
}

void AppDelegate::showStatusItem() {
    statusItem_ = host_.statusItems->makeStatusItem(
        "Cobaltreel", {StatusLabels::draw,
                       [this] {
                           if (isInPicture())
                               coordinator_.toggle();
                           else
                               panelFor(PanelWindow::Look::popover).toggle(clickedPlace());
                       },
                       [this] { return statusMenu(); },
                       [this] {
                           if (statusItem_->isShown()) return;
                           // Without the item the panel is all there is to see of the program: as a window
                           // that stays.
                           if (panel_ && panelLook_ == PanelWindow::Look::popover) panel_->close();
                           openPanel();
                       }});
    updateLabel();
    // A new user would look for a program and find a small ring in a corner.
    const bool isNew = !defaults_->string(panelShownKey);
    if (!statusItem_->isShown())
        openPanel();
    else if (isNew && permissions_.allGranted())
        openPanelAtItem({}, statusItem_->isDrawnByDesktop() ? 0 : maxLooks);
}

void AppDelegate::openPanelAtItem(std::optional<QRect> before, int looks) {
    if (panel_) return;
    const auto frame = statusItemFrame();
    if (looks == 0 || (frame && frame == before)) return openPanel();
    itemTimer_ = host_.mainLoop->scheduleOnce(secondsBetweenLooks,
                                              [this, frame, looks] { openPanelAtItem(frame, looks - 1); });
}

void AppDelegate::updateLabel() {
    auto label = StatusLabels::label(coordinator_.state(), coordinator_.elapsed());
    if (statusItem_) {
        // Nothing keeps it out of the movie there; at least nothing in the movie ticks.
        label.isStill = !label.text.empty() && statusItem_->isDrawnByDesktop() &&
                        coordinator_.mode() == CaptureMode::display;
        statusItem_->setLabel(label);
    }
    // Without a tray the panel's title tells the time.
    if (panel_) panel_->setTitle(QString::fromStdString("Cobaltreel " + label.text).trimmed());
}

std::optional<QRect> AppDelegate::statusItemFrame() const {
    const auto frame = statusItem_->frame();
    if (!frame) return std::nullopt;
    return QRectF(frame->x, frame->y, frame->w, frame->h).toRect();
}

/// Not every tray tells where the item is; the pointer has just been on it.
std::optional<QRect> AppDelegate::clickedPlace() const {
    if (const auto frame = statusItemFrame()) return frame;
    return QRect(QCursor::pos(), QSize(1, 1));
}

PanelWindow& AppDelegate::panelFor(PanelWindow::Look look) {
    // A panel that is open stays what it is.
    if (!panel_ || (panelLook_ != look && !panel_->isOpen())) {
        panel_ =
            std::make_unique<PanelWindow>(model_, look, host_.clock, host_.compositor, host_.pointerWatcher);
        // Not inside the window's own event.
        connect(panel_.get(), &AppWindow::closed, this,
                [this] { host_.mainLoop->post(lifetime_.guard([this] { panelClosed(); })); });
        panelLook_ = look;
        updateLabel();
    }
    return *panel_;
}

/// Without a tray nothing else of the program can be seen: what the user closes is the program, unless there
/// is still something to come back to.
void AppDelegate::panelClosed() {
    if (panelLook_ != PanelWindow::Look::titled || panel_->isOpen() || quitting_) return;
    if (statusItem_ && statusItem_->isShown()) return;
    const auto isShown = [](const QWindow* window) { return window->isVisible(); };
    const bool isBusy = coordinator_.state() != RecordingCoordinator::State::idle ||
                        std::ranges::any_of(QGuiApplication::topLevelWindows(), isShown);
    if (isBusy)
        panel_->showMinimized();
    else
        quit();
}

void AppDelegate::openPanel() {
    // It would be in the picture, and is wanted to stop the recording.
    if (isInPicture()) return coordinator_.toggle();
    if (!defaults_->string(panelShownKey)) defaults_->setString(panelShownKey, "yes");
    const bool hasItem = statusItem_ && statusItem_->isShown();
    panelFor(hasItem ? PanelWindow::Look::popover : PanelWindow::Look::titled)
        .open(hasItem ? statusItemFrame() : std::nullopt);
}

QCoro::Task<void> AppDelegate::finishBeforeQuit(double patience) {
    const auto alive = lifetime_.watch();
    const auto mainLoop = host_.mainLoop;
    const auto windows = windows_;
    co_await coordinator_.finishBeforeQuit();
    co_await AwaitAnswer<bool>(*mainLoop, [&](std::function<void(bool)> answered) {
        windows->endPreviews(patience, [answered = std::move(answered)] { answered(true); });
    });
    // What has been exported is being deleted.
    if (alive) co_await coordinator_.finishBeforeQuit();
}

void AppDelegate::quit() {
    if (quitting_ || asksToQuit_) return;
    if (!windows_->isExporting()) return end(0);
    asksToQuit_ = true;
    alerts_->present(
        {S::exportRunning(), S::exportRunningNote(), {S::finishThenQuit(), S::quitNow(), S::cancel()}},
        lifetime_.guard([this](int button) {
            asksToQuit_ = false;
            if (button < 2) end(button == 0 ? std::numeric_limits<double>::infinity() : 0);
        }));
}

void AppDelegate::end(double patience) {
    if (std::exchange(quitting_, true)) return;
    finishBeforeQuit(patience).then([this, alive = lifetime_.watch()] {
        if (alive) hasFinished_ = true;
        QCoreApplication::quit();
    });
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Quit || hasFinished_) return QObject::eventFilter(watched, event);
    end(patienceAtLogOut);
    return true;
}

}  // namespace cobaltreel
