#include "Platform/Desktop/PrivateBus.hpp"
#include "Platform/Desktop/Qt/QtFileBrowser.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <QDBusConnection>
#include <QEventLoop>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace platform {

/// A file manager on the bus that notes what it is to show.
class FileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

  public:
    QStringList shown;

  public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&) { shown += uris; }
};

namespace {

/// Programs are found nowhere but in a folder of the test's own.
class FileBrowserTest : public testing::Test {
  protected:
    void SetUp() override {
        path = qgetenv("PATH");
        qputenv("PATH", QByteArray::fromStdString(folder.string()));
    }
    void TearDown() override { qputenv("PATH", path); }

    /// Stands for xdg-open: notes its argument and ends with a status.
    void installOpener(int status) {
        const auto program = folder / "xdg-open";
        std::ofstream(program) << "#!/bin/sh\necho \"$1\" > '" << (folder / "opened").string() << "'\nexit "
                               << status << "\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }
    std::string opened() const {
        std::ifstream file(folder / "opened");
        std::string line;
        std::getline(file, line);
        return line;
    }
    std::optional<PlatformError> reveal(const std::filesystem::path& file) {
        QtFileBrowser browser;
        QEventLoop loop;
        std::optional<PlatformError> outcome;
        int calls = 0;
        bool returned = false;
        browser.reveal(file, [&](const auto& error) {
            EXPECT_TRUE(returned) << "never from within the call";
            outcome = error;
            ++calls;
            loop.quit();
        });
        returned = true;
        QTimer::singleShot(10000, &loop, &QEventLoop::quit);
        loop.exec();
        EXPECT_EQ(calls, 1);
        return outcome;
    }

    const rig::TemporaryFolder temporary;
    const std::filesystem::path folder = temporary.path();
    QByteArray path;
};

// One test, for the library looks for its bus once in a process.
TEST_F(FileBrowserTest, TheFileManagerShowsTheFileOrElseTheFolderIsOpenedOrElseItIsSaid) {
    const std::filesystem::path take = "/videos/My take #1 הדרכה.mp4";
    auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "manager");
    FileManager manager;
    ASSERT_TRUE(
        bus.registerObject("/org/freedesktop/FileManager1", &manager, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
    EXPECT_FALSE(reveal(take));
    EXPECT_EQ(manager.shown,
              QStringList{"file:///videos/My%20take%20%231%20%D7%94%D7%93%D7%A8%D7%9B%D7%94.mp4"});
    bus.unregisterService("org.freedesktop.FileManager1");

    const auto error = reveal(take);
    ASSERT_TRUE(error) << "there is no xdg-open";
    EXPECT_NE(error->description().find(take.string()), std::string::npos);
    installOpener(3);
    EXPECT_TRUE(reveal(take));
    installOpener(0);
    EXPECT_FALSE(reveal(take));
    EXPECT_EQ(opened(), "/videos");

    test::privateBus->kill();
    test::privateBus->waitForFinished();
    EXPECT_FALSE(reveal("/elsewhere/take.mp4"));
    EXPECT_EQ(opened(), "/elsewhere");
}

}  // namespace
}  // namespace platform

#include "FileBrowserTest.moc"

int main(int argc, char** argv) { return platform::test::runTestsOnPrivateBus(argc, argv); }
