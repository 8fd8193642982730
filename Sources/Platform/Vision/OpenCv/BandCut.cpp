#include "Platform/Vision/OpenCv/BandCut.hpp"

#include <array>
#include <cmath>

#include <opencv2/imgproc/detail/gcgraph.hpp>

namespace platform {
namespace {

float squaredStep(const cv::Vec3f& a, const cv::Vec3f& b) {
    const cv::Vec3f d = a - b;
    return d.dot(d);
}

struct Neighbour {
    int dx, dy;
    float length;
};
// Half of the eight neighbours: every pair once.
constexpr std::array<Neighbour, 4> neighbours = {
    {{1, 0, 1.0F}, {0, 1, 1.0F}, {1, 1, 1.414F}, {-1, 1, 1.414F}}};

}  // namespace

cv::Mat1b cutAlongEdges(const cv::Mat1f& odds, const cv::Mat3f& edges, const cv::Mat3f& stillEdges,
                        const cv::Mat1f& familiar, float certain, float smoothness) {
    const cv::Size size = odds.size();
    cv::Mat1b side = odds > 0;
    cv::Mat1i node(size, -1);
    int nodes = 0;
    double contrast = 0;
    int steps = 1;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            if (std::abs(odds(y, x)) >= certain) continue;
            node(y, x) = nodes++;
            if (x + 1 < size.width) {
                contrast += squaredStep(edges(y, x), edges(y, x + 1));
                ++steps;
            }
        }
    if (nodes == 0) return side;
    const float beta = static_cast<float>(1.0 / (2 * contrast / steps + 8));

    bool joined = false;  // the graph refuses to be cut without an edge
    cv::detail::GCGraph<float> graph(static_cast<unsigned>(nodes), static_cast<unsigned>(nodes * 8));
    for (int i = 0; i < nodes; ++i) graph.addVtx();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const int here = node(y, x);
            if (here >= 0)
                graph.addTermWeights(here, std::max(0.0F, odds(y, x)), std::max(0.0F, -odds(y, x)));
            for (const auto& n : neighbours) {
                const int nx = x + n.dx, ny = y + n.dy;
                if (nx < 0 || nx >= size.width || ny >= size.height) continue;
                const int there = node(ny, nx);
                if (here < 0 && there < 0) continue;
                float step = squaredStep(edges(y, x), edges(ny, nx));
                if (!stillEdges.empty() && familiar(y, x) > 3 && familiar(ny, nx) > 3) {
                    // An edge that the room itself has here, where the room is what we see, is no border.
                    const float own = squaredStep(stillEdges(y, x), stillEdges(ny, nx));
                    const float off = std::max(squaredStep(edges(y, x), stillEdges(y, x)),
                                               squaredStep(edges(ny, nx), stillEdges(ny, nx)));
                    step /= 1 + own / 25.0F * std::exp(-off / 300.0F);
                }
                const float weight = smoothness * (0.08F + std::exp(-beta * step)) / n.length;
                if (here >= 0 && there >= 0) {
                    graph.addEdges(here, there, weight, weight);
                    joined = true;
                } else if (here >= 0)
                    graph.addTermWeights(here, side(ny, nx) ? weight : 0, side(ny, nx) ? 0 : weight);
                else
                    graph.addTermWeights(there, side(y, x) ? weight : 0, side(y, x) ? 0 : weight);
            }
        }
    if (!joined) return side;
    graph.maxFlow();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            if (node(y, x) >= 0) side(y, x) = graph.inSourceSegment(node(y, x)) ? 255 : 0;
    return side;
}

}  // namespace platform
