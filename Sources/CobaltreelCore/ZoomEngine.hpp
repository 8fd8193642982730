#pragma once

#include "CobaltreelCore/Models.hpp"
#include "Platform/Imaging/Geometry.hpp"

#include <span>
#include <vector>

namespace cobaltreel {

/// How the camera behaves; seconds unless said otherwise.
struct ZoomConfig {
    double zoomScale = 2.0;  ///< magnification while zoomed in
    double zoomInDuration = 0.6;
    double panDuration = 0.5;
    double zoomOutDuration = 0.8;
    double idleTimeout = 4.0;    ///< a longer gap between two clicks ends a zoom
    double cooldown = 0.8;       ///< least rest between a move and the next zoom-in or pan
    double innerFraction = 0.6;  ///< dead zone as a fraction of the visible region, per axis
};

/// What the virtual camera sees: magnification (1 = the whole frame) and the centre of the visible
/// region in frame pixels, origin top left, y down.
struct CameraState {
    double zoom = 1;
    double cx = 0;
    double cy = 0;

    friend bool operator==(const CameraState&, const CameraState&) = default;
};

/// The camera travels from `from` to `to` during [tStart, tEnd), seconds of output time.
struct CameraMove {
    double tStart = 0;
    double tEnd = 0;
    CameraState from;
    CameraState to;

    friend bool operator==(const CameraMove&, const CameraMove&) = default;
};

/// Plans the automatic zoom from the clicks and samples the plan. Pure; safe on any thread. Takes
/// finite numbers and a frame of positive size.
namespace ZoomEngine {

/// The camera's moves over an output of `duration` seconds, in order of time and never overlapping.
/// Clicks are in output time and frame pixels, in any order. A move is there when it starts before the
/// end; it may end after it. Without clicks there are no moves.
std::vector<CameraMove> moves(std::span<const Click> clicks, double width, double height, double duration,
                              const ZoomConfig& config = {});

/// The camera at output time `t`.
CameraState evaluate(std::span<const CameraMove> moves, double t, double width, double height);

/// Slow at both ends; through (0, 0), (0.5, 0.5) and (1, 1). The argument is not clamped.
double easeInOutCubic(double p);

/// The visible region in frame pixels, origin top left, y down. Not clamped to the frame: the states
/// of a plan keep it inside by themselves.
platform::Rect cropRect(const CameraState& state, double width, double height);

}  // namespace ZoomEngine

}  // namespace cobaltreel
