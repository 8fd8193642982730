#pragma once

#include "Platform/Desktop/Desktop.hpp"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A desktop whose answers are set by a test.
class FakeDesktop final : public Desktop {
  public:
    /// The pointer's states, one a call; the last one stays.
    std::deque<PointerState> pointerStates{PointerState{}};
    std::vector<Screen> screenList;
    /// Each window's frames, one a call; the last one stays. An absent frame: the window is not shown.
    std::map<std::uint32_t, std::deque<std::optional<Rect>>> windowFrames;

    PointerState pointer() override { return next(pointerStates); }
    std::vector<Screen> screens() override { return screenList; }
    std::optional<Rect> windowBounds(std::uint32_t windowID) override {
        const auto found = windowFrames.find(windowID);
        return found == windowFrames.end() ? std::nullopt : next(found->second);
    }
    std::string implementation() const override { return "fake"; }

  private:
    template <typename Answer>
    static Answer next(std::deque<Answer>& answers) {
        const Answer answer = answers.front();
        if (answers.size() > 1) answers.pop_front();
        return answer;
    }
};

}  // namespace platform
