// Walks Sources and holds every #include against the table.
#include "Architecture/IncludeTable.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
const fs::path sources = COBALTREEL_SOURCES;

/// The family of a system header, empty for one that no rule knows.
std::string family(const std::string& header) {
    static const std::vector<std::pair<std::regex, std::string>> families{
        {std::regex("libyuv.*"), "yuv"},
        {std::regex("libav.*|libsw.*"), "ffmpeg"},
        {std::regex("x264\\.h"), "x264"},
        {std::regex("x265\\.h"), "x265"},
        {std::regex("gif_lib\\.h"), "gif"},
        {std::regex("libimagequant\\.h"), "imagequant"},
        {std::regex("xcb/.*|X11/.*"), "xcb"},
        {std::regex("nlohmann/.*"), "json"},
        {std::regex("CLI/.*"), "cli"},
        {std::regex("opencv2/.*"), "opencv"},
        {std::regex("pipewire/.*|spa/.*"), "pipewire"},
        {std::regex("libevdev/.*"), "evdev"},
        {std::regex("QCoro.*"), "qcoro"},
        {std::regex("QDBus\\w*|QtDBus/.*"), "qt-dbus"},
        {std::regex(
             "Qt(Qml|Quick|Gui|Svg|Widgets)/"
             ".*|Q(GuiApplication|Application|Image|Painter\\w*|Window|Screen|Pixmap|Colou?r|Font\\w*|Icon|"
             "Quick.*|Qml.*|Widget|Menu|MessageBox|SystemTrayIcon|Svg.*)"),
         "qt-gui"},
        {std::regex("Q[A-Z]\\w*|Qt\\w*"), "qt-core"},
        {std::regex("immintrin\\.h"), "simd"},
        {std::regex("[a-z_]+"), "std"},
        {std::regex("[a-z0-9_]+\\.h|(sys|linux)/.*\\.h"), "os"},
    };
    for (const auto& [pattern, name] : families)
        if (std::regex_match(header, pattern)) return name;
    return {};
}

const IncludeRule* ruleFor(const std::string& file) {
    const bool header = file.ends_with(".hpp");
    const IncludeRule* best = nullptr;
    for (const auto& rule : includeTable) {
        if (!file.starts_with(rule.from) || (rule.headersOnly && !header)) continue;
        const bool longer = !best || rule.from.size() > best->from.size();
        const bool closer = best && rule.from.size() == best->from.size() && rule.headersOnly;
        if (longer || closer) best = &rule;
    }
    return best;
}

bool within(const std::string& path, const std::vector<std::string_view>& folders) {
    return std::any_of(folders.begin(), folders.end(),
                       [&](std::string_view folder) { return path.starts_with(folder); });
}

/// What is wrong with one include of one file; empty when nothing is.
std::string fault(const std::string& file, const IncludeRule& rule, const std::string& header, bool quoted) {
    if (!quoted) {
        const std::string name = family(header);
        if (name.empty()) return "is of no known library";
        const bool isAllowed = name == "std" || std::ranges::count(rule.libraries, name) > 0;
        return isAllowed ? "" : "is of library " + name;
    }
    const std::string own = file.substr(0, file.find('/', file.find('/') + 1));
    const bool isCore = file.starts_with("CobaltreelCore/");
    const bool isBasic = header.starts_with(isCore ? "CobaltreelCore/" : "Platform/Foundation/");
    if (!isBasic && !header.starts_with(own) && !within(header, rule.mayInclude))
        return "is outside what this folder may include";
    for (const auto folder : libraryFolders) {
        if (!header.starts_with(folder) || file.starts_with(folder)) continue;
        const bool named =
            std::find(rule.mayInclude.begin(), rule.mayInclude.end(), folder) != rule.mayInclude.end();
        const auto service = folder.substr(0, folder.find('/', std::string_view("Platform/").size()) + 1);
        const bool chooser = rule.from == "Platform/PlatformServices" && !rule.headersOnly;
        // The library-free sources of a service may use its library folder; its interfaces may not.
        const bool ownService = file.starts_with(service) && file.ends_with(".cpp");
        if (!named && !chooser && !ownService) return "is private to " + std::string(folder);
    }
    return {};
}

TEST(Architecture, EveryIncludeIsAllowedByTheTable) {
    const std::regex include(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const auto extension = entry.path().extension();
        if (extension != ".hpp" && extension != ".cpp" && extension != ".h") continue;
        ++files;
        const std::string file = entry.path().lexically_relative(sources).generic_string();
        const IncludeRule* rule = ruleFor(file);
        if (!rule) {
            ADD_FAILURE() << file << " stands in no folder of the table";
            continue;
        }
        std::ifstream stream(entry.path());
        int number = 0;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            std::smatch match;
            if (!std::regex_search(line, match, include)) continue;
            const std::string wrong = fault(file, *rule, match[2], match[1] == "\"");
            EXPECT_EQ(wrong, "") << file << ":" << number << ": " << line;
        }
    }
    EXPECT_GT(files, 20);
}

}  // namespace
