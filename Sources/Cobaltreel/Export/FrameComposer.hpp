#pragma once

#include "Cobaltreel/Export/ExportOptions.hpp"
#include "CobaltreelCore/Models.hpp"
#include "CobaltreelCore/PersonSegmenter.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"
#include "Platform/Imaging/Image.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace cobaltreel {

/// Builds one output frame as an image recipe: the screen cropped along the zoom plan, the click
/// ripples, the camera as a round bubble or as the person cut out. The composition's origin is the
/// bottom left of the output, y up, in output pixels. Decoration degrades instead of failing.
/// Used on one thread.
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
    struct RipplePoint {
        double x, y;  ///< output pixels, y up
        double p;     ///< progress, 0 at the click to 1
    };

    /// `vision` serves the cut-out; may be null, and then the round bubble stands in.
    FrameComposer(Plan plan, std::shared_ptr<platform::VisionService> vision);

    /// Draws mask, ring and shadow of the round bubble, `diameter` pixels across; below 5 there is no
    /// bubble.
    void makeBubbleStatics(int diameter);

    /// Height of the camera overlay in output pixels: the bubble's diameter, the cut-out's height.
    int overlayHeight() const;

    /// The frame at output time `t`. `screen` is there; `camera` may be null. The very same recipe comes
    /// back when nothing that it shows has changed since the last call, so that the caller can use the
    /// rendered frame again.
    platform::Image compose(const platform::ConstPixelBufferRef& screen,
                            const platform::ConstPixelBufferRef& camera, double t);

    /// The camera's view of the screen at output time `t`.
    CameraState zoomState(double t) const;

    /// Rings of the clicks under way; absent for no points. Extent (0, 0, wOut, hOut).
    static std::optional<platform::Image> rippleOverlay(std::span<const RipplePoint> points, int wOut,
                                                        int hOut);

    platform::Image composeBubble(const platform::ConstPixelBufferRef& camBuf, const platform::Image& over,
                                  int wOut, int hOut) const;
    platform::Image composeCutout(const platform::ConstPixelBufferRef& camBuf, const platform::Image& over,
                                  int wOut, int hOut);

    const std::optional<platform::Image>& bubbleMask() const { return bubbleMask_; }

  private:
    struct Corner {
        double x, y;
    };
    /// All that a frame without ripples depends on.
    struct Shown {
        platform::ConstPixelBufferRef screen, camera;
        CameraState state;
        platform::Image image;
    };
    platform::Image screenLayer(const platform::ConstPixelBufferRef& screen, const CameraState& state) const;
    std::vector<RipplePoint> ripplesAt(double t, const CameraState& state) const;
    Corner overlayOrigin(double width, double height, int wOut, int hOut) const;
    PersonSegmenter& segmenter();

    Plan plan_;
    std::shared_ptr<platform::VisionService> vision_;
    std::optional<PersonSegmenter> segmenter_;
    std::optional<platform::Image> bubbleMask_, bubbleRing_, bubbleShadow_;
    std::optional<Shown> shown_;
    platform::ConstPixelBufferRef maskedCamera_;
};

}  // namespace cobaltreel
