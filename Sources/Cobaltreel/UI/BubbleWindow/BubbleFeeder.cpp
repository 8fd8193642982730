#include "Cobaltreel/UI/BubbleWindow/BubbleFeeder.hpp"

#include <utility>

namespace cobaltreel {

void BubbleFeeder::setTarget(Target target) {
    target_ = std::move(target);
    const std::scoped_lock lock(mutex_);
    waiting_ = {};
}

void BubbleFeeder::setSize(QSize pixels) {
    const std::scoped_lock lock(mutex_);
    size_ = pixels;
}

QSize BubbleFeeder::size() const {
    const std::scoped_lock lock(mutex_);
    return size_;
}

void BubbleFeeder::hand(QImage picture) {
    {
        const std::scoped_lock lock(mutex_);
        const bool isAnnounced = !waiting_.isNull();
        waiting_ = std::move(picture);
        if (isAnnounced) return;
    }
    mainLoop_->post([feeder = weak_from_this()] {
        if (const auto self = feeder.lock()) self->deliver();
    });
}

void BubbleFeeder::deliver() {
    QImage picture;
    {
        const std::scoped_lock lock(mutex_);
        picture = std::exchange(waiting_, {});
    }
    if (target_ && !picture.isNull()) target_(picture);
}

}  // namespace cobaltreel
