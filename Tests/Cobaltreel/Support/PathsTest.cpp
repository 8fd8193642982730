#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"

#include <QLocale>
#include <fstream>
#include <locale>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;

/// `count` times the same text.
std::string repeated(std::string_view text, int count) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
}

void touch(const fs::path& file) { std::ofstream(file) << "x"; }

struct PathsTest : TemporaryHome {
    static std::string nameFor(std::string_view baseName) {
        const fs::path file = Paths::uniqueOutputURL(baseName);
        EXPECT_EQ(file.parent_path(), Paths::exportsFolder());
        return file.filename().string();
    }
};

TEST_F(PathsTest, FollowTheUsersDirectories) {
    EXPECT_EQ(Paths::sessionsRoot(), home / "data/Cobaltreel/sessions");
    EXPECT_FALSE(fs::exists(home / "data"));
    EXPECT_EQ(Paths::exportsFolder(), home / "videos/Cobaltreel");

    setVariable("XDG_DATA_HOME", std::nullopt);
    EXPECT_EQ(Paths::sessionsRoot(), home / ".local/share/Cobaltreel/sessions");

    fs::create_directories(home / "config");
    std::ofstream(home / "config/user-dirs.dirs") << "XDG_VIDEOS_DIR=\"$HOME/סרטים\"\n";
    setVariable("XDG_VIDEOS_DIR", std::nullopt);
    EXPECT_EQ(Paths::exportsFolder(), home / "סרטים/Cobaltreel");
    setVariable("XDG_VIDEOS_DIR", "relative");
    EXPECT_EQ(Paths::exportsFolder(), home / "סרטים/Cobaltreel");
}

TEST_F(PathsTest, ASessionIsNamedByItsLocalStartTime) {
    // 14 March 2025, 7:30:05.999 in UTC.
    const std::chrono::system_clock::time_point start{std::chrono::milliseconds(1741937405999)};
    const QLocale before;
    const std::pair<const char*, const char*> zones[]{{"UTC0", "20250314-073005"},
                                                      {"IST-2", "20250314-093005"}};
    for (const auto locale : {QLocale::C, QLocale::Arabic, QLocale::Persian, QLocale::Hebrew}) {
        QLocale::setDefault(QLocale(locale));
        for (const auto& [zone, name] : zones) {
            setVariable("TZ", zone);
            const fs::path dir = Paths::newSessionDir(start);
            EXPECT_EQ(dir, Paths::sessionsRoot() / name);
            EXPECT_TRUE(fs::is_directory(dir));
            EXPECT_EQ(Paths::newSessionDir(start), dir);
        }
    }
    QLocale::setDefault(before);
}

TEST_F(PathsTest, ExportNamesAreCleaned) {
    using namespace std::string_literals;
    const struct {
        std::string baseName, expected;
    } cases[]{
        {"  My:Demo/Take  ", "My-Demo-Take.mp4"},
        {"...hidden", "hidden.mp4"},
        {"....", "Cobaltreel.mp4"},
        {"   \t\n", "Cobaltreel.mp4"},
        {"", "Cobaltreel.mp4"},
        {"clip.mp4", "clip.mp4.mp4"},
        {"a.b..c.", "a.b..c..mp4"},
        {"/etc/passwd", "-etc-passwd.mp4"},
        {"../../x", "-..-x.mp4"},
        {"one\ntwo\0three\x7f"s, "one-two-three-.mp4"},
        {"\u00a0\u2003שלום עולם\u2028", "שלום עולם.mp4"},
        {"\u200fשיעור 1", "\u200fשיעור 1.mp4"},
        {"bad\xff", "bad\ufffd.mp4"},
    };
    for (const auto& c : cases) EXPECT_EQ(nameFor(c.baseName), c.expected) << c.baseName;
    EXPECT_TRUE(fs::is_directory(Paths::exportsFolder()));
}

TEST_F(PathsTest, ATakenNameIsNumbered) {
    fs::create_directories(Paths::exportsFolder());
    touch(Paths::exportsFolder() / "My-Demo-Take.mp4");
    EXPECT_EQ(nameFor("  My:Demo/Take  "), "My-Demo-Take-2.mp4");
    fs::create_symlink(home / "nowhere", Paths::exportsFolder() / "My-Demo-Take-2.mp4");
    EXPECT_EQ(nameFor("  My:Demo/Take  "), "My-Demo-Take-3.mp4");
}

TEST_F(PathsTest, LongNamesFitTheFileSystemAndStayWhole) {
    const std::string pointed = "\u05e9\u05c1\u05b8";  // one letter with two marks, six bytes
    const struct {
        std::string baseName, first, second;
    } cases[]{
        {repeated("a", 251), repeated("a", 251), repeated("a", 249)},
        {repeated("a", 300), repeated("a", 251), repeated("a", 249)},
        {repeated("א", 300), repeated("א", 125), repeated("א", 124)},
        {repeated("\U0001F3A5", 300), repeated("\U0001F3A5", 62), repeated("\U0001F3A5", 62)},
        {repeated(pointed, 300), repeated(pointed, 41), repeated(pointed, 41)},
        {"a" + repeated("\u0301", 300), "a" + repeated("\u0301", 125), "a" + repeated("\u0301", 124)},
    };
    for (const auto& c : cases) {
        const fs::path first = Paths::uniqueOutputURL(c.baseName);
        EXPECT_EQ(first.filename(), c.first + ".mp4");
        touch(first);
        ASSERT_TRUE(fs::exists(first)) << c.baseName;
        const fs::path second = Paths::uniqueOutputURL(c.baseName);
        EXPECT_EQ(second.filename(), c.second + "-2.mp4");
        touch(second);
        EXPECT_TRUE(fs::exists(second)) << c.baseName;
        fs::remove(first);
        fs::remove(second);
    }
}

}  // namespace
}  // namespace cobaltreel
