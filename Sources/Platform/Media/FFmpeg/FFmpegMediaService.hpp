#pragma once

#include "Platform/Media/MediaService.hpp"

#include <memory>

namespace platform {

/// Movies by FFmpeg's libraries.
std::shared_ptr<MediaService> makeFFmpegMediaService();

}  // namespace platform
