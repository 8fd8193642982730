#pragma once

#include "Cobaltreel/Scene/RoundBubble.hpp"
#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"

#include <QPointer>
#include <QQuickPaintedItem>
#include <optional>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The camera in a circle with a ring; the picture fills it, what does not fit is cut off.
class CircularBubbleView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(cobaltreel::PictureSource* source READ source WRITE setSource NOTIFY sourceChanged FINAL)

  public:
    using QQuickPaintedItem::QQuickPaintedItem;

    PictureSource* source() const { return source_; }
    void setSource(PictureSource* source);
    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void sourceChanged();

  protected:
    void geometryChange(const QRectF& now, const QRectF& before) override;

  private:
    void requestSize();

    QPointer<PictureSource> source_;
    std::optional<RoundBubble> bubble_;
    platform::Resampler resampler_;
};

}  // namespace cobaltreel
