#pragma once

#include "Platform/Foundation/PlatformError.hpp"

#include <string>

namespace platform::ffmpeg {

/// What the library says of an error `code` and what it last logged on this thread, without a full stop.
std::string reasonOf(int code);

/// The library's error `code` (negative) as PlatformError("FFmpeg", code): `sentence`, without a full
/// stop, names the file or device and what could not be done; the reason, what the library last logged
/// on this thread and the remedy follow.
PlatformError libraryError(int code, const std::string& sentence);

/// Whether an error of the library says that a file holds what it should not, rather than that it cannot be
/// read.
bool isDamage(const PlatformError& error);

/// Throws libraryError when `code` is negative; returns it otherwise.
int check(int code, const std::string& sentence);

/// Takes over the library's log for the process: nothing reaches standard error, the last error of each
/// thread is kept for `libraryError`. For whoever opens a movie or an encoder: a player that has been made
/// and ended since has taken the log over, and lets it go to standard error.
void captureLibraryLog();

}  // namespace platform::ffmpeg
