#include "Cobaltreel/Support/DiskSpace.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"

#include <QStorageInfo>
#include <QString>
#include <fstream>

namespace cobaltreel {
namespace {

struct DiskSpaceTest : TemporaryHome {};

TEST_F(DiskSpaceTest, IsThatOfTheVolumeOfTheFileOrFolder) {
    const auto expected =
        static_cast<double>(QStorageInfo(QString::fromStdString(home.string())).bytesAvailable());
    ASSERT_GT(expected, 0);
    std::ofstream(home / "file") << "x";
    for (const auto& path : {home, home / "file"})
        EXPECT_NEAR(static_cast<double>(DiskSpace::freeBytes(path)), expected, expected / 4) << path;
    EXPECT_EQ(DiskSpace::freeBytes(home / "absent"), 0);
}

}  // namespace
}  // namespace cobaltreel
