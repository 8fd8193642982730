#pragma once

#include "CobaltreelCore/Models.hpp"

#include <filesystem>
#include <string>

namespace cobaltreel {

/// The pointer log as it comes, while a recording runs: one line a piece, each a whole event document. What a
/// crash leaves is read up to the last whole line.
namespace EventJournal {

/// Throws DocumentError for a number that is not finite.
std::string line(const EventLog& piece);

/// All pieces as one log; empty for a journal without a whole line. Throws PlatformError("Files") when the
/// file cannot be read.
EventLog read(const std::filesystem::path& file);

}  // namespace EventJournal

}  // namespace cobaltreel
