#include "Cobaltreel/Capture/MicrophoneMeter.hpp"

#include <utility>

namespace cobaltreel {
namespace {

constexpr double interval = 0.05;  // seconds
/// Half a second; runs of sound are shorter.
constexpr int ticksUntilUnheard = 10;

}  // namespace

MicrophoneMeter::MicrophoneMeter(std::shared_ptr<RecordingEngine> engine, std::function<bool()> isAlive,
                                 std::function<void(float)> measured)
    : engine_(std::move(engine)), isAlive_(std::move(isAlive)), measured_(std::move(measured)) {}

void MicrophoneMeter::start() {
    timer_ = engine_->services.mainLoop->scheduleRepeating(interval, [this] { measure(); });
}

void MicrophoneMeter::measure() {
    // Nothing is left running once a recording has ended with its panel closed.
    if (!isAlive_()) return stop();
    // A meter that stands still would look alive.
    const std::uint64_t heard = engine_->cameraMic.soundsSeen();
    unheardTicks_ = std::exchange(heard_, heard) == heard ? unheardTicks_ + 1 : 0;
    measured_(unheardTicks_ < ticksUntilUnheard ? engine_->cameraMic.currentMicLevel() : 0.0F);
}

}  // namespace cobaltreel
