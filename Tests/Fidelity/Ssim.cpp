#include "Fidelity/Ssim.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fidelity {
namespace {

constexpr int block = 4;        // samples; a window is two blocks wide and high
constexpr int windowArea = 64;  // samples

struct Sums {
    int a = 0, b = 0, squares = 0, products = 0;
};

/// Of each 4 × 4 block of one row of blocks.
void sumBlocks(const platform::Plane& a, const platform::Plane& b, int row, std::vector<Sums>& sums) {
    for (std::size_t column = 0; column < sums.size(); ++column) {
        Sums sum;
        for (int y = 0; y < block; ++y) {
            const std::ptrdiff_t line = row * block + y;
            const auto x = static_cast<std::ptrdiff_t>(column) * block;
            const std::uint8_t* p = a.data + line * a.stride + x;
            const std::uint8_t* q = b.data + line * b.stride + x;
            for (int i = 0; i < block; ++i) {
                sum.a += p[i];
                sum.b += q[i];
                sum.squares += p[i] * p[i] + q[i] * q[i];
                sum.products += p[i] * q[i];
            }
        }
        sums[column] = sum;
    }
}

double similarityOf(const Sums& window) {
    constexpr double c1 = 0.01 * 255 * 0.01 * 255, c2 = 0.03 * 255 * 0.03 * 255;
    const double meanA = window.a / static_cast<double>(windowArea),
                 meanB = window.b / static_cast<double>(windowArea);
    const double squares = meanA * meanA + meanB * meanB, product = meanA * meanB;
    const double variances = window.squares / static_cast<double>(windowArea) - squares,
                 covariance = window.products / static_cast<double>(windowArea) - product;
    return (2 * product + c1) * (2 * covariance + c2) / ((squares + c1) * (variances + c2));
}

}  // namespace

double ssim(const platform::Plane& a, const platform::Plane& b) {
    const int columns = a.width / block, rows = a.height / block;
    if (columns < 2 || rows < 2) return 1;
    std::vector<Sums> above(static_cast<std::size_t>(columns)), below(above.size());
    sumBlocks(a, b, 0, above);
    double total = 0;
    for (int row = 1; row < rows; ++row) {
        sumBlocks(a, b, row, below);
        for (std::size_t i = 0; i + 1 < above.size(); ++i) {
            Sums window;
            for (const Sums* part : {&above[i], &above[i + 1], &below[i], &below[i + 1]}) {
                window.a += part->a;
                window.b += part->b;
                window.squares += part->squares;
                window.products += part->products;
            }
            total += similarityOf(window);
        }
        above.swap(below);
    }
    return total / (static_cast<double>(columns - 1) * (rows - 1));
}

Similarity similarity(const platform::PixelBuffer& a, const platform::PixelBuffer& b) {
    return {ssim(a.plane(0), b.plane(0)),
            std::min(ssim(a.plane(1), b.plane(1)), ssim(a.plane(2), b.plane(2)))};
}

}  // namespace fidelity
