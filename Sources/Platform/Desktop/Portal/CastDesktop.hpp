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
    /// A compositor tells where the pointer is with its next picture, the kernel at once of a button: buttons
    /// are told so much later, seconds, that they meet the place where they were pressed.
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
    std::int64_t buttonsOfThePicture();

    std::shared_ptr<CastScreen> screen_;
    std::shared_ptr<PointerButtons> buttons_;
    std::shared_ptr<Clock> clock_;
    std::deque<Buttons> recent_;  // not told yet
    std::int64_t told_ = 0;
};

}  // namespace platform
