#pragma once

#include "CobaltreelCore/Models.hpp"

#include <concepts>
#include <optional>
#include <type_traits>
#include <vector>

namespace cobaltreel {

/// `Record` as it is or constant: the descriptions below serve the writer and the reader.
template <typename Record, typename Described>
concept Describes = std::same_as<std::remove_const_t<Record>, Described>;

/// Calls `visit(key, field)` for every field of a record, keys in ascending order: the one place
/// that names the keys of the documents.
template <Describes<DisplayFrame> Record, typename Visitor>
void eachField(Record& frame, Visitor&& visit) {
    visit("h", frame.h);
    visit("w", frame.w);
    visit("x", frame.x);
    visit("y", frame.y);
}

template <Describes<SessionMeta> Record, typename Visitor>
void eachField(Record& meta, Visitor&& visit) {
    visit("autoZoomEnabled", meta.autoZoomEnabled);
    visit("bubbleSizeFraction", meta.bubbleSizeFraction);
    visit("cameraCorner", meta.cameraCorner);
    visit("cameraEnabled", meta.cameraEnabled);
    visit("cameraFirstPTS", meta.cameraFirstPTS);
    visit("cameraStyle", meta.cameraStyle);
    visit("captureHeightPx", meta.captureHeightPx);
    visit("captureWidthPx", meta.captureWidthPx);
    visit("displayFramePoints", meta.displayFramePoints);
    visit("displayID", meta.displayID);
    visit("mainScreenHeightPoints", meta.mainScreenHeightPoints);
    visit("mode", meta.mode);
    visit("recordingEndHostTime", meta.recordingEndHostTime);
    visit("scaleFactor", meta.scaleFactor);
    visit("screenFirstPTS", meta.screenFirstPTS);
    visit("systemAudioEnabled", meta.systemAudioEnabled);
    visit("version", meta.version);
    visit("windowID", meta.windowID);
}

template <Describes<MouseSample> Record, typename Visitor>
void eachField(Record& sample, Visitor&& visit) {
    visit("buttons", sample.buttons);
    visit("t", sample.t);
    visit("x", sample.x);
    visit("y", sample.y);
}

template <Describes<WindowFrameSample> Record, typename Visitor>
void eachField(Record& frame, Visitor&& visit) {
    visit("h", frame.h);
    visit("t", frame.t);
    visit("w", frame.w);
    visit("x", frame.x);
    visit("y", frame.y);
}

template <Describes<Marker> Record, typename Visitor>
void eachField(Record& marker, Visitor&& visit) {
    visit("t", marker.t);
    visit("text", marker.text);
}

template <Describes<EventLog> Record, typename Visitor>
void eachField(Record& log, Visitor&& visit) {
    visit("markers", log.markers);
    visit("samples", log.samples);
    visit("version", log.version);
    visit("windowFrames", log.windowFrames);
}

/// A record with keys of its own, as against a plain value or a list.
template <typename Field>
concept DescribedRecord =
    Describes<Field, DisplayFrame> || Describes<Field, SessionMeta> || Describes<Field, MouseSample> ||
    Describes<Field, WindowFrameSample> || Describes<Field, Marker> || Describes<Field, EventLog>;

template <typename Field>
inline constexpr bool isOptional = false;
template <typename Value>
inline constexpr bool isOptional<std::optional<Value>> = true;

/// A list that documents from before there were such entries lack, and that is left out when empty.
template <typename Field>
inline constexpr bool isLaterList = false;
template <>
inline constexpr bool isLaterList<std::vector<Marker>> = true;

template <typename Field>
inline constexpr bool isList = false;
template <typename Value>
inline constexpr bool isList<std::vector<Value>> = true;

}  // namespace cobaltreel
