#pragma once

#include "Platform/Foundation/UniqueFd.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

struct GifFileType;

namespace platform::gif {

struct Color {
    std::uint8_t r = 0, g = 0, b = 0;
    friend bool operator==(const Color&, const Color&) = default;
};

/// A rectangle of new pixels, each an index into the palette.
struct Patch {
    int x = 0, y = 0, width = 0, height = 0;
    std::vector<std::uint8_t> pixels;
    std::vector<Color> palette;  ///< 1 to 256
    int transparent = -1;        ///< the index that leaves what is there; -1: none does
};

/// A GIF that plays in a loop without end. One thread; operations throw PlatformError naming the file.
class GifFile {
  public:
    /// Creates the file; an existing one is emptied.
    GifFile(const std::filesystem::path& path, int width, int height);
    ~GifFile();

    /// Draws the patch over what is there and shows the result for `delay` hundredths of a second.
    void add(const Patch& patch, int delay);
    /// Completes the file.
    void finish();

  private:
    [[noreturn]] void fail() const;
    void require(int result) const;

    struct CloseGif {
        void operator()(GifFileType* file) const;
    };

    std::filesystem::path path_;
    UniqueFd fd_;
    std::vector<std::uint8_t> waiting_;  // bytes that go to the file together
    int errorNumber_ = 0;                // why a write failed
    std::unique_ptr<GifFileType, CloseGif> file_;

    static int write(GifFileType* file, const std::uint8_t* bytes, int count);
    void writeWaiting();
};

}  // namespace platform::gif
