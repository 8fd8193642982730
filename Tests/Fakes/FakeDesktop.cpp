#include "Fakes/FakeDesktop.hpp"

#include <algorithm>

namespace platform {

PointerState FakeDesktop::pointer() {
    const std::size_t call = static_cast<std::size_t>(pointerCalls++);
    if (pointerStates.empty()) return {};
    return pointerStates[std::min(call, pointerStates.size() - 1)];
}

std::optional<Rect> FakeDesktop::windowBounds(std::uint32_t windowID) {
    ++windowCalls;
    const auto found = windowFrames.find(windowID);
    if (found == windowFrames.end() || found->second.empty()) return std::nullopt;
    const std::size_t step = windowSteps_[windowID]++;
    return found->second[std::min(step, found->second.size() - 1)];
}

}  // namespace platform
