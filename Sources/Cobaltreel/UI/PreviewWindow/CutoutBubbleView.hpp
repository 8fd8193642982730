#pragma once

#include "Cobaltreel/UI/PreviewWindow/PictureView.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"

#include <memory>

namespace cobaltreel {

/// The person in the camera's pictures, cut out of the background. Works while it has a model.
class CutoutBubbleView : public cobaltreel::PictureView {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(cobaltreel::PreviewModel* model READ model WRITE setModel NOTIFY modelChanged FINAL)

  public:
    using PictureView::PictureView;

    PreviewModel* model() const { return model_; }
    void setModel(PreviewModel* model);

  Q_SIGNALS:
    void modelChanged();

  private:
    QPointer<PreviewModel> model_;
    std::unique_ptr<PictureSource> pictures_;
};

}  // namespace cobaltreel
