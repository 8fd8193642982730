#include "Cobaltreel/UI/PopoverView/VersionEgg.hpp"

#include <utility>

namespace cobaltreel {
namespace {

constexpr double tapsWithin = 1;  // second
constexpr std::size_t tapsNeeded = 3;
constexpr double shownFor = 3;  // seconds

}  // namespace

VersionEgg::VersionEgg(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
                       QObject* parent)
    : QObject(parent), clock_(std::move(clock)), mainLoop_(std::move(mainLoop)) {}

void VersionEgg::setShowEgg(bool shown) {
    if (shown == showEgg_) return;
    showEgg_ = shown;
    Q_EMIT showEggChanged();
}

void VersionEgg::tap() {
    const double now = clock_->now();
    std::erase_if(taps_, [now](double earlier) { return now - earlier >= tapsWithin; });
    taps_.push_back(now);
    if (taps_.size() < tapsNeeded) return;
    taps_.clear();
    setShowEgg(true);
    std::erase_if(hidings_, [now](const Hiding& hiding) { return hiding.dueAt < now; });
    hidings_.push_back({now + shownFor, mainLoop_->scheduleOnce(shownFor, [this] { setShowEgg(false); })});
}

}  // namespace cobaltreel
