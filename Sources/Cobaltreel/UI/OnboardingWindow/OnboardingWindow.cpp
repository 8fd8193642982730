#include "Cobaltreel/UI/OnboardingWindow/OnboardingWindow.hpp"

#include <QQuickItem>
#include <algorithm>
#include <utility>

namespace cobaltreel {
namespace {

constexpr QSize size(560, 260);

}  // namespace

OnboardingWindow::OnboardingWindow(Permissions& permissions, std::shared_ptr<platform::MainLoop> mainLoop)
    : permissions_(permissions), model_(permissions), mainLoop_(std::move(mainLoop)) {}

void OnboardingWindow::open() {
    if (isOpen()) {
        AppWindows::bringForward(*window_);
        return;
    }
    permissions_.refresh();
    window_ = AppWindows::present(
        View::ofModule(QStringLiteral("Cobaltreel.OnboardingWindow"), QStringLiteral("OnboardingView"),
                       {{QStringLiteral("permissions"), QVariant::fromValue(&model_)}}),
        QStringLiteral("Cobaltreel"), size);
    if (QQuickItem* const root = window_->rootObject()) {
        // What to do may take some lines more.
        const auto fit = [window = window_.get(), root] {
            const QSize fitting(size.width(),
                                std::max(size.height(), static_cast<int>(root->implicitHeight())));
            window->setMinimumSize(fitting);
            window->setMaximumSize(fitting);
            window->resize(fitting);
        };
        QObject::connect(root, &QQuickItem::implicitHeightChanged, window_.get(), fit);
        fit();
    }
    QObject::connect(window_.get(), &AppWindow::closed, window_.get(), [this] { timer_.reset(); });
    timer_ = mainLoop_->scheduleRepeating(pollingInterval, [this] { permissions_.refresh(); });
}

}  // namespace cobaltreel
