#include "Cobaltreel/UI/PreviewWindow/CutoutBubbleView.hpp"

namespace cobaltreel {

void CutoutBubbleView::setModel(PreviewModel* model) {
    if (model == model_) return;
    setSource(nullptr);
    model_ = model;
    pictures_ = model_ ? model_->makeCutoutPictures() : nullptr;
    setSource(pictures_.get());
    Q_EMIT modelChanged();
}

}  // namespace cobaltreel
