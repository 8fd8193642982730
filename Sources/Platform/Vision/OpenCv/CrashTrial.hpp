#pragma once

#include <functional>

namespace platform {

/// Runs `work` in a process of its own and waits for it: false when it crashes there or takes more than
/// twenty seconds of processor time. What it throws counts as survived. For files that a library may fall
/// over.
bool survivesTrial(const std::function<void()>& work);

}  // namespace platform
