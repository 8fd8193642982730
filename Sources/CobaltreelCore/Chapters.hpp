#pragma once

#include "CobaltreelCore/Models.hpp"
#include "CobaltreelCore/TrimMath.hpp"

#include <string>
#include <vector>

namespace cobaltreel {

/// A part of an exported movie, in output time.
struct Chapter {
    double start = 0;  ///< seconds
    double end = 0;
    std::string title;  ///< UTF-8

    friend bool operator==(const Chapter&, const Chapter&) = default;
};

/// Markers as a person meets them.
namespace Chapters {

/// The words for what has none of its own.
struct Names {
    std::string start = "Start";    ///< what comes before the first marker
    std::string marker = "Marker";  ///< a number follows
};

/// What is closer together nobody can tell apart, and some players refuse chapters without a length.
constexpr double shortest = 0.1;  // seconds

/// The marker's text, or its number (from one, among all of the recording).
std::string title(const Marker& marker, std::size_t number, const Names& names);

/// One chapter from each marker of the kept span to the next. They begin at 0, with one of its own for what
/// comes before the first marker, and cover the whole. Of markers closer together than `shortest` the first
/// stands, with the first text among them. Empty when no marker is in the span.
std::vector<Chapter> ofMarkers(const std::vector<Marker>& markers, const ExportTiming& timing,
                               const Names& names);

}  // namespace Chapters

}  // namespace cobaltreel
