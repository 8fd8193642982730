// Gallery FOLDER: draws every control in every state, in both languages, and writes one picture per control
// and language ("MacSwitch-he.png"). The user's settings stay untouched.
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
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
    const char* name;  // in Boards.qml
};

const Board boards[]{
    {"MacSwitch", "switches"},    {"MacSlider", "sliders"},
    {"MacSegmented", "segments"}, {"MacDropdown", "dropdowns"},
    {"MacDropdown-open", "menu"}, {"MacToggleRow", "rows"},
    {"MacProgressBar", "bars"},   {"MacButton", "buttons"},
    {"Icons", "icons"},           {"Tip", "tips"},
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

QImage draw(const Board& board) {
    AppWindow window(&AppWindows::engine(), nullptr);
    AppWindows::setLocalizedContent(
        window, View::ofModule("Cobaltreel.Gallery", "Boards",
                               {{"settings", QVariant::fromValue(&AppWindows::settings())},
                                {"shown", QString::fromLatin1(board.name)}}));
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
