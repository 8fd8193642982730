#include "Cobaltreel/Support/Strings.hpp"

#include <QString>
#include <algorithm>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

class StringsTest : public ::testing::Test {
  protected:
    ~StringsTest() override { L::current = Language::he; }
};

bool hasHebrewLetter(QStringView text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.direction() == QChar::DirR; });
}

TEST_F(StringsTest, NoEntryLacksATextAndOnlyTheMeantOnesAreTheSameInBothLanguages) {
    const std::set<std::string_view> meant{"shortcut", "version", "versionEgg"};
    std::set<std::string_view> names;
    for (const S::Entry& entry : S::catalogue()) {
        SCOPED_TRACE(std::string(entry.name));
        EXPECT_TRUE(names.insert(entry.name).second) << "twice in the list";
        EXPECT_FALSE(entry.hebrew.trimmed().isEmpty());
        EXPECT_FALSE(entry.english.trimmed().isEmpty());
        EXPECT_EQ(entry.hebrew, entry.hebrew.trimmed());
        EXPECT_EQ(entry.english, entry.english.trimmed());
        EXPECT_EQ(entry.hebrew == entry.english, meant.contains(entry.name));
        if (meant.contains(entry.name)) continue;
        EXPECT_TRUE(hasHebrewLetter(entry.hebrew));
        EXPECT_FALSE(hasHebrewLetter(entry.english));
    }
}

TEST_F(StringsTest, TextsBuiltFromValues) {
    const QString date = QStringLiteral("2025-03-07"), time = QStringLiteral("14.05");
    L::current = Language::en;
    EXPECT_EQ(S::filenameDefault(date, time), QStringLiteral("Tutorial 2025-03-07 14.05"));
    EXPECT_EQ(S::displayFallback(2, 1512, 982), QStringLiteral(u"Display 2 \u2014 1512\u00d7982"));
    EXPECT_EQ(S::timeLeft("00:12"), QStringLiteral("00:12 left"));
    L::current = Language::he;
    EXPECT_EQ(S::timeLeft("00:12"), QStringLiteral(u"נותרו 00:12"));
    EXPECT_EQ(S::filenameDefault(date, time), QStringLiteral(u"הדרכה 2025-03-07 14.05"));
    EXPECT_EQ(S::displayFallback(1, 3840, 2160), QStringLiteral(u"מסך 1 \u2014 3840\u00d72160"));
}

}  // namespace
}  // namespace cobaltreel
