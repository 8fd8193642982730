#pragma once

#include "Platform/Desktop/SingleInstance.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <filesystem>
#include <memory>
#include <string>

namespace platform {

/// A locked file says that an instance runs, a socket beside it takes the requests of others. The kernel
/// gives the lock back when its process ends, so nothing stale is ever in the way.
///
/// A request is one datagram of this user: "cobaltreel 1 KIND", a line break, the text. Who waits for an
/// answer passes a socket along; what comes back is "cobaltreel 1 done", a line break, the answer, or
/// "cobaltreel 1 unknown". Anything else is dropped.
class PosixSingleInstance final : public SingleInstance {
  public:
    /// `name` must fit a file name; the user's run-time folder and the display tell sessions apart.
    PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, const std::string& name);
    /// Both files in a folder of the caller's choice.
    PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, std::filesystem::path folder,
                        const std::string& name);
    std::unique_ptr<InstanceClaim> claim(InstanceHandler onRequest) override;
    bool send(const InstanceRequest& request) override;
    std::optional<std::string> query(const InstanceRequest& request) override;

  private:
    std::shared_ptr<MainLoop> mainLoop_;
    std::filesystem::path folder_;
    std::string name_;
};

}  // namespace platform
