#pragma once

namespace cobaltreel {

/// The program's identifier on every desktop: its windows are left out of recordings by it.
inline constexpr const char* bundleIdentifier = "com.pellanor.cobaltreel";

}  // namespace cobaltreel
