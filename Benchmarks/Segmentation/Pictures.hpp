#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <filesystem>

namespace cobaltreel::benchmarks {

/// Cuts the people out of the pictures in `folder` (PNG and JPEG) and writes a PNG to be looked at: every
/// picture, and beside it the person on green. Where NAME.mask.png lies beside NAME, prints the overlap.
/// Throws std::runtime_error that names the folder or file.
void cutPictures(const std::filesystem::path& folder, const std::filesystem::path& sheet,
                 platform::VisionService& vision);

}  // namespace cobaltreel::benchmarks
