#pragma once

#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"

#include <QPointer>
#include <QQuickItem>
#include <cstdint>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// Shows a source's pictures whole, in their own shape, in the middle of the item.
class PictureView : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(cobaltreel::PictureSource* source READ source WRITE setSource NOTIFY sourceChanged FINAL)
    /// Whether there is a picture to see.
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY hasPictureChanged FINAL)

  public:
    explicit PictureView(QQuickItem* parent = nullptr);

    PictureSource* source() const { return source_; }
    void setSource(PictureSource* source);
    bool hasPicture() const { return !picture_.isNull(); }
    /// Pictures handed to the scene so far; several new ones between two frames of the window count once.
    std::int64_t drawnCount() const { return drawn_; }

  Q_SIGNALS:
    void sourceChanged();
    void hasPictureChanged();

  protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

  private:
    void takePicture();
    void requestSize();

    QPointer<PictureSource> source_;
    QImage picture_;
    bool isNew_ = false;
    std::int64_t drawn_ = 0;
};

}  // namespace cobaltreel
