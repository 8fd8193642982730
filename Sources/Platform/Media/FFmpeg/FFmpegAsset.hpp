#pragma once

#include "Platform/Media/Asset.hpp"

#include <optional>

namespace platform::ffmpeg {

/// A movie file. Its tracks are looked at once; the file isn't kept open.
class FFmpegAsset final : public Asset {
  public:
    explicit FFmpegAsset(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& path() const override { return path_; }
    std::vector<AssetTrack> loadTracks(MediaType type) override;
    std::optional<double> sessionStart() override;

  private:
    void look();

    std::filesystem::path path_;
    std::optional<double> sessionStart_;
    std::optional<std::vector<AssetTrack>> tracks_;
};

}  // namespace platform::ffmpeg
