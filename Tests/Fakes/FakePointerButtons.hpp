#pragma once

#include "Platform/Desktop/PointerButtons.hpp"

namespace platform {

/// Buttons that a test presses.
class FakePointerButtons final : public PointerButtons {
  public:
    std::int64_t down = 0;
    std::optional<PlatformError> reason;

    std::int64_t take() override { return down; }
    std::optional<PlatformError> unavailable() override { return reason; }
};

}  // namespace platform
