#pragma once

#include "Cobaltreel/Capture/Awaiting.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoroTask>
#include <memory>
#include <stdexcept>

namespace cobaltreel::benchmarks {

/// The display to be recorded: where the desktop lets the user choose, the one that was chosen.
struct ChosenDisplay {
    std::shared_ptr<platform::ContentGrant> grant;
    platform::ShareableContent content;  ///< the display is its first
};

inline QCoro::Task<ChosenDisplay> chooseDisplay(platform::PlatformServices services) {
    ChosenDisplay chosen;
    const auto refusal = co_await AwaitCompletion(*services.mainLoop, [&](auto done) {
        services.screenCapture->requestContent(
            platform::ContentKind::display, 1,
            [&chosen, done](std::optional<platform::PlatformError> error, auto grant) {
                chosen.grant = std::move(grant);
                done(std::move(error));
            });
    });
    if (refusal) throw *refusal;
    chosen.content = services.screenCapture->shareableContent();
    if (chosen.content.displays.empty()) throw std::runtime_error("there is no display to record");
    co_return chosen;
}

}  // namespace cobaltreel::benchmarks
