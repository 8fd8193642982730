#pragma once

namespace cobaltreel {

/// Settles how windows are drawn, before the first one exists: by the graphics processor, or by Qt's own
/// software renderer on machines without a usable one (where starting a window would end the program, or
/// emulate a graphics processor slowly). The environment's QT_QUICK_BACKEND overrules it.
void chooseRendering();

}  // namespace cobaltreel
