#pragma once

#include "Platform/Imaging/AxisFilter.hpp"
#include "Platform/Imaging/AxisMap.hpp"
#include "Platform/Imaging/ImageNode.hpp"

namespace platform::imaging {

/// How a node is looked at: from its own plane to the output's pixels, y downwards there.
struct View {
    AxisMap map;
    /// In the output: nothing shows outside.
    Rect clip = wholePlane();
    /// In the node's plane: no sample is taken outside. Crops that were made before the picture was scaled
    /// limit its samples; one that was made afterwards only clips what shows.
    Rect limit = wholePlane();

    View cropped(const Rect& to) const { return {map, clip.intersected(map(to)), limit.intersected(to)}; }
    View through(const AxisMap& inner) const;
};

/// Where samples of a plane of the given size come from, for the outputs [first, first + count).
/// scale, shift: output = scale · sample + shift.
AxisSampling samplingOf(double scale, double shift, int first, int count, double limitLow, double limitHigh,
                        int size);

/// The part of `rect` in which the node may show.
PixelBox shownPixels(const ImageNode& node, const View& view, const PixelBox& rect);

/// A buffer, seen with the view of its image: the map of its pixels (y downwards on both sides) and
/// the samples that may be used.
struct PlacedBuffer {
    PlacedBuffer(const PixelBuffer& placed, const View& view);

    /// Samplings of a rectangle of the output, in whole pixels of the buffer.
    AxisSampling alongX(const PixelBox& rect) const;
    AxisSampling alongY(const PixelBox& rect) const;
    /// The same in the samples of a chroma plane, for an output of full or half (`step` 2) resolution.
    AxisSampling chromaAlongX(const PixelBox& rect, int step) const;
    AxisSampling chromaAlongY(const PixelBox& rect, int step) const;

    const PixelBuffer& buffer;
    AxisMap map;
    Rect limit;
};

}  // namespace platform::imaging
