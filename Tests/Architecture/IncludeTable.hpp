#pragma once

#include <string_view>
#include <vector>

/// Who may include whom. The rule with the longest matching `from` holds for a file; a file that no
/// rule matches is a fault. Besides what `mayInclude` lists (folders or files below Sources) a folder may
/// include its own service's (its path's first two names) and, but for the core, Platform/Foundation.
/// `libraries` lists families of system headers beside the standard library, as IncludeRules.cpp names them.
struct IncludeRule {
    std::string_view from;
    std::vector<std::string_view> mayInclude;
    std::vector<std::string_view> libraries;
    bool headersOnly =
        false;  ///< the rule is for .hpp files; the .cpp files beside them follow the next rule
};

inline const std::vector<IncludeRule> includeTable{
    {"Platform/Foundation/", {}, {"os"}},
    {"Platform/Foundation/Qt/", {}, {"os", "qt-core"}},

    {"Platform/Imaging/", {}, {}, true},
    {"Platform/Imaging/", {}, {"simd"}},
    {"Platform/Imaging/QtRaster/", {}, {"qt-core", "qt-gui"}},

    {"Platform/Xcb/", {"Platform/Imaging/"}, {"os", "xcb"}},

    {"Platform/Vision/", {"Platform/Imaging/"}, {}},
    {"Platform/Vision/OpenCv/", {"Platform/Imaging/"}, {"os", "opencv", "json", "yuv"}},

    {"Platform/Media/", {"Platform/Imaging/"}, {}},
    {"Platform/Media/FFmpeg/",
     {"Platform/Imaging/", "Platform/Media/Gif/"},
     {"os", "ffmpeg", "x264", "x265", "yuv"}},
    {"Platform/Media/Gif/", {"Platform/Imaging/"}, {"os", "gif", "imagequant"}},
    {"Platform/Media/PipeWire/", {"Platform/Capture/PipeWire/"}, {"pipewire"}},

    {"Platform/Capture/", {"Platform/Imaging/"}, {}},
    {"Platform/Capture/Frames/", {"Platform/Imaging/"}, {"yuv"}},
    {"Platform/Capture/Xcb/", {"Platform/Imaging/", "Platform/Xcb/"}, {"os", "xcb", "yuv"}},
    {"Platform/Capture/PipeWire/",
     {"Platform/Imaging/", "Platform/Desktop/CastScreen.hpp"},
     {"os", "pipewire", "yuv", "ffmpeg"}},
    {"Platform/Capture/Portal/",
     {"Platform/Imaging/", "Platform/Desktop/", "Platform/Capture/PipeWire/", "Platform/Desktop/Portal/"},
     {"os", "qt-core", "qt-dbus"}},

    {"Platform/Desktop/", {"Platform/Imaging/"}, {}},
    {"Platform/Desktop/Xcb/", {"Platform/Imaging/", "Platform/Xcb/"}, {"os", "xcb"}},
    {"Platform/Desktop/Qt/", {"Platform/Imaging/"}, {"os", "qt-core", "qt-gui", "qt-dbus"}},
    {"Platform/Desktop/Portal/", {"Platform/Imaging/"}, {"os", "qt-core", "qt-dbus"}},
    {"Platform/Desktop/Evdev/", {"Platform/Imaging/"}, {"os", "evdev"}},
    {"Platform/Desktop/Posix/", {"Platform/Imaging/"}, {"os"}},

    {"Platform/RecordingHost", {"Platform/Media/", "Platform/Capture/", "Platform/Desktop/"}, {}},
    // The one place that chooses implementations.
    {"Platform/PlatformServices", {"Platform/"}, {"os"}},
    {"Platform/PlatformServices",
     {"Platform/Imaging/", "Platform/Vision/", "Platform/Media/", "Platform/Capture/", "Platform/Desktop/",
      "Platform/RecordingHost.hpp"},
     {},
     true},

    {"CobaltreelCore/", {"Platform/Imaging/", "Platform/Vision/"}, {}, true},
    {"CobaltreelCore/", {"Platform/Imaging/", "Platform/Vision/"}, {"json"}},

    {"Cobaltreel/Support/",
     {"CobaltreelCore/", "Platform/Imaging/", "Platform/Desktop/", "Platform/Capture/DeviceAccess.hpp"},
     {"qt-core"}},
    {"Cobaltreel/Capture/",
     {"Cobaltreel/Support/", "CobaltreelCore/", "Platform/Imaging/", "Platform/Media/", "Platform/Capture/",
      "Platform/Desktop/", "Platform/Vision/", "Platform/RecordingHost.hpp"},
     {"qt-core", "qcoro"}},
    {"Cobaltreel/Scene/", {"Cobaltreel/Support/", "CobaltreelCore/", "Platform/Imaging/"}, {}},
    {"Cobaltreel/Export/",
     {"Cobaltreel/Scene/", "Cobaltreel/Support/", "CobaltreelCore/", "Platform/Imaging/", "Platform/Media/",
      "Platform/Vision/"},
     {"qt-core"}},
    {"Cobaltreel/UI/",
     {"Cobaltreel/Capture/", "Cobaltreel/Export/", "Cobaltreel/Scene/", "Cobaltreel/Support/",
      "CobaltreelCore/", "Platform/Imaging/", "Platform/Media/", "Platform/Capture/", "Platform/Desktop/",
      "Platform/Vision/"},
     {"qt-core", "qt-gui", "qcoro"}},
    {"Cobaltreel/Shell/",
     {"Cobaltreel/UI/", "Cobaltreel/Capture/", "Cobaltreel/Support/", "CobaltreelCore/", "Platform/"},
     {"qt-core", "qt-gui", "qcoro"}},
    {"Cobaltreel/CommandLine/",
     {"Cobaltreel/", "CobaltreelCore/", "Platform/"},
     {"os", "qt-core", "qt-gui", "qcoro", "cli", "json"}},
    {"Cobaltreel/CobaltreelApp",
     {"Cobaltreel/", "CobaltreelCore/", "Platform/"},
     {"os", "qt-core", "qt-gui", "qcoro"}},
};

/// Folders of one library each: nobody outside may include their headers but the chooser and, where a
/// rule above names them, a sibling of the same library.
inline const std::vector<std::string_view> libraryFolders{
    "Platform/Foundation/Qt/", "Platform/Imaging/QtRaster/", "Platform/Vision/OpenCv/",
    "Platform/Media/FFmpeg/",  "Platform/Capture/Xcb/",      "Platform/Capture/PipeWire/",
    "Platform/Desktop/Xcb/",   "Platform/Media/PipeWire/",   "Platform/Desktop/Qt/",
    "Platform/Desktop/Posix/", "Platform/Capture/Portal/",   "Platform/Desktop/Portal/",
    "Platform/Desktop/Evdev/", "Platform/Media/Gif/",
};
