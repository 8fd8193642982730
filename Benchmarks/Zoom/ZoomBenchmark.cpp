// What planning the zoom of a long take costs: half an hour, two thousand clicks, the pointer at sixty
// samples a second. The ratio of both timings can be read off their times.

#include "CobaltreelCore/AnticipatingZoom.hpp"

#include <random>
#include <vector>

#include <benchmark/benchmark.h>

namespace cobaltreel {
namespace {

constexpr double width = 1920, height = 1080, duration = 30 * 60;

struct Take {
    std::vector<Click> clicks;
    std::vector<PointerSample> pointer;
};

const Take& take() {
    static const Take made = [] {
        Take result;
        std::mt19937 random(18);
        const auto below = [&](double limit) { return std::uniform_real_distribution<>(0, limit)(random); };
        // Bursts of clicks at a place, then some time until the next place.
        constexpr int places = 400, clicksAtEach = 5;
        for (int place = 0; place < places; ++place) {
            const double begin = place * duration / places, x = below(width), y = below(height);
            for (int i = 0; i < clicksAtEach; ++i)
                result.clicks.push_back({begin + i * 0.5 + below(0.3), x + below(90), y + below(90)});
        }
        for (int i = 0; i < duration * 60; ++i) {
            const Click& near =
                result.clicks[static_cast<std::size_t>(i / 60.0 / duration * places) * clicksAtEach];
            result.pointer.push_back({i / 60.0, {{near.px, near.py}}});
        }
        return result;
    }();
    return made;
}

void onClick(benchmark::State& state) {
    const Take& made = take();
    for (auto _ : state) benchmark::DoNotOptimize(ZoomEngine::moves(made.clicks, width, height, duration));
}
BENCHMARK(onClick)->Unit(benchmark::kMillisecond);

void anticipating(benchmark::State& state) {
    const Take& made = take();
    std::size_t moves = 0;
    for (auto _ : state)
        moves = AnticipatingZoom::moves(made.clicks, made.pointer, width, height, duration).size();
    state.counters["moves"] = static_cast<double>(moves);
}
BENCHMARK(anticipating)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace cobaltreel
