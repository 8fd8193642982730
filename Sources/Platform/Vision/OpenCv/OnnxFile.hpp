#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// What an ONNX file says about the picture it takes. Sizes the file leaves open read as 0.
struct OnnxInput {
    std::string name;
    std::vector<std::int64_t> shape;
};

/// The first input of the graph in `bytes` that is no weight. Throws PlatformError("Vision", 3) with
/// the reason when the bytes are not such a file; the caller names the file.
OnnxInput readOnnxInput(std::string_view bytes);

}  // namespace platform
