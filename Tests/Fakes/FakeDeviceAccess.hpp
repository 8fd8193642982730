#pragma once

#include "Platform/Capture/DeviceAccess.hpp"

#include <utility>
#include <vector>

namespace platform {

/// A user who answers as a test says. One thread.
class FakeDeviceAccess final : public DeviceAccess {
  public:
    AuthorizationStatus camera = AuthorizationStatus::authorized;
    AuthorizationStatus microphone = AuthorizationStatus::authorized;
    /// Requests wait for `answer`; otherwise each is answered at once from the status.
    bool holdsAnswers = false;

    /// What was asked for so far.
    std::vector<MediaType> requests;

    AuthorizationStatus authorizationStatus(MediaType type) override {
        return type == MediaType::video ? camera : microphone;
    }
    void requestAccess(MediaType type, std::function<void(bool)> answered) override {
        requests.push_back(type);
        waiting_.emplace_back(type, std::move(answered));
        if (!holdsAnswers) answer();
    }

    /// Answers every request that waits.
    void answer() {
        for (auto& [type, answered] : std::exchange(waiting_, {}))
            answered(authorizationStatus(type) == AuthorizationStatus::authorized);
    }

  private:
    std::vector<std::pair<MediaType, std::function<void(bool)>>> waiting_;
};

}  // namespace platform
