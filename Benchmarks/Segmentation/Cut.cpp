#include "Cut.hpp"

#include <chrono>
#include <ctime>

namespace cobaltreel::benchmarks {
namespace {

double threadMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

}  // namespace

Cut cut(platform::PersonSegmentationRequest& request, const platform::PixelBuffer& frame) {
    const double cpu = threadMs();
    const auto start = std::chrono::steady_clock::now();
    const auto masks = request.perform(frame);
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    Cut result{{}, threadMs() - cpu, wall.count()};
    if (!masks.empty()) {
        const auto& plane = masks.front()->plane();
        result.mask = cv::Mat1b(cv::Mat(plane.height, plane.width, CV_8UC1, plane.data,
                                        static_cast<std::size_t>(plane.stride)))
                          .clone();
    }
    return result;
}

}  // namespace cobaltreel::benchmarks
