#include "Cobaltreel/UI/Scene.hpp"
#include "Gallery/Gallery.hpp"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <set>

namespace cobaltreel {
namespace {

int colorsIn(const QImage& picture) {
    std::set<QRgb> colors;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) colors.insert(picture.pixel(x, y));
    return int(colors.size());
}

class GalleryTest : public LocalisedTest {};

TEST_F(GalleryTest, DrawsEveryControlInBothLanguages) {
    const QTemporaryDir folder;
    ::testing::internal::CaptureStdout();
    const int status = runGallery({folder.filePath("pictures").toStdString()});
    const std::string printed = ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(status, 0);
    const QStringList names = QDir(folder.filePath("pictures")).entryList({"*.png"});
    EXPECT_EQ(names.size(), 26);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const QImage picture(folder.filePath("pictures/" + name));
        EXPECT_GT(colorsIn(picture), 10);
        EXPECT_NE(printed.find(name.toStdString()), std::string::npos);
    }
    for (const char* board :
         {"MacSwitch", "MacSlider", "MacSegmented", "Panel", "SettingsWindow", "MacDropdown-open"}) {
        const QImage he(folder.filePath(QStringLiteral("pictures/%1-he.png").arg(QLatin1String(board))));
        const QImage en(folder.filePath(QStringLiteral("pictures/%1-en.png").arg(QLatin1String(board))));
        EXPECT_NE(he, en) << board;
    }
}

TEST_F(GalleryTest, SaysSoWhenAPictureCannotBeWritten) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(runGallery({"/proc/nowhere"}), 1);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("/proc/nowhere"), std::string::npos);
}

}  // namespace
}  // namespace cobaltreel
