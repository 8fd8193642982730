#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Platform/Media/MediaService.hpp"

#include <functional>

#include <opencv2/core.hpp>

namespace cobaltreel {

/// A session with somebody in front of the camera, to be cut out: a plain gray screen and, in the camera
/// movie, the pictures that are given, both of 1280 × 720.
struct PersonSession {
    static constexpr double cameraRate = 15, screenRate = 30;  // frames a second
    static constexpr int screenLuma = 126;

    /// Writes both movies and session.json into `folder`. Throws when that fails.
    static SessionMeta write(const SessionFolder& folder, platform::MediaService& media, double seconds,
                             const std::function<cv::Mat3b(double seconds)>& picture);
};

}  // namespace cobaltreel
