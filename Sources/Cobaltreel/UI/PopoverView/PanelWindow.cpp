#include "Cobaltreel/UI/PopoverView/PanelWindow.hpp"

#include "Cobaltreel/Support/Colors.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Cobaltreel/UI/Windows/QtColor.hpp"
#include "Cobaltreel/UI/Windows/ScreenRoom.hpp"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QQmlProperty>
#include <QQuickItem>
#include <QScreen>
#include <algorithm>
#include <limits>
#include <utility>

namespace cobaltreel {
namespace {

/// Seconds between losing the focus to a click on the status item and hearing of that click.
constexpr double sameClick = 0.3;

const QColor edgeColor = QColor::fromRgbF(0.23F, 0.23F, 0.23F);

}  // namespace

PanelWindow::PanelWindow(PopoverModel& model, Look look, std::shared_ptr<platform::Clock> clock,
                         std::shared_ptr<platform::Compositor> compositor,
                         std::shared_ptr<platform::PointerWatcher> pointer)
    : AppWindow(&AppWindows::engine(), nullptr),
      model_(model),
      look_(look),
      clock_(std::move(clock)),
      compositor_(std::move(compositor)),
      pointer_(std::move(pointer)),
      lostFocusAt_(-std::numeric_limits<double>::infinity()) {
    setTitle(QStringLiteral("Cobaltreel"));
    if (look == Look::titled) {
        setClosesOnEscape(false);
        setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                 Qt::WindowCloseButtonHint);
    } else {
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        blended_ = compositor_ && compositor_->isRunning();
        if (blended_) {
            QSurfaceFormat withAlpha = format();
            withAlpha.setAlphaBufferSize(8);
            setFormat(withAlpha);
        }
    }
    connect(&model, &PopoverModel::stateChanged, this, [this] {
        if (look_ == Look::popover && isOpen() && model_.isStarting()) close();
    });
    setColor(blended_ ? QColor(Qt::transparent) : qtColor(Colors::window));
    AppWindows::setLocalizedContent(
        *this, View::ofModule(QStringLiteral("Cobaltreel.PopoverView"), QStringLiteral("PopoverView"),
                              {{QStringLiteral("model"), QVariant::fromValue(&model)}}));
    if (QQuickItem* root = rootObject()) {
        if (look == Look::popover) {
            // Cut out without blending, round corners are ragged.
            if (blended_) root->setProperty("radius", corner);
            QQmlProperty(root, QStringLiteral("border.color")).write(edgeColor);
        }
        connect(root, &QQuickItem::implicitHeightChanged, this, &PanelWindow::fit);
    }
}

PanelWindow::~PanelWindow() {
    if (isOpen()) model_.disappear();
}

void PanelWindow::open(std::optional<QRect> statusItem) {
    statusItem_ = statusItem;
    corrected_ = false;
    if (const QQuickItem* root = rootObject()) AppWindows::layOutContent(*this, root->implicitWidth());
    fit();
    AppWindows::bringForward(*this);
    watchPresses();
}

/// Where the focus was refused, only a press elsewhere shows that the user is done with the panel.
void PanelWindow::watchPresses() {
    if (look_ != Look::popover || !pointer_) return;
    presses_ = pointer_->watchPresses([this](int x, int y) {
        if (isOpen() && !geometry().contains(pointAt(*screen(), QPoint(x, y)))) leave();
    });
}

void PanelWindow::leave() {
    // An alert about the devices stands over the panel that has asked for them.
    if (look_ != Look::popover || !isOpen() || QGuiApplication::modalWindow()) return;
    lostFocusAt_ = clock_->now();
    close();
}

void PanelWindow::toggle(std::optional<QRect> statusItem) {
    if (isOpen())
        close();
    else if (clock_->now() - lostFocusAt_ > sameClick)
        open(statusItem);
}

QRect PanelWindow::likelyItem(const QRect& screen, const QRect& room, bool rightToLeft) {
    const bool hasBarBelow = room.top() == screen.top() && room.bottom() < screen.bottom();
    return {rightToLeft ? screen.left() : screen.right(), hasBarBelow ? screen.bottom() : screen.top(), 1, 0};
}

QRect PanelWindow::place(QSize size, const QRect& statusItem, const QRect& room) {
    const QRect inner = room.adjusted(gap, gap, -gap, -gap);
    const QSize fitting = size.boundedTo(inner.size());
    const bool above = statusItem.center().y() > room.center().y();
    const QPoint at(
        statusItem.center().x() - fitting.width() / 2,
        above ? statusItem.y() - gap - fitting.height() : statusItem.y() + statusItem.height() + gap);
    const auto within = [](int value, int from, int span, int length) {
        return std::clamp(value, from, std::max(from, from + span - length));
    };
    return {QPoint(within(at.x(), inner.x(), inner.width(), fitting.width()),
                   within(at.y(), inner.y(), inner.height(), fitting.height())),
            fitting};
}

void PanelWindow::fit() {
    const QQuickItem* root = rootObject();
    if (!root) return;
    const QSize wanted(static_cast<int>(root->implicitWidth()), static_cast<int>(root->implicitHeight()));
    if (wanted.isEmpty()) return;  // while the content is being rebuilt in another language
    const QScreen* const onScreen = statusItem_ ? QGuiApplication::screenAt(statusItem_->center()) : nullptr;
    const QScreen* const shownOn = onScreen ? onScreen : QGuiApplication::primaryScreen();
    const QRect room = shownOn ? AppWindows::room(*shownOn) : QRect(QPoint(), wanted);
    if (look_ == Look::popover) {
        // The desktop mirrors its panels by its own language.
        const bool rightToLeft = QLocale::system().textDirection() == Qt::RightToLeft;
        const QRect screen = shownOn ? shownOn->geometry() : room;
        const QRect frame = place(wanted, statusItem_.value_or(likelyItem(screen, room, rightToLeft)), room);
        wanted_ = frame.topLeft();
        setGeometry(frame);
        return;
    }
    const QSize fitting = wanted.boundedTo(room.size());
    setMinimumSize(fitting);
    setMaximumSize(fitting);
    resize(fitting);
    if (!isOpen())
        setPosition(room.x() + (room.width() - fitting.width()) / 2,
                    room.y() + (room.height() - fitting.height()) / 2);
}

void PanelWindow::showEvent(QShowEvent* event) {
    AppWindow::showEvent(event);
    model_.appear();
}

void PanelWindow::hideEvent(QHideEvent* event) {
    AppWindow::hideEvent(event);
    presses_.reset();
    // The pointer's leaving is not reported, and a tooltip would still be there at the next opening.
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(this, &leave);
    model_.disappear();
}

/// Some window managers make room for a title bar before they see that there is none.
void PanelWindow::moveEvent(QMoveEvent* event) {
    AppWindow::moveEvent(event);
    if (look_ != Look::popover || !isOpen() || position() == wanted_) return;
    if (!std::exchange(corrected_, true))
        QMetaObject::invokeMethod(
            this, [this] { setPosition(wanted_); }, Qt::QueuedConnection);
}

void PanelWindow::keyPressEvent(QKeyEvent* event) {
    AppWindow::keyPressEvent(event);
    if (!event->isAccepted() && event->key() == Qt::Key_Escape && look_ == Look::popover) close();
}

void PanelWindow::focusInEvent(QFocusEvent* event) {
    AppWindow::focusInEvent(event);
    // It stays open while other windows come and go.
    if (look_ == Look::titled) model_.turnTo();
}

void PanelWindow::focusOutEvent(QFocusEvent* event) {
    AppWindow::focusOutEvent(event);
    leave();
}

}  // namespace cobaltreel
