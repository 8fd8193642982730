#include "Platform/Foundation/Qt/QtUserDefaults.hpp"

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <optional>

#include <gmock/gmock.h>

namespace platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class QtUserDefaultsTest : public ::testing::Test {
  protected:
    QtUserDefaultsTest() { qputenv("XDG_CONFIG_HOME", home.path().toUtf8()); }

    QTemporaryDir home;
};

TEST_F(QtUserDefaultsTest, WhatIsSetIsOnDiskAtOnceAndReadByTheNextStart) {
    QtUserDefaults first;
    EXPECT_EQ(first.string("language"), std::nullopt);
    EXPECT_THAT(first.stringArray("prompted"), IsEmpty());
    first.setString("odd", "a, b = \"ü\" ☂");
    first.setStringArray("one", {"20250307-140500"});
    first.setStringArray("prompted", {"20250307-140500", "a,b", "שלום"});
    EXPECT_TRUE(std::filesystem::exists(home.path().toStdString() + "/Cobaltreel/Cobaltreel.conf"));

    const QtUserDefaults next;  // while the first is still open
    EXPECT_THAT(next.string("odd"), Optional(std::string("a, b = \"ü\" ☂")));
    EXPECT_THAT(next.stringArray("one"), ElementsAre("20250307-140500"));
    EXPECT_THAT(next.stringArray("prompted"), ElementsAre("20250307-140500", "a,b", "שלום"));
    EXPECT_EQ(next.string("prompted"), std::nullopt);
}

TEST_F(QtUserDefaultsTest, ADamagedFileOrOneThatCannotBeWrittenDisturbsNobody) {
    std::filesystem::create_directory(home.path().toStdString() + "/Cobaltreel");
    std::ofstream(home.path().toStdString() + "/Cobaltreel/Cobaltreel.conf") << "[[[\0\xff nonsense";
    EXPECT_EQ(QtUserDefaults().string("language"), std::nullopt);

    qputenv("XDG_CONFIG_HOME", "/proc/nowhere");
    QtUserDefaults nowhere;
    EXPECT_NO_THROW(nowhere.setString("language", "en"));
}

}  // namespace
}  // namespace platform
