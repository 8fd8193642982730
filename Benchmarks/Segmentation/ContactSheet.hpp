#pragma once

#include <string>
#include <vector>

#include <opencv2/core.hpp>

namespace cobaltreel::benchmarks {

/// Small pictures of frames with their masks laid over: the background darkened, red where a mask says
/// person wrongly, blue where it misses the person.
class ContactSheet {
  public:
    void add(const cv::Mat3b& frame, const cv::Mat1b& mask, const cv::Mat1b& truth,
             const std::string& caption);
    /// Writes a PNG, `columns` pictures wide. Throws std::runtime_error that names the file.
    void write(const std::string& file, int columns) const;

  private:
    std::vector<cv::Mat3b> tiles_;
};

}  // namespace cobaltreel::benchmarks
