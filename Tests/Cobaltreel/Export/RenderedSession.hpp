#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Platform/Media/MediaService.hpp"
#include "Platform/Vision/RenderedPeople/Scene.hpp"

namespace cobaltreel {

/// A session with somebody in front of the camera: a plain gray screen of 1280 × 720 and, in the camera
/// movie, the frames of a rendered scene.
struct RenderedSession {
    static constexpr double cameraRate = 15, screenRate = 30;  // frames a second
    static constexpr int screenLuma = 126;

    /// Writes both movies and session.json into `folder`. Throws when that fails.
    static SessionMeta write(const SessionFolder& folder, const rendered::Scene& scene, double seconds,
                             platform::MediaService& media);
};

}  // namespace cobaltreel
