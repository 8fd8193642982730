#include "Cobaltreel/CommandLine/TerminalSurroundings.hpp"

namespace cobaltreel {

void TerminalAlerts::present(const Alert& alert, std::function<void(int)> answered) {
    const QString& text = alert.informativeText.isEmpty() ? alert.message : alert.informativeText;
    if (!text_) text_ = text.toStdString();
    answered(0);
}

void NoCountdown::run(std::function<void()>, std::function<void()> onDone) {
    finished_ = mainLoop_->scheduleOnce(0, std::move(onDone));
}

ChosenDevices::ChosenDevices(std::shared_ptr<platform::CaptureService> host,
                             std::optional<platform::CaptureDevice> camera,
                             std::optional<platform::CaptureDevice> microphone)
    : host_(std::move(host)) {
    if (camera) devices_.cameras.push_back(*camera);
    if (microphone) devices_.microphones.push_back(*microphone);
    devices_.defaultMicrophone = std::move(microphone);
}

}  // namespace cobaltreel
