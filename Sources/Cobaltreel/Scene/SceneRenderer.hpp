#pragma once

#include "Cobaltreel/Scene/PersonCutout.hpp"
#include "Cobaltreel/Scene/RoundBubble.hpp"
#include "Cobaltreel/Scene/Scene.hpp"
#include "Platform/Imaging/PixelRect.hpp"

#include <memory>
#include <optional>

namespace cobaltreel {

/// Draws scenes into the planes of the output: the screen is resampled plane by plane, ripples and camera are
/// drawn as premultiplied bgra in their own rectangles and blended onto the planes. Decoration degrades
/// instead of failing. One thread at a time.
class SceneRenderer {
  public:
    /// `vision` serves the cut-out; may be null, and then the round bubble stands in.
    SceneRenderer(const SceneLayout& layout, std::shared_ptr<platform::VisionService> vision);

    /// Fills `target` (i420, of the layout's size) with the scene.
    void render(const Scene& scene, platform::PixelBuffer& target);

  private:
    void rippleOverlay(const Ripple& ripple, platform::PixelBuffer& over) const;
    void composeBubble();
    void makeBubbleStatics();
    /// False while there is no mask.
    bool composeCutout();
    /// Makes room for a camera of that size in its corner; false when nothing of it is to be seen.
    bool placeOverlay(double width, double height, double shadowRadius);

    SceneLayout layout_;
    std::optional<PersonCutout> cutout_;
    std::optional<RoundBubble> bubble_;
    platform::Resampler resampler_;

    // The camera as it was drawn last.
    platform::ConstPixelBufferRef camera_;
    std::optional<platform::PixelBuffer> overlay_;  // bgra with its shadow; none when nothing is to be seen
    platform::PixelRect place_;                     // of the overlay in the output
    platform::Rect shape_;                          // of the camera in the overlay
};

}  // namespace cobaltreel
