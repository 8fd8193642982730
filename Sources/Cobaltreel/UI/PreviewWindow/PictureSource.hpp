#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Media/Player.hpp"

#include <QImage>
#include <QObject>
#include <QSize>
#include <memory>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// Where a view takes moving pictures from. Main thread.
class PictureSource : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("comes from the window's model")

  public:
    using QObject::QObject;

    /// The picture now; null before the first.
    virtual QImage picture() const = 0;
    /// The largest size, in pixels, in which pictures are of use.
    virtual void setWantedSize(QSize pixels) = 0;

  Q_SIGNALS:
    void pictureChanged();
};

/// What a player shows. The player must outlive it.
class PlayerPictures final : public PictureSource {
  public:
    explicit PlayerPictures(platform::Player& player, QObject* parent = nullptr);

    QImage picture() const override;
    void setWantedSize(QSize pixels) override;

  private:
    platform::Player& player_;
    std::unique_ptr<platform::Observation> pictures_;
};

}  // namespace cobaltreel
