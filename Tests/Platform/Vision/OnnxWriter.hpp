#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform::testing {

/// A network of one 1 × 1 convolution, in the ONNX file format. Enough to say "what is red is person".
struct TinyNetwork {
    std::vector<std::int64_t> input = {1, 3, 24, 32};  ///< as the file declares it; 0 leaves a side open
    bool channelsLast = false;                         ///< picture and answer are rows × columns × channels
    std::vector<float> weights = {1, 0, 0};            ///< outputs × 3
    std::vector<float> bias = {0};
    std::string activation = {};  ///< "", "Sigmoid" or "Softmax" (over the channels)
};

std::string onnxBytes(const TinyNetwork& network);

}  // namespace platform::testing
