#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"

#include "Cobaltreel/Support/Colors.hpp"
#include "Cobaltreel/UI/Alerts/AlertContent.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Cobaltreel/UI/Windows/QtColor.hpp"

#include <QQuickItem>
#include <QScreen>
#include <cmath>
#include <utility>

namespace cobaltreel {
namespace {

constexpr int width = 420;

/// The window takes the height of its content.
void fit(AppWindow& window) {
    const QSize size(width, static_cast<int>(std::ceil(window.rootObject()->implicitHeight())));
    window.setMinimumSize(size);
    window.setMaximumSize(size);
    window.resize(size);
}

}  // namespace

AlertWindows::AlertWindows() = default;
AlertWindows::~AlertWindows() = default;

void AlertWindows::present(const Alert& alert, std::function<void(int)> answered) {
    waiting_.push_back(std::make_unique<AlertContent>(alert, std::move(answered)));
    if (waiting_.size() == 1)
        QMetaObject::invokeMethod(
            this, [this] { showNext(); }, Qt::QueuedConnection);
}

void AlertWindows::showNext() {
    if (waiting_.empty() || window_) return;
    AlertContent& content = *waiting_.front();
    window_ = std::make_unique<AppWindow>(&AppWindows::engine(), nullptr);
    window_->setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                      Qt::WindowStaysOnTopHint);
    window_->setModality(Qt::ApplicationModal);
    window_->setColor(qtColor(Colors::window));
    window_->setTitle(QStringLiteral("Cobaltreel"));
    AppWindows::setLocalizedContent(
        *window_, View::ofModule(QStringLiteral("Cobaltreel.Alerts"), QStringLiteral("AlertView"),
                                 {{QStringLiteral("alert"), QVariant::fromValue(&content)}}));
    AppWindows::layOutContent(*window_, width);
    fit(*window_);
    // Another language has another height.
    connect(window_->rootObject(), &QQuickItem::implicitHeightChanged, window_.get(),
            [window = window_.get()] { fit(*window); });
    if (const QScreen* screen = window_->screen()) {
        const QRect room = AppWindows::room(*screen);
        window_->setPosition(room.x() + (room.width() - window_->width()) / 2,
                             room.y() + (room.height() - window_->height()) / 3);
    }
    // The window is not taken away inside an event of its own.
    connect(&content, &AlertContent::chosen, this, &AlertWindows::finish, Qt::QueuedConnection);
    connect(window_.get(), &AppWindow::closed, &content, &AlertContent::dismiss);
    AppWindows::bringForward(*window_);
}

void AlertWindows::finish() {
    window_.reset();
    const auto content = std::move(waiting_.front());
    waiting_.pop_front();
    if (!waiting_.empty())
        QMetaObject::invokeMethod(
            this, [this] { showNext(); }, Qt::QueuedConnection);
    content->deliver();
}

}  // namespace cobaltreel
