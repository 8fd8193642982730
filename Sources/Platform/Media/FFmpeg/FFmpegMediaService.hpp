#pragma once

#include "Platform/Foundation/LibraryVersion.hpp"
#include "Platform/Media/MediaService.hpp"

#include <memory>
#include <vector>

namespace platform {

/// Movies by FFmpeg's libraries.
std::shared_ptr<MediaService> makeFFmpegMediaService();

/// FFmpeg's libraries and the encoders that are called without it. Any thread.
std::vector<LibraryVersion> mediaLibraryVersions();

}  // namespace platform
