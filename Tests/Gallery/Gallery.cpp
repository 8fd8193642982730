// Gallery FOLDER: draws every control in every state, in both languages, and writes one picture per control
// and language ("MacSwitch-he.png"). The user's settings stay untouched.
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
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace cobaltreel {
namespace {

struct Board {
    const char* picture;
    const char* view;  // a board of Boards.qml, or a view of another module
    const char* module = nullptr;
    QSize size = {};  // where the view has none of its own
};

const Board boards[]{
    {"MacSwitch", "switches"},
    {"MacSlider", "sliders"},
    {"MacSegmented", "segments"},
    {"MacDropdown", "dropdowns"},
    {"MacDropdown-open", "menu"},
    {"MacToggleRow", "rows"},
    {"MacProgressBar", "bars"},
    {"MacButton", "buttons"},
    {"Icons", "icons"},
    {"Tip", "tips"},
    {"Panel", "PopoverView", "Cobaltreel.PopoverView"},
    {"SettingsWindow", "SettingsView", "Cobaltreel.SettingsWindow", {320, 140}},
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
    if (std::string_view(board.picture) == "Panel") {
        panel = std::make_unique<GalleryPanel>();
        properties = {{QStringLiteral("model"), QVariant::fromValue(&panel->model)}};
    }
    AppWindow window(&AppWindows::engine(), nullptr);
    if (!board.module) properties[QStringLiteral("shown")] = QString::fromLatin1(board.view);
    AppWindows::setLocalizedContent(window, View::ofModule(board.module ? board.module : "Cobaltreel.Gallery",
                                                           board.module ? board.view : "Boards", properties));
    if (window.status() != QQuickView::Ready) throw std::runtime_error("the window could not be built");
    window.resize(window.initialSize());
    window.show();
    waitUntilSettled(window);
    // Lists are laid out with the first picture.
    const QQuickItem* root = window.rootObject();
    window.resize(board.size.isEmpty() ? QSizeF(root->implicitWidth(), root->implicitHeight()).toSize()
                                       : board.size);
    waitUntilSettled(window);
    return window.grabWindow();
}

/// Whether a picture shows more than a plain ground.
bool showsSomething(const QImage& picture) {
    std::set<QRgb> colors;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) colors.insert(picture.pixel(x, y));
    return colors.size() > 10;
}

void drawAll(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    platform::UserDefaults::setStandard(std::make_shared<platform::InMemoryUserDefaults>());
    for (const Board& board : boards) {
        std::vector<QImage> pictures;
        for (const Language language : allCases<Language>) {
            AppSettings::shared().setLanguage(language);
            const auto file =
                folder / (std::string(board.picture) + "-" + std::string(rawValue(language)) + ".png");
            pictures.push_back(draw(board));
            if (!showsSomething(pictures.back())) throw std::runtime_error(file.string() + " shows nothing");
            if (!pictures.back().save(QString::fromStdString(file.string())))
                throw std::runtime_error(file.string() + " can't be written; is the folder writable?");
            std::cout << file.string() << "\n";
        }
        // Words, or which side is the leading one.
        if (pictures[0] == pictures[1] && std::string_view(board.picture).starts_with("Mac"))
            throw std::runtime_error(std::string(board.picture) + " looks the same in both languages");
    }
}

}  // namespace
}  // namespace cobaltreel

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: " << argv[0] << " FOLDER\nWrites a picture of every control in every state.\n";
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    try {
        cobaltreel::drawAll(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "gallery: " << error.what() << "\n";
        return 1;
    }
}
