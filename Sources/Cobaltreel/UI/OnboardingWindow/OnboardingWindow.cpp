#include "Cobaltreel/UI/OnboardingWindow/OnboardingWindow.hpp"

#include <utility>

namespace cobaltreel {

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
        QStringLiteral("Cobaltreel"), QSize(560, 260));
    QObject::connect(window_.get(), &AppWindow::closed, window_.get(), [this] { timer_.reset(); });
    timer_ = mainLoop_->scheduleRepeating(pollingInterval, [this] { permissions_.refresh(); });
}

}  // namespace cobaltreel
