#pragma once

#include "Cobaltreel/Export/ExportOptions.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"
#include "Export/BenchmarkSession.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace cobaltreel::benchmarks {

/// FFmpeg's filter graph that makes the same movie: zoom along the same plan, the camera as a round overlay,
/// both sounds mixed. Ripples, ring and shadow are left out, in its favour. It encodes with libx264's
/// veryfast preset.
class FilterGraph {
  public:
    /// `work` is a folder for what it needs and makes.
    FilterGraph(const BenchmarkSession& session, const std::vector<CameraMove>& moves,
                const std::filesystem::path& work);

    /// Has the graph encode as coarsely as it may with its movie as close to its own pictures as `movie` is
    /// to `frames` (raw i420), by the mean structural similarity of luma. Throws std::runtime_error.
    void matchQuality(const std::filesystem::path& movie, const std::filesystem::path& frames);

    /// The command line of one run, which makes `movie()`.
    std::vector<std::string> command() const;
    std::filesystem::path movie() const { return work_ / "graph.mp4"; }
    /// What `matchQuality` found.
    int crf() const { return crf_; }
    double similarity() const { return similarity_; }
    double wishedSimilarity() const { return wished_; }

  private:
    static std::vector<std::string> pictureEncoder(int crf);
    std::vector<std::string> raw(const std::filesystem::path& frames) const;
    double similarityOf(const std::filesystem::path& movie, const std::filesystem::path& frames) const;

    std::filesystem::path work_;
    std::vector<std::string> inputs_;  // and the graph
    std::string size_, length_;
    int crf_ = 20;
    double similarity_ = 0, wished_ = 0;
};

}  // namespace cobaltreel::benchmarks
