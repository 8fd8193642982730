#pragma once

namespace platform {

/// The desktop's compositing manager, which blends translucent windows with what is below them.
class Compositor {
  public:
    virtual ~Compositor() = default;
    /// Whether one runs now. Without one a translucent window shows black. Main thread, one round trip.
    virtual bool isRunning() = 0;
};

}  // namespace platform
