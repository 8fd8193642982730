#include "Cobaltreel/CommandLine/RunningInstance.hpp"

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"

namespace cobaltreel {

using platform::PlatformServices;

std::shared_ptr<platform::SingleInstance> runningApplication() {
    return PlatformServices::instance(bundleIdentifier);
}
std::shared_ptr<platform::SingleInstance> terminalRecording() {
    return PlatformServices::instance(terminalRecordingName);
}

std::vector<nlohmann::json> queryRunning(const platform::InstanceRequest& request) {
    std::vector<nlohmann::json> answers;
    for (const auto& instance : {runningApplication(), terminalRecording()}) {
        const auto answer = instance->query(request);
        if (!answer) continue;
        auto parsed = nlohmann::json::parse(*answer, nullptr, false);
        if (!parsed.is_object())
            throw CommandError("the application has just begun or is about to end; try again");
        answers.push_back(std::move(parsed));
    }
    return answers;
}

}  // namespace cobaltreel
