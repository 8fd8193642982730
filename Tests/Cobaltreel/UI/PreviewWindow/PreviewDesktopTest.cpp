// The preview of a real session on a real display: its pictures, its controls under the pointer, its export.
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Cobaltreel/UI/PreviewWindow/PictureView.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Fakes/FakeFileBrowser.hpp"
#include "Platform/PlatformServices.hpp"
#include "Rig/CounterSession.hpp"
#include "Rig/QtEventually.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <QScreen>
#include <QTest>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace cobaltreel {
namespace {

constexpr xcb_keysym_t space = ' ', returnKey = 0xff0d, escape = 0xff1b, tab = 0xff09, right = 0xff53;

class PreviewDesktopTest : public LocalisedTest {
  protected:
    PreviewDesktopTest() { meta = session.prepare(folder, *services.media); }

    PreviewWindows makeWindows() {
        return PreviewWindows({services.players, services.media, services.vision, fileBrowser, alerts,
                               services.clock, services.mainLoop});
    }
    void open() {
        windows.openPreview(folder, meta, absences, [this](bool hasExported) {
            ++closed;
            exported = hasExported;
        });
        ASSERT_TRUE(QTest::qWaitForWindowActive(windows.window()));
        ASSERT_TRUE(eventually([&] { return item("screen")->property("hasPicture").toBool(); }));
    }
    QQuickItem* item(const char* name) const {
        auto* found = windows.window()->rootObject()->findChild<QQuickItem*>(QLatin1String(name));
        if (!found) throw std::runtime_error(std::string("no item ") + name);
        return found;
    }
    /// A place in an item, in shares of its size, on the screen.
    QPoint at(const char* name, double x = 0.5, double y = 0.5) const {
        const QQuickItem* target = item(name);
        // What has just been shown finds its place before the next frame.
        for (auto* around = target->parentItem(); around; around = around->parentItem())
            around->ensurePolished();
        return windows.window()->mapToGlobal(
            target->mapToScene(QPointF(x * target->width(), y * target->height())).toPoint());
    }
    void drag(const char* name, double from, double to) {
        input.move(at(name, from));
        input.button(true);
        for (const double share : {0.2, 0.4, 0.6, 0.8, 1.0}) {
            input.move(at(name, from + share * (to - from)));
            QTest::qWait(10);
        }
        input.button(false);
    }
    PreviewModel& model() const { return *windows.model(); }
    bool asks() const { return alerts->window() != nullptr && alerts->window()->isActive(); }
    /// A preview opened from here on says that the recording lasts an hour: its last frame stays, and an
    /// export would run for minutes.
    void makeEndless() { meta.recordingEndHostTime = meta.screenFirstPTS.value_or(0) + 3600; }

