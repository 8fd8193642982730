#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"

namespace cobaltreel {

PlayerPictures::PlayerPictures(platform::Player& player, QObject* parent)
    : PictureSource(parent), player_(player) {
    pictures_ = player_.observePictures([this] { Q_EMIT pictureChanged(); });
}

QImage PlayerPictures::picture() const { return imageOver(player_.picture(), QImage::Format_RGB32); }

void PlayerPictures::setWantedSize(QSize pixels) {
    if (!pixels.isEmpty()) player_.setPictureSize(pixels.width(), pixels.height());
}

}  // namespace cobaltreel
