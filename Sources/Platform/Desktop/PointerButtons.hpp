#pragma once

#include "Platform/Foundation/PlatformError.hpp"

#include <cstdint>
#include <optional>

namespace platform {

/// The buttons of all mice and touchpads.
class PointerButtons {
  public:
    virtual ~PointerButtons() = default;
    /// The buttons that are down, and those that have been since the last call: a click between two calls is
    /// seen. Bits as in `PointerState`.
    virtual std::int64_t take() = 0;
    /// Why buttons cannot be seen, with the remedy; absent when they can.
    virtual std::optional<PlatformError> unavailable() = 0;
};

}  // namespace platform
