#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"
#include "Cobaltreel/UI/Windows/RenderingChoice.hpp"
#include "Cobaltreel/UI/Windows/ScreenRoom.hpp"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickItem>
#include <QScreen>
#include <algorithm>
#include <cstdint>
#include <utility>

namespace cobaltreel {
namespace {

/// What a window manager puts around a window, at most; it tells only once the window is there.
constexpr QSize frameRoom(16, 48);

/// From the innermost items outwards, as the heights depend.
void layOut(QQuickItem& item) {
    for (QQuickItem* child : item.childItems()) layOut(*child);
    item.ensurePolished();
}

/// A window of the same size that stands there already would be hidden.
QPoint besideOthers(QPoint place, const QWindow& window) {
    constexpr int offset = 28;
    const auto isTaken = [&](const QWindow* other) {
        return other != &window && other->isVisible() && other->size() == window.size() &&
               (other->position() - place).manhattanLength() < 2 * offset;
    };
    for (int step = 0; step < 8; ++step) {
        if (std::ranges::none_of(QGuiApplication::topLevelWindows(), isTaken)) break;
        place += QPoint(offset, offset);
    }
    return place;
}

bool isWholeOnAScreen(const QRect& frame) {
    return std::ranges::any_of(QGuiApplication::screens(),
                               [&](const QScreen* screen) { return screen->geometry().contains(frame); });
}

/// Once the window is on the screen, when its manager knows it: a request that came before was lost.
class ActivateOnceShown final : public QObject {
  public:
    ActivateOnceShown(QWindow& window, std::shared_ptr<platform::WindowManager> manager)
        : QObject(&window), window_(window), place_(window.geometry()), manager_(std::move(manager)) {
        window.installEventFilter(this);
    }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Expose || !window_.isExposed())
            return QObject::eventFilter(watched, event);
        // Tiling window managers take it to the display that was used last, however small that is.
        if (isWholeOnAScreen(place_) && !isWholeOnAScreen(window_.geometry()))
            window_.setPosition(place_.topLeft());
        const auto number = static_cast<std::uint32_t>(window_.winId());
        if (!window_.isActive()) manager_->activate(number);
        if (window_.type() == Qt::Tool) manager_->skipTaskBar(number);
        window_.removeEventFilter(this);
        deleteLater();
        return false;
    }

  private:
    QWindow& window_;
    QRect place_;
    std::shared_ptr<platform::WindowManager> manager_;
};

std::shared_ptr<platform::WindowManager>& windowManager() {
    static std::shared_ptr<platform::WindowManager> manager;
    return manager;
}

}  // namespace

View View::ofModule(const QString& module, const QString& type, const QVariantMap& properties) {
    QString folder = module;
    folder.replace(QLatin1Char('.'), QLatin1Char('/'));
    return {QUrl(QStringLiteral("qrc:/qt-project.org/imports/%1/%2.qml").arg(folder, type)), properties};
}

bool AppWindow::event(QEvent* event) {
    const bool closing = event->type() == QEvent::Close;
    if (closing && mayClose && !mayClose()) {
        event->ignore();
        return true;
    }
    const bool handled = QQuickView::event(event);
    if (closing && event->isAccepted()) Q_EMIT closed();
    return handled;
}

void AppWindow::keyPressEvent(QKeyEvent* event) {
    QQuickView::keyPressEvent(event);
    if (flags() & Qt::FramelessWindowHint) return;
    const bool closes = event->matches(QKeySequence::Close) ||
                        (!event->isAccepted() && closesOnEscape_ && event->key() == Qt::Key_Escape);
    if (closes) close();
}

QQmlEngine& AppWindows::engine() {
    static QPointer<QQmlEngine> engine;
    if (!engine) {
        chooseRendering();
        engine = new QQmlEngine(qApp);
    }
    return *engine;
}

InterfaceSettings& AppWindows::settings() {
    static QPointer<InterfaceSettings> settings;
    if (!settings) settings = new InterfaceSettings(AppSettings::shared(), &engine());
    return *settings;
}

void AppWindows::setLocalizedContent(QQuickView& window, const View& view) {
    window.setResizeMode(QQuickView::SizeRootObjectToView);
    window.setInitialProperties({{QStringLiteral("settings"), QVariant::fromValue(&settings())},
                                 {QStringLiteral("content"), view.source},
                                 {QStringLiteral("contentProperties"), view.properties}});
    window.setSource(
        View::ofModule(QStringLiteral("Cobaltreel.Windows"), QStringLiteral("LocalizedRoot")).source);
}

void AppWindows::layOutContent(const QQuickView& window, double width) {
    QQuickItem* const root = window.rootObject();
    if (!root) return;
    root->setWidth(width);
    layOut(*root);
}

void AppWindows::setWindowManager(std::shared_ptr<platform::WindowManager> manager) {
    windowManager() = std::move(manager);
}

QRect AppWindows::room(const QScreen& screen) { return roomOf(screen, windowManager().get()); }

void AppWindows::bringForward(QWindow& window) {
    window.show();
    window.raise();
    const std::shared_ptr<platform::WindowManager> manager = windowManager();
    if (!manager || QGuiApplication::platformName() != QLatin1String("xcb")) {
        window.requestActivate();
        return;
    }
    const auto number = static_cast<std::uint32_t>(window.winId());
    manager->preferDark(number);
    manager->activate(number);
    if (!window.isExposed()) new ActivateOnceShown(window, manager);
}

std::unique_ptr<AppWindow> AppWindows::present(const View& view, const QString& title, QSize size) {
    auto window = std::make_unique<AppWindow>(&engine(), nullptr);
    window->setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                     Qt::WindowCloseButtonHint);
    window->setTitle(title);
    const QRect room = window->screen() ? AppWindows::room(*window->screen()) : QRect(QPoint(), size);
    const QSize fitting = window->screen() ? size.boundedTo(room.size() - frameRoom) : size;
    window->setMinimumSize(fitting);
    window->setMaximumSize(fitting);
    window->resize(fitting);
    setLocalizedContent(*window, view);
    window->setPosition(besideOthers(
        {room.x() + (room.width() - fitting.width()) / 2, room.y() + (room.height() - fitting.height()) / 2},
        *window));
    bringForward(*window);
    return window;
}

}  // namespace cobaltreel
