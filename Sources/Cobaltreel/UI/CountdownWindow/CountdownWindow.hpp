#pragma once

#include "Cobaltreel/UI/CountdownWindow/Countdown.hpp"
#include "Platform/Desktop/Compositor.hpp"

#include <QRect>
#include <memory>

class QScreen;

namespace cobaltreel {

/// The overlay on a real desktop: a layer of black at 25 % over the whole main screen, above panels and
/// full-screen windows, that takes neither the keyboard nor the focus. Without a compositing manager it
/// shows a picture of the screen, taken just before, under the same layer.
struct CountdownWindow {
    CountdownWindow() = delete;

    static CountdownOverlayFactory factory(std::shared_ptr<platform::Compositor> compositor);

    /// The screen's frame; 800 × 600 at the origin without a screen.
    static QRect frame(const QScreen* mainScreen);
};

}  // namespace cobaltreel
