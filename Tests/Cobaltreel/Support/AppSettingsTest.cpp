#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class AppSettingsTest : public ::testing::Test {
  protected:
    ~AppSettingsTest() override { L::current = Language::he; }
    std::shared_ptr<platform::InMemoryUserDefaults> defaults =
        std::make_shared<platform::InMemoryUserDefaults>();
};

TEST_F(AppSettingsTest, StartsWithTheStoredLanguageElseWithTheFirstOfTheSystems) {
    struct Case {
        std::optional<std::string> stored;
        std::vector<std::string> preferred;
        Language expected;
    };
    const Case cases[]{
        {"he", {"en-US"}, Language::he},
        {"en", {"he-IL"}, Language::en},
        {"fr", {"he-IL"}, Language::he},
        {"", {"en-GB"}, Language::en},
        {"HE", {"en-GB"}, Language::en},
        {std::nullopt, {"he-IL"}, Language::he},
        {std::nullopt, {"HE"}, Language::he},
        {std::nullopt, {"en-IL", "he-IL"}, Language::en},
        {std::nullopt, {"fr-FR", "he-IL"}, Language::en},
        {std::nullopt, {}, Language::en},
    };
    for (const Case& c : cases) {
        defaults->strings.clear();
        if (c.stored) defaults->strings["language"] = *c.stored;
        const auto before = defaults->strings;
        const AppSettings settings(defaults, c.preferred);
        EXPECT_EQ(settings.language(), c.expected) << c.stored.value_or("nothing stored");
        EXPECT_EQ(L::current, c.expected);
        EXPECT_EQ(defaults->strings, before) << "starting stores nothing";
    }
}

TEST_F(AppSettingsTest, AChangeIsStoredAndTellsTheObserversBeforeAndAfter) {
    AppSettings settings(defaults, std::vector<std::string>{"en-US"});
    std::vector<std::string> heard;
    const auto note = [&](const char* when) {
        heard.push_back(std::string(when) + " " + std::string(rawValue(settings.language())) + " " +
                        S::camera().toStdString());
    };
    QObject::connect(&settings, &AppSettings::languageWillChange, [&] { note("before"); });
    QObject::connect(&settings, &AppSettings::languageChanged, [&] { note("after"); });

    settings.setLanguage(Language::he);
    EXPECT_THAT(heard, ElementsAre("before en Camera", "after he מצלמה"));
    EXPECT_THAT(defaults->strings, ElementsAre(Pair("language", "he")));
    EXPECT_THAT(defaults->arrays, IsEmpty());

    const AppSettings nextStart(defaults, std::vector<std::string>{"en-US"});
    EXPECT_EQ(nextStart.language(), Language::he);
}

}  // namespace
}  // namespace cobaltreel
