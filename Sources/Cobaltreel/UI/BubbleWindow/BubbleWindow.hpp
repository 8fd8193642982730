#pragma once

#include "CobaltreelCore/Models.hpp"

#include <QImage>
#include <QPoint>
#include <QRasterWindow>
#include <functional>

namespace cobaltreel {

/// The window in which the camera's picture floats: above all others on every desktop, without frame or
/// focus, dragged by its body. What is not drawn is transparent and lets clicks through. Main thread.
class BubbleWindow final : public QRasterWindow {
  public:
    /// `blended`: a compositing manager blends the window with what is below it. Without one it is cut to
    /// its outline.
    BubbleWindow(CameraStyle style, bool blended);

    /// `frame` in points.
    void place(const QRect& frame);
    /// Premultiplied; shown as large as fits into the window, in its middle.
    void setPicture(const QImage& picture);
    /// Called once, when the window has come onto the screen.
    std::function<void()> exposed;

  protected:
    void exposeEvent(QExposeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    QRegion outline() const;
    QRectF fitted() const;

    CameraStyle style_;
    bool blended_;
    QImage picture_;  // premultiplied when blended, straight otherwise
    bool wasExposed_ = false;
    QPoint grip_;  // where the pointer holds the window, from its top left
};

}  // namespace cobaltreel
