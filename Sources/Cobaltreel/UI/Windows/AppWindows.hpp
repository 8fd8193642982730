#pragma once

#include <QQuickView>
#include <QSize>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <functional>
#include <memory>

class QQmlEngine;
class QScreen;

namespace platform {
class WindowManager;
}

namespace cobaltreel {

class InterfaceSettings;

/// A declarative view that a window can show: its file and the values of its required properties.
struct View {
    QUrl source;
    QVariantMap properties;

    /// The view `type` of the module `module`, such as Cobaltreel.SettingsWindow.
    static View ofModule(const QString& module, const QString& type, const QVariantMap& properties = {});
};

/// A window of the application. Closing hides it; it lives as long as its owner keeps it.
class AppWindow : public QQuickView {
    Q_OBJECT

  public:
    using QQuickView::QQuickView;
    /// For windows that stay.
    void setClosesOnEscape(bool closes) { closesOnEscape_ = closes; }

    /// Asked before the user's wish to close the window is followed; empty: it may always be.
    std::function<bool()> mayClose;

  Q_SIGNALS:
    /// The user closed the window.
    void closed();

  protected:
    bool event(QEvent* event) override;
    /// Ctrl+W closes a window that has a frame, and so does Escape where nothing else has taken it.
    void keyPressEvent(QKeyEvent* event) override;

  private:
    bool closesOnEscape_ = true;
};

/// Opens the application's titled windows. Main thread.
struct AppWindows {
    AppWindows() = delete;

    /// A window of this title and content size, in points, smaller where the screen has not the room; it can
    /// be closed but not resized or minimised. Already shown, centred on the screen, in front and with the
    /// keyboard. Its content follows the interface language. The caller keeps it.
    static std::unique_ptr<AppWindow> present(const View& view, const QString& title, QSize size);

    /// Shows a window before all others, with the keyboard, as the answer to what the user just did.
    static void bringForward(QWindow& window);
    /// What panels and docks leave of a screen, in points.
    static QRect room(const QScreen& screen);
    /// Serves both; without it the toolkit does what it can.
    static void setWindowManager(std::shared_ptr<platform::WindowManager> manager);

    /// Wraps a view of a window that is shown by other means, such as the popover.
    static void setLocalizedContent(QQuickView& window, const View& view);

    /// Lays the content out in a width now rather than with its first picture, so that a window that takes
    /// its height from what it holds has it before it is shown.
    static void layOutContent(const QQuickView& window, double width);

    /// The shared settings, for views that show or change them; ends with the engine.
    static InterfaceSettings& settings();
    /// The one engine of all windows; made on first use, ends with the application object.
    static QQmlEngine& engine();
};

}  // namespace cobaltreel
