#pragma once

#include "Platform/Media/Gif/GifFile.hpp"
#include "Platform/Media/Gif/ScenePalette.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace platform::gif {

/// Turns pictures into a GIF's patches: each draws only the pixels that have changed, in the colors of its
/// scene. A scene lasts as long as its colors serve. Pixels that stand still are never drawn again, whatever
/// becomes of the colors, so they cannot flicker. One thread; throws PlatformError.
class GifPictures {
  public:
    GifPictures(const std::filesystem::path& path, int width, int height);

    /// A bgra picture of the file's size, shown from `time` on, in seconds; times rise.
    void add(const PixelBuffer& picture, double time);
    /// Whether the file shows the last picture as well as it can; the same one once more brings that about
    /// soon.
    bool isSettled() const { return isSettled_; }
    /// Completes the file, whose last picture is shown until `time`.
    void finish(double time);

  private:
    std::size_t markChanges(const PixelBuffer& picture, double time);
    std::size_t markTile(const PixelBuffer& picture, int left, int top, double time, double& quietSince);
    void keepChanges(const PixelBuffer& picture);
    Patch patchOf(const PixelBuffer& picture);
    void write(const Patch& patch, std::int64_t until);

    GifFile file_;
    int width_, height_;
    ScenePalette palette_;
    std::vector<std::uint8_t> shown_;    // bgra, each pixel as it was when it was drawn
    std::vector<Color> canvas_;          // what a player shows
    std::vector<std::uint8_t> changed_;  // 1 for each pixel to be drawn
    std::vector<double> quietSince_;     // by tile: when something was drawn there last
    bool isSettled_ = false;
    std::optional<Patch> waiting_;  // the latest patch; how long it is shown is not known yet
    std::int64_t waitingTime_ = 0;  // hundredths of a second
};

}  // namespace platform::gif
