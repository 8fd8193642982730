#pragma once

#include "CobaltreelCore/Models.hpp"

#include <QImage>
#include <QPoint>
#include <QRasterWindow>

namespace cobaltreel {

/// The window in which the camera's picture floats: above all others on every desktop, without frame or
/// focus, dragged by its body. What is not drawn is transparent and lets clicks through. Where it would cover
/// our panel or an alert it gives way, so that what is being set stays within reach. Main thread.
class BubbleWindow final : public QRasterWindow {
  public:
    /// `blended`: a compositing manager blends the window with what is below it. Without one it is cut to
    /// its outline.
    BubbleWindow(CameraStyle style, bool blended);

    /// `frame` in points.
    void place(const QRect& frame);
    /// Premultiplied; shown as large as fits into the window, in its middle.
    void setPicture(const QImage& picture);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    void cutOut();
    QRegion outline() const;
    QRegion coveredByOurs() const;
    QRectF fitted() const;

    CameraStyle style_;
    bool blended_;
    QImage picture_;  // premultiplied when blended, straight otherwise
    QPoint grip_;     // where the pointer holds the window, from its top left
};

}  // namespace cobaltreel
