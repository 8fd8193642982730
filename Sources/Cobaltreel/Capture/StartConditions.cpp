#include "Cobaltreel/Capture/StartConditions.hpp"

#include "Cobaltreel/Capture/ContentChoice.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Platform/Foundation/DurableFiles.hpp"

namespace cobaltreel::StartConditions {

using platform::MediaType;

QCoro::Task<bool> authorize(std::shared_ptr<RecordingEngine> engine, bool needCamera) {
    const bool hears = co_await engine->accessTo(MediaType::audio);
    if (!hears) {
        co_await engine->answerTo(warning(S::microphoneRequired()));
        co_return false;
    }
    // A refused camera leaves a recording without its picture.
    if (needCamera) co_await engine->accessTo(MediaType::video);
    co_return true;
}

QCoro::Task<Outcome> check(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices,
                           std::int64_t minFree, const std::function<bool()>& isOver) {
    const bool isAuthorized = co_await authorize(engine, choices.cameraEnabled());
    if (!isAuthorized || isOver()) co_return Outcome{};

    std::int64_t freeBytes = 0;
    co_await engine->offMainThread([&] {
        try {
            platform::makePrivateFolders(Paths::sessionsRoot());
        } catch (const platform::PlatformError&) {
            // What follows says it.
        }
        freeBytes = engine->services.freeBytes(Paths::sessionsRoot());
    });
    if (isOver()) co_return Outcome{};
    if (freeBytes < minFree) {
        co_await engine->answerTo(warning(S::notEnoughDiskSpace()));
        co_return Outcome{};
    }

    const auto choice = co_await ContentChoice::request(engine, choices);
    if (choice.failure)
        co_await engine->answerTo(
            warning(S::recordingFailed(), QString::fromStdString(choice.failure->description())));
    co_return Outcome{choice.mayRecord, choice.grant};
}

}  // namespace cobaltreel::StartConditions
