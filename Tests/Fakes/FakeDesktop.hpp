#pragma once

#include "Platform/Desktop/Desktop.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A desktop whose answers are set by a test.
class FakeDesktop final : public Desktop {
  public:
    /// The pointer's states, one a call; the last one stays.
    std::vector<PointerState> pointerStates{PointerState{}};
    std::vector<Screen> screenList;
    /// Each window's frames, one a call; the last one stays. An absent frame: the window is not shown.
    std::map<std::uint32_t, std::vector<std::optional<Rect>>> windowFrames;

    int pointerCalls = 0;
    int windowCalls = 0;

    PointerState pointer() override;
    std::vector<Screen> screens() override { return screenList; }
    std::optional<Rect> windowBounds(std::uint32_t windowID) override;
    std::string implementation() const override { return "fake"; }

  private:
    std::map<std::uint32_t, std::size_t> windowSteps_;
};

}  // namespace platform
