#include "Cobaltreel/Support/Strings.hpp"

#include <QString>
#include <algorithm>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

bool hasHebrewLetter(QStringView text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.direction() == QChar::DirR; });
}

TEST(StringsTest, NoEntryLacksATextAndOnlyTheMeantOnesAreTheSameInBothLanguages) {
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

}  // namespace
}  // namespace cobaltreel
