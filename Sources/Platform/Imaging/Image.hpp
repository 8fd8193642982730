#pragma once

#include "Platform/Imaging/Geometry.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <memory>
#include <optional>

namespace platform {

struct ImageNode;

/// A recipe for a picture: immutable, cheap to copy, computed only when a RenderContext renders it,
/// and then only where it can be seen. Premultiplied RGBA on an infinite plane whose origin is at the
/// bottom left with y upwards; outside `extent` everything is transparent. Safe on any thread.
class Image {
  public:
    /// The empty picture: transparent everywhere, empty extent.
    Image();

    /// The picture of a buffer, extent (0, 0, width, height). A gray8 buffer reads as opaque gray.
    static Image fromBuffer(ConstPixelBufferRef buffer);
    /// One color over the whole plane; crop it before use.
    static Image constant(const Color& color);

    /// Where the picture may be other than transparent. Infinite for `constant`.
    Rect extent() const;
    bool isEmpty() const { return extent().isEmpty(); }

    Image cropped(const Rect& to) const;
    Image translated(double dx, double dy) const;
    /// Scales the plane about the origin; sampling keeps fractions of a pixel, so a slow zoom is smooth,
    /// and averages when it shrinks.
    Image scaled(double sx, double sy) const;
    /// Source-over: this + below × (1 − this.alpha).
    Image compositedOver(const Image& below) const;

    /// This picture × the mask's green channel (premultiplied, so a transparent mask removes). Absent
    /// when nothing can remain because the two extents do not meet.
    std::optional<Image> blendedWithMask(const Image& mask) const;
    /// Gaussian blur with standard deviation `radius` pixels; the extent grows by three radii on every
    /// side. Absent for an empty or infinite picture or a radius that is not positive.
    std::optional<Image> gaussianBlurred(double radius) const;

    /// The same picture, whose pixels are computed at most once and then kept; for what several
    /// frames share. Must have a finite extent.
    Image memoized() const;

    /// True when both are the very same recipe (not merely equal pixels).
    bool isSameRecipe(const Image& other) const { return node_ == other.node_; }

    const std::shared_ptr<const ImageNode>& node() const { return node_; }
    explicit Image(std::shared_ptr<const ImageNode> node) : node_(std::move(node)) {}

  private:
    std::shared_ptr<const ImageNode> node_;
};

}  // namespace platform
