#include "Cobaltreel/UI/Alerts/AlertContent.hpp"

#include "Cobaltreel/Support/Strings.hpp"

#include <utility>

namespace cobaltreel {

AlertContent::AlertContent(Alert alert, std::function<void(int)> answered)
    : alert_(std::move(alert)), answered_(std::move(answered)) {
    if (alert_.buttons.isEmpty()) alert_.buttons = {S::ok()};
}

void AlertContent::choose(int button) {
    if (answer_ >= 0 || button < 0 || button >= alert_.buttons.size()) return;
    answer_ = button;
    Q_EMIT chosen();
}

void AlertContent::deliver() {
    if (const auto answered = std::exchange(answered_, nullptr)) answered(answer_);
}

}  // namespace cobaltreel
