#pragma once

namespace cobaltreel {

/// The program's identifier on every desktop: its windows are left out of recordings by it.
inline constexpr const char* bundleIdentifier = "com.pellanor.cobaltreel";

/// The name under which a recording of the command line answers, as the application does under its
/// identifier.
inline constexpr const char* terminalRecordingName = "com.pellanor.cobaltreel.record";

}  // namespace cobaltreel
