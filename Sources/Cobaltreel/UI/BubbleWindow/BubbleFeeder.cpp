#include "Cobaltreel/UI/BubbleWindow/BubbleFeeder.hpp"

#include <utility>

namespace cobaltreel {

void BubbleFeeder::setTarget(Target target) {
    outlet_->target = std::move(target);
    const std::scoped_lock lock(outlet_->mutex);
    outlet_->waiting = {};
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
        const std::scoped_lock lock(outlet_->mutex);
        const bool isAnnounced = !outlet_->waiting.isNull();
        outlet_->waiting = std::move(picture);
        if (isAnnounced) return;
    }
    mainLoop_->post([waiting = std::weak_ptr(outlet_)] {
        if (const auto outlet = waiting.lock()) outlet->deliver();
    });
}

void BubbleFeeder::Outlet::deliver() {
    QImage picture;
    {
        const std::scoped_lock lock(mutex);
        picture = std::exchange(waiting, {});
    }
    if (target && !picture.isNull()) target(picture);
}

}  // namespace cobaltreel
