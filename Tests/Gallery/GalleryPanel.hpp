#pragma once

#include <memory>

namespace cobaltreel {

class PopoverModel;

/// A panel's model over a coordinator among fake services: two displays, a camera, a microphone that
/// hears something.
class GalleryPanel {
  public:
    GalleryPanel();
    ~GalleryPanel();
    GalleryPanel(const GalleryPanel&) = delete;
    GalleryPanel& operator=(const GalleryPanel&) = delete;

    PopoverModel& model();

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace cobaltreel
