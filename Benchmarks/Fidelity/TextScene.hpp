#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <QImage>
#include <QString>
#include <QStringList>

namespace fidelity {

/// What a person shows while explaining a screen of text.
enum class Take {
    cursor,     ///< nothing but a cursor that blinks
    typing,     ///< a line is typed, with pauses to think
    scrolling,  ///< the page rolls for a second, then is read
    moving,     ///< a window is dragged over the page, then stands
    video,      ///< a video plays in a corner beside the page
};

/// A desktop of real text drawn by the system's fonts: sizes from 9 to 20 points, proportional and
/// monospaced, dark on light, light on dark and colored on colored. Every moment of it can be drawn again,
/// so that what a movie shows can be held against what stood on the screen. Needs a QGuiApplication; one
/// thread.
class TextScene {
  public:
    /// `text`: the paragraphs to show, at least one.
    TextScene(Take take, int width, int height, QStringList text);

    /// The picture changes at multiples of this, seconds of the scene's time.
    double interval() const;
    /// The picture (RGB32) of step `step` from 0 on.
    QImage picture(int step) const;
    /// The last step up to this one with which the picture changed by more than a cursor or the video.
    int lastChange(int step) const;

  private:
    void paintPage(QPainter& painter, const QRect& area, int scheme, double points, bool monospaced,
                   int firstParagraph) const;
    QImage desktop() const;
    QImage scrolledPage() const;
    int scrolled(int step) const;
    int typed(int step) const;
    int dragged(int step) const;

    Take take_;
    int width_;
    int height_;
    QStringList text_;
    QImage still_;
    QImage page_;  // higher than the screen, for scrolling
};

/// The picture as a movie holds it at its best: i420, BT.709.
platform::PixelBufferRef asVideo(const QImage& picture);

}  // namespace fidelity
