#pragma once

#include "Platform/Desktop/Desktop.hpp"

#include <memory>
#include <string>

namespace platform {

/// The desktop of an X11 session.
class XcbDesktop final : public Desktop {
  public:
    /// An empty name means $DISPLAY. Throws PlatformError when there is no such server.
    explicit XcbDesktop(const std::string& displayName = {});
    ~XcbDesktop() override;

    PointerState pointer() override;
    std::vector<Screen> screens() override;
    std::optional<Rect> windowBounds(std::uint32_t windowID) override;
    std::string implementation() const override;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
