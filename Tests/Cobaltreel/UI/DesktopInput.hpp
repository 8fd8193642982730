#pragma once

#include "Cobaltreel/Support/AppSettings.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/Xcb/XcbKeyboard.hpp"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QScreen>
#include <QTest>

namespace cobaltreel {

/// The keyboard and the pointer of the virtual desktop.
class DesktopInput {
  public:
    void key(xcb_keysym_t keysym) {
        const xcb_keycode_t code = platform::keycodesOf(connection_, keysym).at(0);
        platform::test::fakeInput(connection_, XCB_KEY_PRESS, code);
        platform::test::fakeInput(connection_, XCB_KEY_RELEASE, code);
    }
    void move(QPoint position) { platform::test::movePointer(connection_, position.x(), position.y()); }
    void button(bool down) {
        platform::test::fakeInput(connection_, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, 1);
    }
    void click(QPoint position) {
        move(position);
        button(true);
        button(false);
    }
    void drag(QPoint from, QPoint to) {
        move(from);
        button(true);
        for (int step = 1; step <= 8; ++step) move(from + (to - from) * step / 8);
        button(false);
    }
    platform::XcbConnection& connection() { return connection_; }

  private:
    platform::XcbConnection connection_;
};

/// The toolkit counts from the screen's own corner.
inline QImage screenPart(const QRect& part) {
    QScreen* const screen = QGuiApplication::primaryScreen();
    const QRect own = part.translated(-screen->geometry().topLeft());
    return screen->grabWindow(0, own.x(), own.y(), own.width(), own.height()).toImage();
}
/// For whoever looks at the windows: COBALTREEL_PICTURES names a folder.
inline void savePicture(const QString& name) {
    const QByteArray folder = qgetenv("COBALTREEL_PICTURES");
    if (folder.isEmpty()) return;
    QTest::qWait(300);  // what moves or fades has come to rest
    screenPart(QGuiApplication::primaryScreen()->geometry())
        .save(QString::fromLocal8Bit(folder + '/' + qgetenv("COBALTREEL_RIG_WM")) + '-' + name + '-' +
              QLatin1String(rawValue(AppSettings::shared().language()).data()) + ".png");
}
inline QRgb screenPixel(QPoint position) { return screenPart(QRect(position, QSize(1, 1))).pixel(0, 0); }

}  // namespace cobaltreel
