#pragma once

#include "CobaltreelCore/Transforms.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <span>
#include <vector>

namespace cobaltreel {

/// How the camera behaves that knows what comes. Seconds unless said otherwise; speeds are those of a plan
/// sampled by `ZoomEngine::evaluate`, the centre's measured with the frame's width and height as 1 each.
struct AnticipationConfig {
    double zoomScale = 2.0;  ///< magnification of a shot whose clicks lie close together
    double minZoom = 1.25;   ///< what would need less shows the whole frame
    double margin = 0.1;     ///< between a click and the picture's edge, as a fraction of the picture's side
    double comfort = 0.2;    ///< the camera goes to a click that is nearer to the edge, when there is time

    double lead = 0.2;         ///< the camera rests so long before the button goes down
    double linger = 0.4;       ///< and so long after it, for what the click brings about
    double idleTimeout = 4.0;  ///< after the last click the camera stays at least so long
    double maxStay = 30.0;     ///< and at most so long, while the pointer stays in the picture
    double minHome = 1.5;      ///< between two shots the whole frame is shown so long or not at all
    double endLinger = 1.5;    ///< after the last click of all, when the movie ends before `idleTimeout`

    double minMove = 0.5;             ///< no move is shorter
    double minReversalGap = 2.0;      ///< between two moves that each turn back on the one before
    double maxSpeed = 1.8;            ///< of the centre, a second
    double maxAcceleration = 9.0;     ///< of the centre, a second squared
    double maxZoomSpeed = 4.0;        ///< of the magnification, a second
    double maxZoomAcceleration = 22;  ///< of the magnification, a second squared
};

/// Plans a zoom that has arrived when the button goes down. Pure; safe on any thread. Takes finite numbers
/// and a frame of positive size.
namespace AnticipatingZoom {

/// The camera's moves over an output of `duration` seconds, in order and never overlapping, all ending within
/// it; the first may be one of no length at 0, when a click comes too early to be reached from the whole
/// frame: the movie then begins zoomed in. Clicks (from 0 to `duration`) and the pointer are in output time
/// and frame pixels; the pointer's samples rise in time and may be missing.
///
/// The clicks are gathered into shots, in which the camera rests. A shot holds clicks that one picture shows,
/// and also those that are too far apart for one but too close in time for a move. Between two shots the
/// camera glides, or shows the whole frame when there is time for it and the pointer has left the picture.
std::vector<CameraMove> moves(std::span<const Click> clicks, std::span<const PointerSample> pointer,
                              double width, double height, double duration,
                              const AnticipationConfig& config = {});

/// Whether one move turns back on another: zooms the other way, or goes to a side that it came from.
bool isReversal(const CameraMove& move, const CameraMove& before, double width, double height);

}  // namespace AnticipatingZoom

}  // namespace cobaltreel
