#include "Platform/Imaging/AxisFilter.hpp"
#include "Platform/Imaging/PixelKernels.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace platform::imaging {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Sums = std::vector<std::int16_t>;

class PixelKernelTest : public testing::Test {
  protected:
    Bytes bytes(std::size_t count) {
        Bytes result(count);
        for (auto& b : result) b = static_cast<std::uint8_t>(random_());
        return result;
    }
    Sums sums(std::size_t count) {
        Sums result(count);
        for (auto& s : result)
            s = static_cast<std::int16_t>(static_cast<int>(random_() % (320 * 64)) - 32 * 64);
        return result;
    }
    const PixelKernels& fast_ = pixelKernels();
    const PixelKernels& plain_ = portablePixelKernels();

  private:
    std::mt19937 random_{7};
};

TEST_F(PixelKernelTest, FastAndPortableRowsAgree) {
    for (const int count : {1, 15, 16, 17, 100}) {
        for (const int taps : {1, 2, 3, 4, 5, 9}) {
            const Bytes source = bytes(static_cast<std::size_t>(count + taps));
            std::vector<const std::uint8_t*> byteRows;
            std::vector<std::int16_t> weights;
            for (int t = 0; t < taps; ++t) {
                byteRows.push_back(source.data() + t);
                weights.push_back(
                    static_cast<std::int16_t>(filterUnit / taps + (t == 0 ? filterUnit % taps : 0)));
            }
            const auto size = static_cast<std::size_t>(count);
            Sums a(size), b(size);
            fast_.weighBytes(byteRows.data(), weights.data(), taps, count, a.data());
            plain_.weighBytes(byteRows.data(), weights.data(), taps, count, b.data());
            EXPECT_EQ(a, b) << count << " bytes, taps " << taps;
            Bytes c(size), d(size);
            fast_.roundSums(a.data(), count, c.data());
            plain_.roundSums(b.data(), count, d.data());
            EXPECT_EQ(c, d);
            const Bytes more = bytes(size);
            fast_.add(more.data(), c.data(), count);
            plain_.add(more.data(), d.data(), count);
            EXPECT_EQ(c, d);
        }
    }
}

TEST_F(PixelKernelTest, FastAndPortableFiltersAgree) {
    for (const int outputs : {1, 3, 8, 21, 64}) {
        for (const double step : {0.11, 0.5, 1.0, 1.5, 2.0, 2.3, 7.7, -0.6, -1.8}) {
            const int size = 40;
            const auto kernel = outputs % 2 ? AxisKernel::linear : AxisKernel::cubic;
            const AxisFilter filter =
                makeHorizontalFilter({step, step < 0 ? size - 0.3 : 0.3, 1, size - 2, outputs, kernel});
            for (const int channels : {1, 4}) {
                const Sums row = sums(static_cast<std::size_t>((filter.span + rowOverhang) * channels));
                // One byte more, which nobody may touch.
                Bytes a(static_cast<std::size_t>(outputs * channels + 1), 77), b = a;
                (channels == 1 ? fast_.filterGray : fast_.filterBgra)(row.data(), filter, a.data());
                (channels == 1 ? plain_.filterGray : plain_.filterBgra)(row.data(), filter, b.data());
                EXPECT_EQ(a, b) << outputs << " outputs, step " << step << ", channels " << channels;
                EXPECT_EQ(a.back(), 77);
            }
        }
    }
}

TEST_F(PixelKernelTest, TheUsualStepsTakeTheFastFilter) {
    for (const double step : {0.25, 0.5, 1.3, 1.5, 2.0})
        for (const AxisKernel kernel : {AxisKernel::linear, AxisKernel::cubic})
            EXPECT_FALSE(makeHorizontalFilter({step, 0.4, 0, 1920, 900, kernel}).blocks.empty()) << step;
}

/// Each pair of an alpha and a channel, against arithmetic on fractions.
TEST_F(PixelKernelTest, BlendingAndMaskingAreRoundedExactly) {
    for (const PixelKernels* kernels : {&fast_, &plain_}) {
        for (int alpha = 0; alpha <= 255; ++alpha) {
            Bytes top, below, mask, masked;
            for (int value = 0; value <= 255; ++value) {
                const auto color = static_cast<std::uint8_t>(std::min(value, alpha));
                const auto v = static_cast<std::uint8_t>(value);
                top.insert(top.end(), {color, 0, color, static_cast<std::uint8_t>(alpha)});
                below.insert(below.end(), {v, v, static_cast<std::uint8_t>(255 - v), 255});
                mask.push_back(static_cast<std::uint8_t>(alpha));
            }
            masked = below;
            Bytes blended = below;
            kernels->blendOver(top.data(), blended.data(), 256);
            kernels->multiplyByMask(masked.data(), mask.data(), 256);
            for (std::size_t i = 0; i < below.size(); ++i) {
                EXPECT_EQ(blended[i], top[i] + std::lround(below[i] * (255 - alpha) / 255.0));
                EXPECT_EQ(masked[i], std::lround(below[i] * alpha / 255.0));
            }
        }
    }
}

}  // namespace
}  // namespace platform::imaging
