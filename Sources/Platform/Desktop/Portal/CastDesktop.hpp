#pragma once

#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Desktop.hpp"
#include "Platform/Desktop/PointerButtons.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <deque>
#include <memory>

namespace platform {

/// A desktop of which nothing is known but the screen or window that it shares: that one is the main screen.
/// Main thread, but never waits for anybody.
class CastDesktop final : public Desktop {
  public:
    /// A compositor tells where the pointer was with its next picture, the kernel at once of a button: both
    /// are told for a time about so many seconds ago, when both are known.
    static constexpr double pictureDelay = 0.06;

    CastDesktop(std::shared_ptr<CastScreen> screen, std::shared_ptr<PointerButtons> buttons,
                std::shared_ptr<Clock> clock);

    /// Outside every screen, with no button down, while the pointer is not on what is shared.
    PointerState pointer() override;
    std::vector<Screen> screens() override;
    std::optional<Rect> windowBounds(std::uint32_t windowID) override;
    std::string implementation() const override { return "Wayland (xdg-desktop-portal)"; }

  private:
    struct Buttons {
        double time = 0;
        std::int64_t down = 0;
    };
    /// What was down then, or, once that is due, at the next moment when it was asked for.
    Buttons buttonsOf(double time);

    std::shared_ptr<CastScreen> screen_;
    std::shared_ptr<PointerButtons> buttons_;
    std::shared_ptr<Clock> clock_;
    std::deque<Buttons> recent_;  // not told yet
    std::int64_t told_ = 0;
};

}  // namespace platform
