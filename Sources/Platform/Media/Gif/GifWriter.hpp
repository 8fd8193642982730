#pragma once

#include "Platform/Media/AssetWriter.hpp"

#include <filesystem>
#include <memory>

namespace platform {

/// Writes a GIF: one video input, no sound, never in real time. Throws PlatformError when the file cannot be
/// created.
std::unique_ptr<AssetWriter> makeGifWriter(const std::filesystem::path& path);

}  // namespace platform
