#pragma once

#include "Platform/Media/Asset.hpp"

#include <deque>
#include <memory>
#include <vector>

namespace platform {

/// An in-memory timeline of segments of movie tracks. A plain value: nothing is opened or decoded
/// until a reader or a player asks.
class Composition {
  public:
    struct Segment {
        std::shared_ptr<Asset> asset;
        AssetTrack track;
        TimeRange source;  ///< seconds on the movie's timeline
        double start = 0;  ///< seconds on the composition's timeline
    };
    class Track {
      public:
        explicit Track(MediaType type) : type_(type) {}
        /// Throws PlatformError("Media", 3) when the span is empty, starts before zero, or the track is
        /// of another type.
        void insertTimeRange(const TimeRange& source, std::shared_ptr<Asset> asset, const AssetTrack& track,
                             double at);
        MediaType type() const { return type_; }
        const std::vector<Segment>& segments() const { return segments_; }

      private:
        MediaType type_;
        std::vector<Segment> segments_;
    };

    /// The reference stays good while the composition lives.
    Track& addMutableTrack(MediaType type);
    const std::deque<Track>& tracks() const { return tracks_; }
    /// Where the last segment ends, seconds.
    double duration() const;

  private:
    std::deque<Track> tracks_;
};

}  // namespace platform
