#include "Cobaltreel/UI/PreviewWindow/CutoutPictures.hpp"

#include "Cobaltreel/Scene/PersonCutout.hpp"
#include "Cobaltreel/UI/Windows/QtImage.hpp"

#include <exception>
#include <utility>

namespace cobaltreel {
namespace {

constexpr double interval = 0.05;

}  // namespace

/// What the queue works with.
struct CutoutPictures::Work {
    explicit Work(std::shared_ptr<platform::VisionService> vision)
        : cutout(PersonSegmenter::Quality::fast, std::move(vision)) {}

    PersonCutout cutout;

    /// Null when nobody is known to be there.
    platform::ConstPixelBufferRef cutOut(const platform::ConstPixelBufferRef& buffer) {
        try {
            return cutout.picture(buffer, buffer->width(), buffer->height());
        } catch (const std::exception&) {
            return nullptr;  // the overlay keeps what it shows
        }
    }
};

CutoutPictures::CutoutPictures(platform::Player& player, std::shared_ptr<platform::VisionService> vision,
                               std::shared_ptr<platform::MainLoop> mainLoop, QObject* parent)
    : PictureSource(parent),
      player_(player),
      mainLoop_(std::move(mainLoop)),
      work_(vision ? std::make_shared<Work>(std::move(vision)) : nullptr) {
    if (work_) timer_ = mainLoop_->scheduleRepeating(interval, [this] { tick(); });
}

CutoutPictures::~CutoutPictures() = default;

void CutoutPictures::setWantedSize(QSize pixels) {
    // A mask is found better in a picture of some size.
    if (!pixels.isEmpty()) player_.setPictureSize(2 * pixels.width(), 2 * pixels.height());
}

void CutoutPictures::tick() {
    if (busy_) return;
    const auto buffer = player_.picture();
    if (!buffer || buffer == latest_) return;
    latest_ = buffer;
    busy_ =
        queue_.async([this, buffer, work = work_, mainLoop = mainLoop_, alive = lifetime_.watch()]() mutable {
            auto person = work->cutOut(buffer);
            mainLoop->post([this, person = std::move(person), alive] {
                if (!alive) return;
                busy_ = false;
                if (!person) return;
                picture_ = imageOver(person, QImage::Format_ARGB32_Premultiplied);
                Q_EMIT pictureChanged();
            });
        });
}

}  // namespace cobaltreel
