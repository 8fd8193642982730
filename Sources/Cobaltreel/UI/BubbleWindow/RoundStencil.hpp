#pragma once

#include <QImage>
#include <QSize>

namespace cobaltreel {

/// Cuts a picture to the ellipse that fills it and lays the ring over its edge. Drawn once for a size; a cut
/// is one pass over the pixels. Any one thread.
class RoundStencil {
  public:
    /// `ringWidth` in pixels; the ring lies fully inside.
    RoundStencil(QSize size, double ringWidth);

    QSize size() const { return ring_.size(); }
    /// `picture`: opaque, premultiplied, of the stencil's size. Its corners become transparent.
    void cut(QImage& picture) const;
    /// The ring around black.
    QImage empty() const;

  private:
    QImage ring_;     // premultiplied
    QImage remains_;  // how much of the picture does, one byte a pixel
};

}  // namespace cobaltreel
