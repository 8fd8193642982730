#include "Platform/Vision/OnnxWriter.hpp"

namespace platform::testing {
namespace {

/// Builds one protocol buffer message, field after field.
class Message {
  public:
    Message& number(int field, std::uint64_t value) {
        varint(static_cast<std::uint64_t>(field) << 3);
        varint(value);
        return *this;
    }
    Message& bytes(int field, const std::string& value) {
        varint(static_cast<std::uint64_t>(field) << 3 | 2);
        varint(value.size());
        bytes_ += value;
        return *this;
    }
    Message& message(int field, const Message& value) { return bytes(field, value.bytes_); }
    const std::string& text() const { return bytes_; }

  private:
    void varint(std::uint64_t value) {
        for (; value >= 0x80; value >>= 7) bytes_ += static_cast<char>(value | 0x80);
        bytes_ += static_cast<char>(value);
    }
    std::string bytes_;
};

constexpr int floatType = 1;

Message tensor(const std::string& name, const std::vector<std::int64_t>& shape,
               const std::vector<float>& values) {
    Message m;
    for (const auto side : shape) m.number(1, static_cast<std::uint64_t>(side));
    m.number(2, floatType).bytes(8, name);
    m.bytes(9, std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)));
    return m;
}

Message valueInfo(const std::string& name, const std::vector<std::int64_t>& shape) {
    Message sides;
    for (const auto side : shape)
        sides.message(
            1, side ? Message().number(1, static_cast<std::uint64_t>(side)) : Message().bytes(2, "open"));
    Message type;
    type.message(1, Message().number(1, floatType).message(2, sides));
    return Message().bytes(1, name).message(2, type);
}

Message integers(const std::string& name, const std::vector<std::int64_t>& values) {
    Message m;
    m.bytes(1, name);
    for (const auto value : values) m.number(8, static_cast<std::uint64_t>(value));
    return m.number(20, 7);
}

Message node(const std::string& type, const std::vector<std::string>& inputs, const std::string& output,
             const std::vector<Message>& attributes = {}) {
    Message m;
    for (const auto& input : inputs) m.bytes(1, input);
    m.bytes(2, output).bytes(3, output + "_node").bytes(4, type);
    for (const auto& attribute : attributes) m.message(5, attribute);
    return m;
}

}  // namespace

std::string onnxBytes(const TinyNetwork& network) {
    const auto outputs = static_cast<std::int64_t>(network.bias.size());
    Message graph;
    std::string at = "picture";
    const auto step = [&](const std::string& type, std::vector<std::string> more,
                          const std::vector<Message>& attributes) {
        more.insert(more.begin(), at);
        at += "_" + type;
        graph.message(1, node(type, more, at, attributes));
    };
    if (network.channelsLast) step("Transpose", {}, {integers("perm", {0, 3, 1, 2})});
    step("Conv", {"weights", "bias"}, {integers("kernel_shape", {1, 1})});
    if (network.activation == "Sigmoid") step("Sigmoid", {}, {});
    if (network.activation == "Softmax")
        step("Softmax", {}, {Message().bytes(1, "axis").number(3, 1).number(20, 2)});
    if (network.channelsLast) step("Transpose", {}, {integers("perm", {0, 2, 3, 1})});
    graph.bytes(2, "tiny");
    graph.message(5, tensor("weights", {outputs, 3, 1, 1}, network.weights));
    graph.message(5, tensor("bias", {outputs}, network.bias));
    // Weights among the inputs, as older exporters write them, and before the picture.
    graph.message(11, valueInfo("weights", {outputs, 3, 1, 1}));
    graph.message(11, valueInfo("bias", {outputs}));
    graph.message(11, valueInfo("picture", network.input));
    graph.message(12, valueInfo(at, {}));
    Message model;
    model.number(1, 7).bytes(2, "tests").message(7, graph).message(8, Message().bytes(1, "").number(2, 11));
    return model.text();
}

}  // namespace platform::testing
