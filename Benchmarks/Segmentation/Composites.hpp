#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"
#include "Scores.hpp"

#include <filesystem>

namespace cobaltreel::benchmarks {

class ContactSheet;

/// Lays the people in `folder` whose masks are known over other rooms (rendered ones, and the folder's
/// pictures NAME.room.jpg or .png), with noise, blur, steps of exposure and compression, still and moving,
/// and adds how well they are cut out again to `scores`; the worst frame of each take goes to `sheet`. The
/// photographed rooms count as empty ones, too. Throws std::runtime_error when the folder holds nobody with a
/// mask.
void cutComposites(const std::filesystem::path& folder, platform::VisionService& vision,
                   platform::PersonSegmentationRequest::QualityLevel quality, Scores& scores,
                   ContactSheet& sheet);

}  // namespace cobaltreel::benchmarks
