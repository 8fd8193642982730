#pragma once

#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Rig/QtEventually.hpp"

#include <QKeyEvent>
#include <QPainter>
#include <QRasterWindow>
#include <vector>

#include <gtest/gtest.h>

namespace cobaltreel {

/// A window of some application on the left of the virtual desktop, or over all of it: of one color, active,
/// on screen once it is constructed. Notes the keys and clicks that it gets.
class ApplicationWindow final : public QRasterWindow {
  public:
    explicit ApplicationWindow(bool fullScreen) {
        setGeometry(20, 100, 700, 600);
        if (fullScreen)
            showFullScreen();
        else
            show();
        requestActivate();
        EXPECT_TRUE(eventually([this] { return isActive(); }));
        EXPECT_TRUE(eventually([] { return screenPixel({500, 500}) == color; }));
    }
    static constexpr QRgb color = qRgb(90, 140, 90);
    std::vector<int> keys;
    int releases = 0;

  protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect({0, 0}, size()), QColor(color)); }
    void keyPressEvent(QKeyEvent* event) override { keys.push_back(event->key()); }
    void mouseReleaseEvent(QMouseEvent*) override { ++releases; }
};

}  // namespace cobaltreel
