#include "Cobaltreel/Capture/ContentChoice.hpp"

#include "Cobaltreel/Capture/Awaiting.hpp"

#include <utility>

namespace cobaltreel::ContentChoice {

using platform::ContentKind;
using platform::PlatformError;

QCoro::Task<Outcome> request(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices) {
    auto& capture = *engine->services.screenCapture;
    if (!capture.traits().asksUser) co_return Outcome{};
    const bool isWindow = choices.mode() == CaptureMode::window;
    const auto selected = isWindow ? choices.selectedWindowID() : choices.selectedDisplayID();
    co_return co_await AwaitAnswer<Outcome>(*engine->services.mainLoop, [&](auto answered) {
        capture.requestContent(
            isWindow ? ContentKind::window : ContentKind::display, selected.value_or(0),
            [answered](std::optional<PlatformError> error, std::shared_ptr<platform::ContentGrant> grant) {
                const bool isCancelled = error && error->code() == platform::choiceCancelled;
                answered({!error, std::move(grant), isCancelled ? std::nullopt : error});
            });
    });
}

void select(RecordingChoices& choices, const platform::ShareableContent& chosen) {
    if (!chosen.displays.empty()) choices.setSelectedDisplayID(chosen.displays.front().displayID);
    if (!chosen.windows.empty()) choices.setSelectedWindowID(chosen.windows.front().windowID);
}

}  // namespace cobaltreel::ContentChoice
