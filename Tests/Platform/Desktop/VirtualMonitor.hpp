#pragma once

#include "Platform/Imaging/PixelRect.hpp"
#include "Rig/ChildProcess.hpp"

#include <string>
#include <utility>
#include <vector>

namespace platform::test {

/// A monitor that the server shows at a place of the root for as long as this lives. (Made by xrandr: the
/// request cannot be sent with the XCB library of this distribution.)
class VirtualMonitor {
  public:
    VirtualMonitor(const std::string& name, const PixelRect& area, bool isPrimary, std::string display = {})
        : name_(name), display_(std::move(display)) {
        const auto text = [](int number) { return std::to_string(number); };
        run({"--setmonitor", (isPrimary ? "*" : "") + name,
             text(area.width) + "/300x" + text(area.height) + "/200+" + text(area.x) + "+" + text(area.y),
             "none"});
    }
    ~VirtualMonitor() { run({"--delmonitor", name_}); }
    VirtualMonitor(const VirtualMonitor&) = delete;
    VirtualMonitor& operator=(const VirtualMonitor&) = delete;

  private:
    void run(const std::vector<std::string>& options) const {
        std::vector<std::string> command{"xrandr"};
        if (!display_.empty()) command.insert(command.end(), {"--display", display_});
        command.insert(command.end(), options.begin(), options.end());
        rig::ChildProcess(command).wait();
    }

    std::string name_;
    std::string display_;
};

}  // namespace platform::test
