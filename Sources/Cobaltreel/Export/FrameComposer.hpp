#pragma once

#include "Cobaltreel/Export/ExportOptions.hpp"
#include "Cobaltreel/Scene/Scene.hpp"
#include "CobaltreelCore/Models.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <vector>

namespace cobaltreel {

/// Says what each output frame shows: the screen along the zoom plan, the clicks under way, the camera. Pure
/// computation.
class FrameComposer {
  public:
    struct Plan {
        ExportOptions options;
        SessionMeta meta;
        std::vector<CameraMove> zoomMoves;  ///< output time, frame pixels
        std::vector<Click> preparedClicks;  ///< output time, frame pixels
        int wOut = 0;                       ///< output pixels
        int hOut = 0;
    };

    explicit FrameComposer(Plan plan);

    SceneLayout layout() const;

    /// The frame at output time `t`. `screen` is there; `camera` may be null.
    Scene compose(const platform::ConstPixelBufferRef& screen, const platform::ConstPixelBufferRef& camera,
                  double t) const;

    /// The camera's view of the screen at output time `t`.
    CameraState zoomState(double t) const;

  private:
    std::vector<Ripple> ripplesAt(double t, const platform::Rect& crop) const;

    Plan plan_;
};

}  // namespace cobaltreel
