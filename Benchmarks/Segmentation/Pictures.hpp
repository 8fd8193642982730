#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <filesystem>
#include <vector>

namespace cobaltreel::benchmarks {

/// The PNG and JPEG pictures in a folder but for masks, by name. Throws std::runtime_error when there is
/// none.
std::vector<std::filesystem::path> pictureFiles(const std::filesystem::path& folder);

/// Cuts the people out of the pictures in `folder` (PNG and JPEG) and writes a PNG to be looked at: every
/// picture, and beside it the person on green. Where a picture has a mask (NAME.mask.png
/// beside it, or one of those that come with the tests), prints the overlap.
/// Throws std::runtime_error that names the folder or file.
void cutPictures(const std::filesystem::path& folder, const std::filesystem::path& sheet,
                 platform::VisionService& vision);

/// Prints in which of the pictures in `folder`, which show nobody, somebody is found: at once, after somebody
/// is gone from one frame to the next, and two seconds after somebody has walked out. Throws
/// std::runtime_error that names the folder or file.
void searchRooms(const std::filesystem::path& folder, platform::VisionService& vision);

}  // namespace cobaltreel::benchmarks
