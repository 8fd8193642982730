#pragma once

#include "Platform/Desktop/SingleInstance.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <filesystem>
#include <memory>
#include <string>

namespace platform {

/// A locked file says that an instance runs, a socket beside it takes the word of the next ones. The kernel
/// gives the lock back when its process ends, so nothing stale is ever in the way.
class PosixSingleInstance final : public SingleInstance {
  public:
    /// `name` must fit a file name; the user's run-time folder and the display tell sessions apart.
    PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, const std::string& name);
    /// Both files in a folder of the caller's choice.
    PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, std::filesystem::path folder,
                        const std::string& name);
    std::unique_ptr<InstanceClaim> claim(std::function<void(InstanceRequest)> asked) override;
    bool send(InstanceRequest request) override;

  private:
    std::shared_ptr<MainLoop> mainLoop_;
    std::filesystem::path folder_;
    std::string name_;
};

}  // namespace platform
