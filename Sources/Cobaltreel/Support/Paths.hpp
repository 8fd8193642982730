#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"

#include <QString>
#include <chrono>
#include <filesystem>
#include <string_view>

namespace cobaltreel {

/// Where recordings and exports live. The environment is read at every call; all operations are
/// synchronous and safe on any thread.
namespace Paths {

/// $XDG_DATA_HOME/Cobaltreel/sessions; not created.
std::filesystem::path sessionsRoot();

/// Makes and returns the folder of a recording that starts at `now`: sessions root / "yyyyMMdd-HHmmss"
/// in the machine's time zone. Within one second it is the same folder. Throws PlatformError("Files").
std::filesystem::path newSessionDir(std::chrono::system_clock::time_point now);

/// The user's videos folder / Cobaltreel: $XDG_VIDEOS_DIR when the environment sets it, else what the
/// desktop's user-dirs.dirs says. Not created.
std::filesystem::path exportsFolder();
/// The name that an export is offered, in the interface language: with today's date and the time.
QString defaultExportName();

/// A file in the exports folder, which is created, that does not exist yet: the proposed name (UTF-8)
/// cleaned of what cannot stand in a file name, shortened to what the file system holds, plus the extension,
/// numbered from 2 when taken. Never throws for a folder that cannot be created or read.
std::filesystem::path uniqueOutputURL(std::string_view baseName, std::string_view extension = ".mp4");

}  // namespace Paths

}  // namespace cobaltreel
