#pragma once

#include "Cobaltreel/Support/AppSettings.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QScreen>
#include <QTest>

#include <gtest/gtest.h>
#include <xcb/xtest.h>

namespace cobaltreel {

/// The keyboard and the pointer of the virtual desktop.
class DesktopInput {
  public:
    void key(xcb_keysym_t keysym) {
        const xcb_setup_t* setup = xcb_get_setup(connection_.get());
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        const auto mapping =
            connection_.reply(xcb_get_keyboard_mapping_reply,
                              xcb_get_keyboard_mapping(connection_.get(), setup->min_keycode, count));
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
        for (int i = 0; i < count; ++i) {
            if (keysyms[i * mapping->keysyms_per_keycode] != keysym) continue;
            const auto code = static_cast<std::uint8_t>(setup->min_keycode + i);
            send(XCB_KEY_PRESS, code);
            send(XCB_KEY_RELEASE, code);
            return;
        }
        ADD_FAILURE() << "no key for " << keysym;
    }
    void move(QPoint position) {
        xcb_test_fake_input(connection_.get(), XCB_MOTION_NOTIFY, 0, 0, connection_.root(),
                            static_cast<std::int16_t>(position.x()), static_cast<std::int16_t>(position.y()),
                            0);
        xcb_flush(connection_.get());
    }
    void button(bool down) { send(down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, 1); }
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
    void send(std::uint8_t type, std::uint8_t detail) {
        xcb_test_fake_input(connection_.get(), type, detail, 0, XCB_NONE, 0, 0, 0);
        xcb_flush(connection_.get());
    }

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
