#include "Cobaltreel/UI/PreviewWindow/PictureView.hpp"

#include <QQuickWindow>
#include <QSGImageNode>
#include <cmath>
#include <memory>

namespace cobaltreel {

PictureView::PictureView(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void PictureView::setSource(PictureSource* source) {
    if (source == source_) return;
    if (source_) source_->disconnect(this);
    source_ = source;
    if (source_) connect(source_, &PictureSource::pictureChanged, this, &PictureView::takePicture);
    requestSize();
    takePicture();
    Q_EMIT sourceChanged();
}

void PictureView::takePicture() {
    const bool hadPicture = hasPicture();
    picture_ = source_ ? source_->picture() : QImage();
    isNew_ = true;
    if (hadPicture != hasPicture()) Q_EMIT hasPictureChanged();
    update();
}

void PictureView::requestSize() {
    if (!source_ || !window() || size().isEmpty()) return;
    source_->setWantedSize((size() * window()->effectiveDevicePixelRatio()).toSize());
}

void PictureView::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size()) requestSize();
    update();
}

void PictureView::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) requestSize();
}

QSGNode* PictureView::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    std::unique_ptr<QSGImageNode> image(static_cast<QSGImageNode*>(node));
    if (picture_.isNull() || size().isEmpty()) return nullptr;
    if (!image) {
        image.reset(window()->createImageNode());
        image->setOwnsTexture(true);
        image->setFiltering(QSGTexture::Linear);
        isNew_ = true;
    }
    if (isNew_) {
        const auto opaque =
            picture_.hasAlphaChannel() ? QQuickWindow::CreateTextureOptions() : QQuickWindow::TextureIsOpaque;
        image->setTexture(window()->createTextureFromImage(picture_, opaque));
        isNew_ = false;
        ++drawn_;
    }
    // On whole pixels where the size allows it, so that a picture of the right size is not resampled.
    const QSizeF shown = QSizeF(picture_.size()).scaled(size(), Qt::KeepAspectRatio);
    const double density = window()->effectiveDevicePixelRatio();
    const auto whole = [density](double points) { return std::round(points * density) / density; };
    image->setRect(QRectF(whole((width() - shown.width()) / 2), whole((height() - shown.height()) / 2),
                          whole(shown.width()), whole(shown.height())));
    return image.release();
}

}  // namespace cobaltreel
