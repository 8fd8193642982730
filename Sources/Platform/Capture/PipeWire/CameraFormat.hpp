#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;
struct spa_pod_builder;

namespace platform::pipewire {

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// One entry of what a camera says it can do.
struct OfferedFormat {
    bool isMjpeg = false;
    std::vector<std::uint32_t> pixelFormats;  ///< raw: SPA_VIDEO_FORMAT_*
    std::vector<Size> sizes;                  ///< with `sizesAreRange`: the smallest and the largest
    bool sizesAreRange = false;
    std::vector<double> rates;  ///< frames a second; with `ratesAreRange`: the lowest and the highest
    bool ratesAreRange = false;
};

/// One way to run a camera.
struct CameraFormat {
    bool isMjpeg = false;
    std::uint32_t pixelFormat = 0;
    Size size;
    double rate = 0;  ///< 0 when the camera does not say
    friend bool operator==(const CameraFormat&, const CameraFormat&) = default;
};

/// Reads one offered format; absent when it is none that can be shown.
std::optional<OfferedFormat> readOfferedFormat(const spa_pod* param);

/// The format that serves `wanted` pictures at `rate` best: fluent before sharp, enough pixels but not many
/// more, uncompressed before compressed when both are as good. Absent when nothing can be used.
std::optional<CameraFormat> bestFormat(const std::vector<OfferedFormat>& offered, Size wanted, double rate);

/// The formats to ask a camera for, the best first, then whatever can be decoded. They live in `builder`.
std::vector<const spa_pod*> formatParams(spa_pod_builder& builder, const std::optional<CameraFormat>& best,
                                         Size wanted);

}  // namespace platform::pipewire
