#include "Platform/Vision/OpenCv/OnnxFile.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>

namespace platform {
namespace {

[[noreturn]] void notOnnx() { throw PlatformError("Vision", 3, "it is not an ONNX file or it is cut short"); }

/// Walks the fields of one protocol buffer message.
class Fields {
  public:
    explicit Fields(std::string_view bytes) : rest_(bytes) {}

    bool next() {
        if (rest_.empty()) return false;
        const std::uint64_t key = varint();
        number = static_cast<int>(key >> 3);
        text = {};
        value = 0;
        switch (key & 7) {
            case 0:
                value = varint();
                break;
            case 1:
                text = take(8);
                break;
            case 2:
                text = take(varint());
                break;
            case 5:
                text = take(4);
                break;
            default:
                notOnnx();
        }
        return true;
    }

    int number = 0;
    std::uint64_t value = 0;
    std::string_view text;

  private:
    std::uint64_t varint() {
        std::uint64_t result = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (rest_.empty()) notOnnx();
            const auto byte = static_cast<unsigned char>(rest_.front());
            rest_.remove_prefix(1);
            result |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if (!(byte & 0x80)) return result;
        }
        notOnnx();
    }
    std::string_view take(std::uint64_t count) {
        if (count > rest_.size()) notOnnx();
        const std::string_view part = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return part;
    }

    std::string_view rest_;
};

// Field numbers of the ONNX schema's messages.
constexpr int modelGraph = 7, graphInitializer = 5, graphInput = 11, tensorName = 8;
constexpr int valueName = 1, valueType = 2, typeTensor = 1, tensorShape = 2, shapeDimension = 1,
              dimensionValue = 1;

std::string_view child(std::string_view bytes, int number) {
    std::string_view found;
    for (Fields f(bytes); f.next();)
        if (f.number == number) found = f.text;
    return found;
}

}  // namespace

OnnxInput readOnnxInput(std::string_view bytes) {
    const std::string_view graph = child(bytes, modelGraph);
    if (graph.empty()) notOnnx();
    std::vector<std::string_view> weights;
    std::vector<OnnxInput> inputs;
    for (Fields f(graph); f.next();) {
        if (f.number == graphInitializer) weights.push_back(child(f.text, tensorName));
        if (f.number != graphInput) continue;
        OnnxInput input{std::string(child(f.text, valueName)), {}};
        const auto shape = child(child(child(f.text, valueType), typeTensor), tensorShape);
        for (Fields d(shape); d.next();) {
            if (d.number != shapeDimension) continue;
            std::int64_t side = 0;
            for (Fields v(d.text); v.next();)
                if (v.number == dimensionValue) side = static_cast<std::int64_t>(v.value);
            input.shape.push_back(side);
        }
        inputs.push_back(std::move(input));
    }
    // Older files list their weights among the inputs.
    for (auto& input : inputs)
        if (std::find(weights.begin(), weights.end(), input.name) == weights.end()) return input;
    throw PlatformError("Vision", 3, "its graph has no input");
}

}  // namespace platform
