#pragma once

#include "Platform/Desktop/Relauncher.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace platform {

/// Leaves a process behind that waits for the end of this one and then becomes the fresh instance.
class PosixRelauncher final : public Relauncher {
  public:
    /// Starts this program, as it is on disk by then, without arguments.
    PosixRelauncher();
    PosixRelauncher(std::filesystem::path program, std::vector<std::string> arguments);
    /// A second call changes nothing.
    void relaunchAfterExit() override;

  private:
    std::filesystem::path program_;
    std::vector<std::string> arguments_;
    bool waits_ = false;
};

}  // namespace platform