    platform::PlatformServices services = platform::PlatformServices::makeDefault("cobaltreel.test");
    rig::TemporaryFolder temporary;
    SessionFolder folder{temporary.path()};
    rig::CounterSession session;
    SessionMeta meta;
    std::vector<DeviceAbsence> absences;
    std::shared_ptr<platform::FakeFileBrowser> fileBrowser = std::make_shared<platform::FakeFileBrowser>();
    std::shared_ptr<AlertWindows> alerts = std::make_shared<AlertWindows>();
    PreviewWindows windows = makeWindows();
    DesktopInput input;
    int closed = 0;
    bool exported = false;
};

TEST_F(PreviewDesktopTest, OnALowScreenEverythingCanBeReached) {
    open();
    AppWindow* const window = windows.window();
    for (const int height : {570, 430, 300}) {
        window->setMinimumSize({700, height});
        window->setMaximumSize({700, height});
        window->resize(700, height);
        EXPECT_TRUE(eventually([&] { return window->rootObject()->height() == height; }));
        item("exportButton")->forceActiveFocus(Qt::TabFocusReason);
        const auto isInside = [&](const char* name) {
            const double top = item(name)->mapToScene({}).y();
            return top >= 0 && top + item(name)->height() <= height;
        };
        EXPECT_TRUE(eventually([&] { return isInside("exportButton"); })) << height;
        savePicture("preview-low-" + QString::number(height));
        item("filename")->forceActiveFocus(Qt::TabFocusReason);
        EXPECT_TRUE(eventually([&] { return isInside("filename"); })) << height;
    }
    input.key(escape);
    EXPECT_TRUE(eventually([&] { return closed == 1; })) << "Escape closes the window";
}

TEST_F(PreviewDesktopTest, ARecordingIsPlayedTrimmedAndExportedWithThePointer) {
    open();
    EXPECT_EQ(windows.window()->size(), QSize(700, 720 - 48)) << "as high as the screen has room for";
    EXPECT_LT(item("exportButton")->mapToScene({0, item("exportButton")->height()}).y(), 720 - 48);
    EXPECT_EQ(windows.window()->title(), "Cobaltreel");
    savePicture("preview");

    input.click(at("exportButton"));
    EXPECT_TRUE(eventually([&] { return model().exporting(); }));
    input.click(at("cancelButton"));
    EXPECT_TRUE(eventually([&] { return !model().exporting(); }));
    EXPECT_FALSE(model().hasExported());

    // The button that was clicked is gone and takes no keys.
    input.key(space);
    EXPECT_TRUE(eventually([&] { return model().isPlaying() && model().position() > 0.3; }));
    // The controls have faded; the keyboard finds them.
    input.key(tab);
    EXPECT_TRUE(eventually([&] { return item("playButton")->hasActiveFocus(); }));
    EXPECT_TRUE(eventually([&] { return item("playButton")->parentItem()->opacity() == 1; }));
    input.key(space);
    EXPECT_TRUE(eventually([&] { return !model().isPlaying(); }));

    drag("trimStartSlider", 0.02, 0.25);
    EXPECT_TRUE(eventually([&] { return std::abs(model().trimStart() - 1.5) < 0.1; })) << model().trimStart();
    drag("trimEndSlider", 0.98, 0.5);
    EXPECT_TRUE(eventually([&] { return std::abs(model().trimEnd() - 3.8) < 0.1; })) << model().trimEnd();
    // The picture shown is the one that the handle names.
    const auto shown = [&] {
        const QImage picture = model().screenPictures()->picture();
        const platform::PixelBuffer pixels(
            platform::PixelFormat::bgra, picture.width(), picture.height(),
            {platform::Plane{const_cast<uchar*>(picture.constBits()),
                             static_cast<int>(picture.bytesPerLine()), picture.width(), picture.height()}},
            nullptr);
        return rig::counterIn(pixels).value_or(9999) / 30.0;
    };
    EXPECT_TRUE(eventually([&] { return std::abs(shown() - model().trimEnd()) <= 1.0 / 30 + 0.002; }))
        << shown() << " instead of " << model().trimEnd();

    input.click(at("timeLine", 0.5));
    EXPECT_TRUE(eventually([&] { return std::abs(shown() - 3) <= 0.1; })) << shown();

    // Return in the name's field exports, too.
    input.click(at("filename"));
    EXPECT_TRUE(eventually([&] { return item("filename")->property("showsFocus").toBool(); }));
    input.key('a');
    EXPECT_TRUE(eventually([&] { return model().filename().endsWith('a'); }));
    // At the end of the name the arrow key is the name's all the same.
    const double stood = model().position();
    input.key(right);
    input.key('b');
    EXPECT_TRUE(eventually([&] { return model().filename().endsWith("ab"); }));
    EXPECT_EQ(model().position(), stood);
    input.key(returnKey);
    EXPECT_TRUE(eventually([&] { return model().isExported(); }));
    savePicture("preview-exported");
    ASSERT_TRUE(model().exportedURL());
    const auto asset = services.media->asset(*model().exportedURL());
    EXPECT_NEAR(asset->loadTracks(platform::MediaType::video).at(0).timeRange.duration(),
                model().trimEnd() - model().trimStart(), 0.07);
    EXPECT_EQ(asset->loadTracks(platform::MediaType::audio).size(), 1U);

    EXPECT_TRUE(eventually([&] { return item("showButton")->isVisible(); }));
    input.click(at("showButton"));
    EXPECT_TRUE(eventually([&] { return fileBrowser->revealed.size() == 1; }));

    windows.window()->close();
    EXPECT_TRUE(eventually([&] { return closed == 1; }));
    EXPECT_TRUE(exported);
}

TEST_F(PreviewDesktopTest, HebrewMirrorsThePanelButNeitherThePictureNorItsTime) {
    AppSettings::shared().setLanguage(Language::he);
    meta.cameraStyle = CameraStyle::cutout;
    absences = {{"HD Webcam C920", 1.2, 3.9}, {"USB Microphone", 4, std::nullopt}};
    open();
    const QString missing = item("missingDevices")->property("label").toString();
    for (const char* part : {"HD Webcam C920", "00:01", "00:03", "USB Microphone", "00:04"})
        EXPECT_TRUE(missing.contains(QLatin1String(part))) << part;
    EXPECT_LT(at("cutoutBubble").x(), at("timeLine").x());
    input.click(at("timeLine", 0.25));
    EXPECT_TRUE(eventually([&] { return std::abs(model().position() - 1.5) < 0.1; })) << model().position();
    savePicture("preview");
    EXPECT_GT(at("autoZoom").x(), at("systemAudio").x());

    // A click on the leading half, on the right, chooses the bubble.
    input.click(at("cameraStyle", 0.75));
    EXPECT_TRUE(eventually([&] { return model().cameraStyle() == CameraStyle::bubble; }));
    EXPECT_TRUE(item("circularBubble")->isVisible());
    model().exportMovie();
    savePicture("preview-exporting");
    windows.window()->close();
    ASSERT_TRUE(eventually([&] { return !model().exporting() || asks(); }));
    savePicture("preview-asks");
    model().cancel();
    if (asks()) input.key(escape);
    EXPECT_TRUE(eventually([&] { return !model().exporting() && alerts->window() == nullptr; }));
    windows.window()->close();
    EXPECT_TRUE(eventually([&] { return closed == 1; }));
}

TEST_F(PreviewDesktopTest, ClosingDuringAnExportAsksAndReportsOnce) {
    makeEndless();
    open();
    model().setTrimEnd(0.2);
    model().exportMovie();
    ASSERT_TRUE(eventually([&] { return model().isExported(); }));
    EXPECT_TRUE(model().hasExported());
    model().setTrimEnd(model().duration());
    model().exportMovie();
    windows.window()->close();
    windows.window()->close();
    ASSERT_TRUE(eventually([&] { return asks(); }));
    savePicture("preview-asks");
    input.key(escape);
    ASSERT_TRUE(eventually([&] { return alerts->window() == nullptr; }));
    EXPECT_TRUE(model().exporting() && windows.window()->isVisible()) << "it goes on";
    windows.window()->close();
    ASSERT_TRUE(eventually([&] { return asks(); }));
    input.key(returnKey);
    EXPECT_TRUE(eventually([&] { return closed == 1; }));
    EXPECT_EQ(windows.window(), nullptr);
    EXPECT_FALSE(exported) << "the last export that was asked for is not there";
    QTest::qWait(50);
    EXPECT_EQ(closed, 1);
}

TEST_F(PreviewDesktopTest, TheEndOfTheApplicationSettlesEveryPreview) {
    bool ended = false;
    const auto end = [&](double patience) {
        ended = false;
        windows.endPreviews(patience, [&] { ended = true; });
        EXPECT_FALSE(ended) << "never at once";
        EXPECT_TRUE(eventually([&] { return ended; }));
        EXPECT_EQ(windows.window(), nullptr);
    };
    end(0);
    open();
    end(0);
    EXPECT_EQ(closed, 1);
    open();
    model().exportMovie();
    end(60);
    EXPECT_EQ(closed, 2);
    EXPECT_TRUE(exported) << "it had the time to complete";
    for (const double patience : {0.0, 0.1}) {
        makeEndless();
        open();
        model().exportMovie();
        EXPECT_TRUE(windows.isExporting());
        end(patience);
        EXPECT_FALSE(exported);
    }
    EXPECT_EQ(closed, 4);
}

TEST_F(PreviewDesktopTest, AFailedExportIsSaidInAWindowOverTheOthers) {
    // A file stands where the exports folder belongs.
    const auto exports = Paths::exportsFolder();
    std::filesystem::remove_all(exports);
    std::filesystem::create_directories(exports.parent_path());
    { std::ofstream(exports) << "not a folder"; }
    open();
    model().exportMovie();
    ASSERT_TRUE(eventually([&] { return alerts->window() != nullptr; }));
    const QSize size = alerts->window()->size();
    ASSERT_TRUE(QTest::qWaitForWindowActive(alerts->window()));
    EXPECT_EQ(alerts->window()->size(), size) << "it opens with the height of its text";
    savePicture("alert");
    EXPECT_FALSE(model().exporting());

    const bool wasRipples = model().ripples();
    input.click(at("ripples", 0.95));  // not to be reached while the alert waits
    // The window manager takes the focus to the preview and back; a press in between is cancelled.
    EXPECT_TRUE(platform::eventually([&] { return alerts->window() == nullptr; },
                                     [&] {
                                         input.click(alerts->window()->mapToGlobal(
                                             QPoint(size.width() - 20 - 42, size.height() - 20 - 13)));
                                         QTest::qWait(500);
                                     }));
    EXPECT_EQ(model().ripples(), wasRipples);
    std::filesystem::remove(exports);
}

TEST_F(PreviewDesktopTest, AlertsComeOneAfterTheOtherAndAnswerTheKeyboard) {
    std::vector<std::string> answers;
    const auto ask = [&](const char* name) {
        alerts->present({QString::fromLatin1(name), "What it is about.", {"Open", "Cancel"}},
                        [&answers, name](int button) { answers.push_back(name + std::to_string(button)); });
    };
    const auto shown = [&](std::size_t answered) {
        return eventually(
            [&] { return answers.size() == answered && alerts->window() && alerts->window()->isActive(); });
    };
    ask("A");
    ask("B");
    EXPECT_TRUE(answers.empty()) << "never at once";
    ASSERT_TRUE(shown(0));
    input.key(returnKey);
    ASSERT_TRUE(shown(1));
    input.key(escape);
    ASSERT_TRUE(eventually([&] { return answers.size() == 2; }));
    ask("C");
    ASSERT_TRUE(shown(2));
    alerts->window()->close();
    ASSERT_TRUE(eventually([&] { return answers.size() == 3; }));
    EXPECT_EQ(answers, (std::vector<std::string>{"A0", "B1", "C1"}));
}

}  // namespace
}  // namespace cobaltreel
