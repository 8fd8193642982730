#pragma once

#include "Rig/ChildProcess.hpp"

#include <string>

#include <sys/types.h>

namespace platform::test {

/// An X server of the test's own, to be killed, resized or given another window manager.
class PrivateServer {
  public:
    explicit PrivateServer(const std::string& screen = "800x600x24")
        : process_({"Xvfb", "-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"}) {
        display_ = ":" + process_.readLine();
    }
    const std::string& display() const { return display_; }
    void end(int signal) { process_.end(signal); }
    pid_t id() const { return process_.id(); }

  private:
    rig::ChildProcess process_;
    std::string display_;
};

}  // namespace platform::test
