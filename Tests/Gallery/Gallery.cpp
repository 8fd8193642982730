#include "Gallery/Gallery.hpp"

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"
#include "Fakes/FakeHost.hpp"
#include "Rig/QtEventually.hpp"

#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace cobaltreel {
namespace {

struct Board {
    const char* picture;
    const char* type;
    bool showsPanel = false;
};

constexpr Board boards[]{
    {"MacSwitch", "SwitchBoard"},
    {"MacSlider", "SliderBoard"},
    {"MacSegmented", "SegmentedBoard"},
    {"MacDropdown", "DropdownBoard"},
    {"MacDropdown-open", "MenuBoard"},
    {"MacToggleRow", "ToggleRowBoard"},
    {"MacProgressBar", "ProgressBarBoard"},
    {"MacButton", "ButtonBoard"},
    {"Icons", "IconBoard"},
    {"Tip", "TipBoard"},
    {"Panel", "PanelBoard", true},
    {"SettingsWindow", "SettingsBoard"},
    {"Countdown", "CountdownBoard"},
};

/// Boards that open menus or tooltips say when they are ready to be drawn.
void waitUntilSettled(const QQuickView& window) {
    const auto isSettled = [&] {
        const auto* board = window.rootObject()->property("contentItem").value<QQuickItem*>();
        if (!board) throw std::runtime_error("the board could not be built");
        const QVariant settled = board->property("settled");
        return window.isExposed() && (!settled.isValid() || settled.toBool());
    };
    if (!eventually(isSettled)) throw std::runtime_error("the board does not settle");
}

/// A panel's model on the fake host: a microphone that hears something.
class GalleryPanel : FakeHost {
  public:
    GalleryPanel() {
        camera.name = "HD Webcam C920";
        otherMic.name = "Studio Microphone";
        capture->fakeDevices = {{camera}, {mic, otherMic}, otherMic};
        coordinator_.setSystemAudioEnabled(true);
        model.appear();
        const auto& sessions = capture->sessions;
        if (!FakeHost::eventually([&] { return !sessions.empty() && sessions.back()->isRunning(); }))
            throw std::runtime_error("the panel's model does not settle");
        sessions.back()->deliverSound(time->now(), 0.05F);
        time->advance(0.06);
    }

  private:
    RecordingCoordinator coordinator_{recordingServices()};

  public:
    PopoverModel model{coordinator_, time, time};
};

QImage draw(const Board& board) {
    QVariantMap properties{{QStringLiteral("settings"), QVariant::fromValue(&AppWindows::settings())}};
    std::unique_ptr<GalleryPanel> panel;
    if (board.showsPanel) {
        panel = std::make_unique<GalleryPanel>();
        properties.insert(QStringLiteral("model"), QVariant::fromValue(&panel->model));
    }
    AppWindow window(&AppWindows::engine(), nullptr);
    AppWindows::setLocalizedContent(window, View::ofModule(QStringLiteral("Cobaltreel.Gallery"),
                                                           QString::fromLatin1(board.type), properties));
    if (window.status() != QQuickView::Ready) throw std::runtime_error("the window could not be built");
    window.resize(window.initialSize());
    window.show();
    waitUntilSettled(window);
    // Lists are laid out with the first picture.
    const QQuickItem* root = window.rootObject();
    window.resize(QSizeF(root->implicitWidth(), root->implicitHeight()).toSize());
    waitUntilSettled(window);
    return window.grabWindow();
}

}  // namespace

int runGallery(const GalleryOptions& options) {
    try {
        std::filesystem::create_directories(options.directory);
        platform::UserDefaults::setStandard(std::make_shared<platform::InMemoryUserDefaults>());
        for (const Language language : allCases<Language>) {
            AppSettings::shared().setLanguage(language);
            for (const Board& board : boards) {
                const auto name = std::string(board.picture) + "-" + std::string(rawValue(language)) + ".png";
                const auto file = options.directory / name;
                try {
                    if (!draw(board).save(QString::fromStdString(file.string())))
                        throw std::runtime_error("the file can't be written; is the folder writable?");
                } catch (const std::exception& error) {
                    throw std::runtime_error(file.string() + ": " + error.what());
                }
                std::cout << file.string() << "\n";
            }
        }
    } catch (const std::exception& error) {
        std::cerr << "gallery: " << error.what() << "\n";
        return 1;
    }
    return 0;
}

}  // namespace cobaltreel
