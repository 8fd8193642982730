#pragma once

#include <QColor>
#include <QPainterPath>
#include <QQuickPaintedItem>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// A filled rectangle with continuous corners: their curvature rises and falls smoothly instead of
/// jumping from the straight side into a circular arc.
class SmoothRectangle : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY radiusChanged FINAL)

  public:
    explicit SmoothRectangle(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    QColor color() const { return color_; }
    void setColor(const QColor& color);
    qreal radius() const { return radius_; }
    void setRadius(qreal radius);
    void paint(QPainter* painter) override;

    /// The outline; a radius too large for the rectangle is cut down to what fits.
    static QPainterPath outline(const QRectF& rectangle, qreal radius);

  Q_SIGNALS:
    void colorChanged();
    void radiusChanged();

  private:
    QColor color_ = Qt::white;
    qreal radius_ = 0;
};

}  // namespace cobaltreel
