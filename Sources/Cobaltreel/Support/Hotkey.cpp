#include "Cobaltreel/Support/Hotkey.hpp"

#include "Platform/Foundation/PlatformError.hpp"

namespace cobaltreel {

bool HotkeyManager::registerChord() {
    if (!keys_) return false;
    if (hotKey_) return true;
    try {
        hotKey_ = keys_->grabChord(wanted_, [this] {
            if (onPress) onPress();
        });
        return true;
    } catch (const platform::PlatformError&) {
        return false;
    }
}

}  // namespace cobaltreel
