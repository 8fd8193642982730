#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"

namespace cobaltreel {

QImage PictureSource::imageOf(const platform::ConstPixelBufferRef& buffer, bool opaque) {
    if (!buffer) return {};
    const platform::Plane& plane = buffer->plane();
    auto* kept = new platform::ConstPixelBufferRef(buffer);
    return QImage(
        static_cast<const uchar*>(plane.data), buffer->width(), buffer->height(), plane.stride,
        opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied,
        [](void* reference) { delete static_cast<platform::ConstPixelBufferRef*>(reference); }, kept);
}

PlayerPictures::PlayerPictures(platform::Player& player, QObject* parent)
    : PictureSource(parent), player_(player) {
    pictures_ = player_.observePictures([this] { Q_EMIT pictureChanged(); });
}

QImage PlayerPictures::picture() const { return imageOf(player_.picture(), true); }

void PlayerPictures::setWantedSize(QSize pixels) {
    if (!pixels.isEmpty()) player_.setPictureSize(pixels.width(), pixels.height());
}

}  // namespace cobaltreel
