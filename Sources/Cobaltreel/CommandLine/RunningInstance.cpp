#include "Cobaltreel/CommandLine/RunningInstance.hpp"

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"

#include <exception>
#include <utility>

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
    std::exception_ptr failure;
    // One that does not answer must not hide the other.
    for (const auto& instance : {runningApplication(), terminalRecording()}) {
        try {
            const auto answer = instance->query(request);
            if (!answer) continue;
            auto parsed = nlohmann::json::parse(*answer, nullptr, false);
            if (!parsed.is_object())
                throw CommandError("the application has just begun or is about to end; try again");
            answers.push_back(std::move(parsed));
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
    }
    if (answers.empty() && failure) std::rethrow_exception(failure);
    return answers;
}

}  // namespace cobaltreel
