#include "Cobaltreel/Capture/LivePreview.hpp"

#include <utility>

namespace cobaltreel {
namespace {

constexpr double heightWithoutScreen = 900;  // points

}  // namespace

LivePreview::LivePreview(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices)
    : engine_(std::move(engine)), choices_(choices) {}

LivePreview::~LivePreview() {
    if (active_) hideBubble();
}

bool LivePreview::start() {
    const auto camera = choices_.selectedCamera();
    const auto mic = choices_.selectedMic();
    if (!camera && !mic) return false;
    engine_->cameraMic.startPreview(camera, mic, choices_.mirrorCamera());
    active_ = true;
    if (camera)
        showBubble();
    else
        hideBubble();
    return true;
}

void LivePreview::end() {
    hideBubble();
    active_ = false;
}

void LivePreview::updateBubble() {
    if (active_ && choices_.cameraEnabled())
        engine_->services.bubble->update(choices_.cameraCorner(), diameter());
}

void LivePreview::showBubble() {
    CameraBubble& bubble = *engine_->services.bubble;
    bubble.show(choices_.cameraCorner(), diameter(), choices_.cameraStyle());
    engine_->cameraMic.setPreviewFrameHandler(bubble.frameHandler());
}

void LivePreview::hideBubble() {
    engine_->cameraMic.setPreviewFrameHandler({});
    engine_->services.bubble->hide();
}

double LivePreview::diameter() const {
    const auto screens = engine_->services.desktop->screens();
    return (screens.empty() ? heightWithoutScreen : screens.front().frame.h) * choices_.bubbleSizeFraction();
}

}  // namespace cobaltreel
