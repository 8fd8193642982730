#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cobaltreel {

/// What was recorded: a whole display or one window.
enum class CaptureMode { display, window };
/// Corner of the picture in which the camera is shown.
enum class CameraCorner { bottomLeft, bottomRight, topLeft, topRight };
/// Camera shown as a round bubble, or as the person cut out of the background.
enum class CameraStyle { bubble, cutout };
/// Interface language, Hebrew or English.
enum class Language { he, en };

/// The cases of an enumeration in the order of their declaration: `allCases<CameraCorner>`.
template <typename Enumeration>
inline constexpr std::array<Enumeration, 0> allCases{};
template <>
inline constexpr std::array<CaptureMode, 2> allCases<CaptureMode>{CaptureMode::display, CaptureMode::window};
template <>
inline constexpr std::array<CameraCorner, 4> allCases<CameraCorner>{
    CameraCorner::bottomLeft, CameraCorner::bottomRight, CameraCorner::topLeft, CameraCorner::topRight};
template <>
inline constexpr std::array<CameraStyle, 2> allCases<CameraStyle>{CameraStyle::bubble, CameraStyle::cutout};
template <>
inline constexpr std::array<Language, 2> allCases<Language>{Language::he, Language::en};

/// The name of a case, which is also its form in JSON and in the user defaults.
std::string_view rawValue(CaptureMode mode);
std::string_view rawValue(CameraCorner corner);
std::string_view rawValue(CameraStyle style);
std::string_view rawValue(Language language);

/// The case with exactly this raw value, upper and lower case counting; absent when there is none.
template <typename Enumeration>
std::optional<Enumeration> fromRawValue(std::string_view text) {
    static_assert(!allCases<Enumeration>.empty(), "not an enumeration with raw values");
    for (const Enumeration candidate : allCases<Enumeration>)
        if (rawValue(candidate) == text) return candidate;
    return std::nullopt;
}

/// Choice of the interface language.
struct Languages {
    /// Hebrew when the first of the user's preferred language identifiers begins with "he", upper and
    /// lower case alike; English otherwise.
    static Language forSystem(std::span<const std::string> preferred);
};

/// Version of the session format that this library writes.
struct CobaltreelCoreVersion {
    static constexpr std::int64_t current = 1;
};

/// A display's frame in global mouse space: points, origin at the bottom left of the main screen, y up.
struct DisplayFrame {
    double x = 0;
    double y = 0;
    double w = 0;
    double h = 0;

    friend bool operator==(const DisplayFrame&, const DisplayFrame&) = default;
};

/// What a recording is about. Times are seconds of the host clock, the clock of capture timestamps;
/// only their differences mean anything. A session without `screenFirstPTS` or `recordingEndHostTime`
/// is of a recording that never ended properly.
struct SessionMeta {
    std::int64_t version = 0;
    CaptureMode mode = CaptureMode::display;
    std::uint32_t displayID = 0;
    std::int64_t captureWidthPx = 0;  ///< size of the frames of screen.mov
    std::int64_t captureHeightPx = 0;
    DisplayFrame displayFramePoints;
    double scaleFactor = 0;                        ///< pixels per point of the captured picture
    std::optional<double> mainScreenHeightPoints;  ///< flips between the two global spaces
    std::uint32_t windowID = 0;                    ///< 0 for a recording of a display
    std::optional<double> screenFirstPTS;          ///< first frame written to screen.mov
    std::optional<double> cameraFirstPTS;          ///< first sample of either kind written to camera.mov
    std::optional<double> recordingEndHostTime;
    bool cameraEnabled = false;  ///< camera.mov has a video track
    CameraCorner cameraCorner = CameraCorner::bottomLeft;
    bool autoZoomEnabled = false;
    double bubbleSizeFraction = 0;  ///< the bubble's diameter as a fraction of the picture's height
    bool systemAudioEnabled = false;
    std::optional<CameraStyle> cameraStyle;  ///< absent in sessions older than the choice

    /// The style to show the camera in: `cameraStyle`, or the bubble when that is absent.
    CameraStyle resolvedCameraStyle() const { return cameraStyle.value_or(CameraStyle::bubble); }

    /// A fixed example: a full-HD display at two pixels a point, the camera at the bottom left, not yet
    /// recorded.
    static SessionMeta makeDefault();

    friend bool operator==(const SessionMeta&, const SessionMeta&) = default;
};

/// Where the pointer was and which buttons were down.
struct MouseSample {
    double t = 0;  ///< host-clock seconds
    double x = 0;  ///< global mouse space: points, origin bottom left of the main screen, y up
    double y = 0;
    std::int64_t buttons = 0;  ///< mask: bit 0 primary, bit 1 secondary, then the others

    friend bool operator==(const MouseSample&, const MouseSample&) = default;
};

/// Where the recorded window was.
struct WindowFrameSample {
    double t = 0;  ///< host-clock seconds
    double x = 0;  ///< global window space: points, origin top left of the main screen, y down
    double y = 0;
    double w = 0;
    double h = 0;

    friend bool operator==(const WindowFrameSample&, const WindowFrameSample&) = default;
};

/// A moment that the user has marked.
struct Marker {
    double t = 0;      ///< host-clock seconds
    std::string text;  ///< UTF-8; may be empty

    friend bool operator==(const Marker&, const Marker&) = default;
};

/// What a recording notes beside its movies. The lists rise in `t`; `windowFrames` is empty for a display.
struct EventLog {
    std::int64_t version = CobaltreelCoreVersion::current;
    std::vector<MouseSample> samples;
    std::vector<WindowFrameSample> windowFrames;
    std::vector<Marker> markers{};  ///< left out of the document when there are none

    bool isEmpty() const { return samples.empty() && windowFrames.empty() && markers.empty(); }
    /// Adds what came later.
    void append(EventLog&& piece);

    friend bool operator==(const EventLog&, const EventLog&) = default;
};

/// A press of a mouse button inside the picture.
struct Click {
    double t = 0;   ///< seconds: host clock as recorded, output time once shifted
    double px = 0;  ///< frame pixels, origin top left, y down
    double py = 0;

    friend bool operator==(const Click&, const Click&) = default;
};

}  // namespace cobaltreel
