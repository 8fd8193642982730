#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/OpenCv/OnnxFile.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// Input side when neither the file nor the sidecar says one.
constexpr int usualSide = 256;
/// Larger inputs are mistakes in a file, not pictures.
constexpr std::int64_t largestSide = 4096;
/// And larger files no networks for a camera.
constexpr std::uintmax_t largestFile = 1'000'000'000;

PlatformError broken(const std::filesystem::path& file, const std::string& reason, int code = 3) {
    return {"Vision", code, "The segmentation model " + file.string() + " can't be used: " + reason + "."};
}

/// What OpenCV says, which may be several lines, as one.
std::string oneLine(const cv::Exception& error) {
    std::string text = error.err;
    text.erase(text.find_last_not_of(" \n") + 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

cv::Scalar threeNumbers(const cv::FileNode& node, const cv::Scalar& otherwise) {
    if (node.empty()) return otherwise;
    if (node.isReal() || node.isInt()) return cv::Scalar::all(node.real());
    if (!node.isSeq() || node.size() != 3)
        CV_Error(cv::Error::StsParseError, "three numbers are wanted for " + node.name());
    return {node[0].real(), node[1].real(), node[2].real()};
}

void readSidecar(NeuralModel& model) {
    std::filesystem::path document = model.file;
    document.replace_extension(".json");
    if (!std::filesystem::exists(document)) document = model.file.parent_path() / "model.json";
    if (!std::filesystem::exists(document)) return;
    try {
        const cv::FileStorage storage(document.string(),
                                      cv::FileStorage::READ | cv::FileStorage::FORMAT_JSON);
        if (!storage.isOpened()) CV_Error(cv::Error::StsParseError, "it can't be read");
        const auto text = [&](const char* key, const char* otherwise) {
            const cv::FileNode node = storage[key];
            return node.empty() ? std::string(otherwise) : node.string();
        };
        if (!storage["width"].empty()) model.input.width = static_cast<int>(storage["width"]);
        if (!storage["height"].empty()) model.input.height = static_cast<int>(storage["height"]);
        if (const auto layout = text("layout", ""); !layout.empty()) model.channelsLast = layout == "nhwc";
        model.redFirst = text("channels", "rgb") != "bgr";
        if (!storage["scale"].empty()) model.scale = storage["scale"].real();
        model.mean = threeNumbers(storage["mean"], model.mean);
        model.deviation = threeNumbers(storage["std"], model.deviation);
        if (!storage["personClass"].empty()) model.personClass = static_cast<int>(storage["personClass"]);
        using Activation = NeuralModel::Activation;
        const auto activation = text("activation", "auto");
        if (activation == "auto")
            model.activation = Activation::automatic;
        else if (activation == "none")
            model.activation = Activation::none;
        else if (activation == "sigmoid")
            model.activation = Activation::sigmoid;
        else if (activation == "softmax")
            model.activation = Activation::softmax;
        else
            CV_Error(cv::Error::StsParseError, "\"activation\" is one of auto, none, sigmoid, softmax");
    } catch (const cv::Exception& e) {
        throw broken(model.file, "its description " + document.string() + " is wrong: " + oneLine(e));
    }
}

/// The planes of an answer in any of the usual shapes: [1,C,H,W], [1,H,W,C], [1,H,W], [H,W].
std::vector<cv::Mat1f> planesOf(const cv::Mat& answer) {
    if (answer.depth() != CV_32F) return {};
    std::vector<int> shape(answer.size.p, answer.size.p + answer.dims);
    while (shape.size() > 2 && shape.front() == 1 && shape.size() != 3) shape.erase(shape.begin());
    if (shape.size() == 2) shape.insert(shape.begin(), 1);
    if (shape.size() != 3) return {};
    // A picture has at least 8 rows and columns; classes are fewer than rows.
    const bool last = shape[2] < shape[0] && shape[2] < shape[1];
    const int channels = last ? shape[2] : shape[0], rows = last ? shape[0] : shape[1],
              cols = last ? shape[1] : shape[2];
    if (rows < 8 || cols < 8) return {};
    auto* data = const_cast<float*>(answer.ptr<float>());
    std::vector<cv::Mat1f> planes;
    if (last) {
        cv::split(cv::Mat(rows, cols, CV_MAKETYPE(CV_32F, channels), data), planes);
    } else {
        for (int c = 0; c < channels; ++c)
            planes.push_back(
                cv::Mat1f(rows, cols, data + static_cast<std::ptrdiff_t>(c) * rows * cols).clone());
    }
    return planes;
}

cv::Mat1f sigmoid(const cv::Mat1f& x) {
    cv::Mat1f e;
    cv::exp(-x, e);
    return 1.0 / (1.0 + e);
}

bool isProbability(const cv::Mat1f& x) {
    double low = 0, high = 0;
    cv::minMaxLoc(x, &low, &high);
    return low >= -0.01 && high <= 1.01;
}

}  // namespace

NeuralModel NeuralModel::describe(const std::filesystem::path& file) {
    std::error_code error;
    if (std::filesystem::exists(file, error) && !std::filesystem::is_regular_file(file, error))
        throw broken(file, "it is not a file");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw broken(file, "the file can't be opened");
    if (std::filesystem::file_size(file, error) > largestFile) throw broken(file, "it is too large");
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    NeuralModel model;
    model.file = file;
    try {
        const auto shape = readOnnxInput(bytes).shape;
        for (const auto side : shape)
            if (side < 0 || side > largestSide)
                throw broken(file, "its input has a side of " + std::to_string(side));
        if (shape.size() == 4) {
            model.channelsLast = shape[3] == 3 && shape[1] != 3;
            const std::size_t rows = model.channelsLast ? 1 : 2;
            model.input = {static_cast<int>(shape[rows + 1]), static_cast<int>(shape[rows])};
        }
    } catch (const PlatformError& e) {
        throw e.domain() == "Vision" && e.description().starts_with("The ") ? e
                                                                            : broken(file, e.description());
    }
    readSidecar(model);
    if (model.input.width == 0) model.input.width = usualSide;
    if (model.input.height == 0) model.input.height = usualSide;
    if (model.input.width < 8 || model.input.height < 8 || model.input.width > largestSide ||
        model.input.height > largestSide)
        throw broken(file, "its input size is no picture's; see \"width\" and \"height\" of its description");
    return model;
}

NeuralSegmentation::NeuralSegmentation(const NeuralModel& model) : model_(model) {
    try {
        network_ = cv::dnn::readNetFromONNX(model.file.string());
        network_.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    } catch (const cv::Exception& e) {
        throw broken(model.file, "OpenCV can't load it (" + oneLine(e) + ")");
    }
}

void NeuralSegmentation::tryOut() {
    // Two pictures without anything in common; a network that answers both with one flat value sees nothing.
    cv::Mat3b noise(model_.input), ramp(model_.input);
    cv::RNG(7).fill(noise, cv::RNG::UNIFORM, 0, 256);
    for (int y = 0; y < ramp.rows; ++y)
        for (int x = 0; x < ramp.cols; ++x) {
            const auto level = static_cast<uchar>(255 * x / ramp.cols);
            ramp(y, x) =
                cv::Vec3b(level, static_cast<uchar>(255 - level), static_cast<uchar>(255 * y / ramp.rows));
        }
    const cv::Mat1f first = query(noise), second = query(ramp);
    double low = 0, high = 0, otherLow = 0, otherHigh = 0;
    cv::minMaxLoc(first, &low, &high);
    cv::minMaxLoc(second, &otherLow, &otherHigh);
    if (low == high && otherLow == otherHigh && low == otherLow)
        throw broken(model_.file, "it gives the same answer whatever it is shown");
}

cv::Mat1f NeuralSegmentation::query(const cv::Mat3b& picture) {
    cv::Mat1f answer = personIn(picture);
    if (answer.size() != model_.input) cv::resize(answer, answer, model_.input, 0, 0, cv::INTER_LINEAR);
    return answer;
}

cv::Mat1f NeuralSegmentation::personIn(const cv::Mat3b& picture) {
    cv::Mat answer;
    try {
        cv::Mat values;
        cv::resize(picture, values, model_.input, 0, 0, cv::INTER_AREA);
        cv::Mat colors[3], real[3];
        cv::split(values, colors);
        for (int c = 0; c < 3; ++c) {
            const double scale = model_.scale / model_.deviation[c];
            colors[model_.redFirst ? 2 - c : c].convertTo(real[c], CV_32F, scale, -model_.mean[c] * scale);
        }
        cv::Mat input;
        if (model_.channelsLast)
            cv::merge(real, 3, input);
        else
            cv::vconcat(real, 3, input);
        const int side[] = {1, values.rows, values.cols, 3}, plane[] = {1, 3, values.rows, values.cols};
        network_.setInput(cv::Mat(4, model_.channelsLast ? side : plane, CV_32F, input.data));
        answer = network_.forward().clone();
    } catch (const cv::Exception& e) {
        throw broken(model_.file, "it can't be computed (" + oneLine(e) + ")", 4);
    }
    auto planes = planesOf(answer);
    if (planes.empty()) throw broken(model_.file, "its answer is not a picture", 4);
    for (const auto& plane : planes)
        if (!cv::checkRange(plane))
            throw broken(model_.file, "its answer holds values that are not numbers", 4);

    using Activation = NeuralModel::Activation;
    Activation activation = model_.activation;
    if (planes.size() == 1) {
        if (activation == Activation::automatic)
            activation = isProbability(planes[0]) ? Activation::none : Activation::sigmoid;
        return activation == Activation::none ? planes[0] : sigmoid(planes[0]);
    }
    if (model_.personClass < 0 || model_.personClass >= static_cast<int>(planes.size()))
        throw broken(model_.file,
                     "its answer has " + std::to_string(planes.size()) +
                         " channels, and the person's is said to be number " +
                         std::to_string(model_.personClass),
                     4);
    const cv::Mat1f& person = planes[static_cast<std::size_t>(model_.personClass)];
    if (activation == Activation::automatic) {
        bool all = true;
        for (const auto& plane : planes) all = all && isProbability(plane);
        activation = all ? Activation::none : Activation::softmax;
    }
    if (activation == Activation::none) return person;
    if (activation == Activation::sigmoid) return sigmoid(person);
    cv::Mat1f sum(person.size(), 0.0F), power;
    for (const auto& plane : planes) {
        cv::exp(plane - person, power);
        sum += power;
    }
    return 1.0 / sum;
}

}  // namespace platform
