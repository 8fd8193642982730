#pragma once

#include <string_view>
#include <vector>

/// Who may include whom. The rule with the longest matching `from` holds for a file; a file that no
/// rule matches is a fault. `mayInclude` lists folders (or files) below Sources; `libraries` lists
/// families of system headers, as IncludeRules.cpp names them.
struct IncludeRule {
    std::string_view from;
    bool headersOnly;  ///< the rule is for .hpp files; the .cpp files beside them follow the next rule
    std::vector<std::string_view> mayInclude;
    std::vector<std::string_view> libraries;
};

inline const std::vector<IncludeRule> includeTable{
    {"Platform/Foundation/", false, {"Platform/Foundation/"}, {"std", "os"}},
    {"Platform/Foundation/Qt/", false, {"Platform/Foundation/"}, {"std", "os", "qt-core"}},

    {"Platform/Imaging/", true, {"Platform/Foundation/", "Platform/Imaging/"}, {"std"}},
    {"Platform/Imaging/", false, {"Platform/Foundation/", "Platform/Imaging/"}, {"std", "simd"}},
    {"Platform/Imaging/Yuv/", false, {"Platform/Foundation/", "Platform/Imaging/"}, {"std", "yuv"}},
    {"Platform/Imaging/QtRaster/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/"},
     {"std", "qt-core", "qt-gui"}},

    {"Platform/Vision/", false, {"Platform/Foundation/", "Platform/Imaging/", "Platform/Vision/"}, {"std"}},
    {"Platform/Vision/OpenCv/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Vision/"},
     {"std", "os", "opencv", "json", "yuv"}},

    {"Platform/Media/", false, {"Platform/Foundation/", "Platform/Imaging/", "Platform/Media/"}, {"std"}},
    {"Platform/Media/FFmpeg/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Media/"},
     {"std", "os", "ffmpeg", "x265", "yuv"}},

    {"Platform/Media/PipeWire/",
     false,
     {"Platform/Foundation/", "Platform/Media/", "Platform/Capture/PipeWire/"},
     {"std", "pipewire"}},

    {"Platform/Capture/", false, {"Platform/Foundation/", "Platform/Imaging/", "Platform/Capture/"}, {"std"}},
    {"Platform/Capture/Frames/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Capture/"},
     {"std", "yuv"}},
    {"Platform/Capture/Xcb/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Capture/", "Platform/Desktop/Xcb/"},
     {"std", "os", "xcb", "yuv"}},
    {"Platform/Capture/PipeWire/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Capture/", "Platform/Desktop/CastScreen.hpp"},
     {"std", "os", "pipewire", "yuv", "ffmpeg"}},
    {"Platform/Capture/Portal/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Capture/", "Platform/Desktop/",
      "Platform/Capture/PipeWire/", "Platform/Desktop/Portal/"},
     {"std", "os", "qt-core", "qt-dbus"}},

    {"Platform/Desktop/", false, {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/"}, {"std"}},
    {"Platform/Desktop/Xcb/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/", "Platform/Capture/Xcb/"},
     {"std", "os", "xcb"}},

    {"Platform/Desktop/Qt/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/"},
     {"std", "os", "qt-core", "qt-gui", "qt-dbus"}},

    {"Platform/Desktop/Portal/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/"},
     {"std", "os", "qt-core", "qt-dbus"}},

    {"Platform/Desktop/Evdev/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/"},
     {"std", "os", "evdev"}},

    {"Platform/Desktop/Posix/",
     false,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Desktop/"},
     {"std", "os"}},

    {"Platform/RecordingHost",
     false,
     {"Platform/Foundation/", "Platform/Media/", "Platform/Capture/", "Platform/Desktop/"},
     {"std"}},
    // The one place that chooses implementations.
    {"Platform/PlatformServices", false, {"Platform/"}, {"std", "os"}},
    {"Platform/PlatformServices",
     true,
     {"Platform/Foundation/", "Platform/Imaging/", "Platform/Vision/", "Platform/Media/", "Platform/Capture/",
      "Platform/Desktop/", "Platform/RecordingHost.hpp"},
     {"std"}},

    {"CobaltreelCore/", true, {"CobaltreelCore/", "Platform/Imaging/", "Platform/Vision/"}, {"std"}},
    {"CobaltreelCore/", false, {"CobaltreelCore/", "Platform/Imaging/", "Platform/Vision/"}, {"std", "json"}},

    {"Cobaltreel/Support/",
     false,
     {"Cobaltreel/Support/", "CobaltreelCore/", "Platform/Foundation/", "Platform/Imaging/",
      "Platform/Desktop/", "Platform/Capture/DeviceAccess.hpp"},
     {"std", "qt-core"}},
    {"Cobaltreel/Capture/",
     false,
     {"Cobaltreel/Capture/", "Cobaltreel/Support/", "CobaltreelCore/", "Platform/Foundation/",
      "Platform/Imaging/", "Platform/Media/", "Platform/Capture/", "Platform/Desktop/", "Platform/Vision/",
      "Platform/RecordingHost.hpp"},
     {"std", "qt-core", "qcoro"}},
    {"Cobaltreel/Export/",
     false,
     {"Cobaltreel/Export/", "Cobaltreel/Support/", "CobaltreelCore/", "Platform/Foundation/",
      "Platform/Imaging/", "Platform/Media/", "Platform/Vision/"},
     {"std", "qt-core"}},
    {"Cobaltreel/UI/",
     false,
     {"Cobaltreel/UI/", "Cobaltreel/Capture/", "Cobaltreel/Export/", "Cobaltreel/Support/", "CobaltreelCore/",
      "Platform/Foundation/", "Platform/Imaging/", "Platform/Media/", "Platform/Capture/",
      "Platform/Desktop/", "Platform/Vision/"},
     {"std", "qt-core", "qt-gui", "qcoro"}},
    {"Cobaltreel/Shell/",
     false,
     {"Cobaltreel/Shell/", "Cobaltreel/UI/", "Cobaltreel/Capture/", "Cobaltreel/Support/", "CobaltreelCore/",
      "Platform/"},
     {"std", "qt-core", "qt-gui", "qcoro"}},
    {"Cobaltreel/CommandLine/",
     false,
     {"Cobaltreel/", "CobaltreelCore/", "Platform/"},
     {"std", "os", "qt-core", "qt-gui", "qcoro", "cli", "json"}},
    {"Cobaltreel/CobaltreelApp",
     false,
     {"Cobaltreel/", "CobaltreelCore/", "Platform/"},
     {"std", "os", "qt-core", "qt-gui", "qcoro"}},
};

/// Folders of one library each: nobody outside may include their headers but the chooser and, where a
/// rule above names them, a sibling of the same library.
inline const std::vector<std::string_view> libraryFolders{
    "Platform/Foundation/Qt/",    "Platform/Imaging/Yuv/",   "Platform/Imaging/QtRaster/",
    "Platform/Vision/OpenCv/",    "Platform/Media/FFmpeg/",  "Platform/Capture/Xcb/",
    "Platform/Capture/PipeWire/", "Platform/Desktop/Xcb/",   "Platform/Media/PipeWire/",
    "Platform/Desktop/Qt/",       "Platform/Desktop/Posix/", "Platform/Capture/Portal/",
    "Platform/Desktop/Portal/",   "Platform/Desktop/Evdev/",
};
