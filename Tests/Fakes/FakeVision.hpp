#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <cstddef>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

using Masks = std::vector<platform::ConstPixelBufferRef>;

/// A mask of one value all over.
inline std::shared_ptr<platform::PixelBuffer> gray(int width, int height, int value) {
    auto buffer = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::gray8, width, height);
    const auto& plane = buffer->plane();
    for (int y = 0; y < height; ++y)
        std::memset(plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride, value,
                    static_cast<std::size_t>(width));
    return buffer;
}

/// Answers one frame after the other with what the script says; the last answer stays.
struct FakeVision : platform::VisionService {
    using Request = platform::PersonSegmentationRequest;
    using QualityLevel = Request::QualityLevel;

    std::deque<std::function<Masks()>> script;
    std::vector<QualityLevel> levels;

    struct FakeRequest : Request {
        explicit FakeRequest(FakeVision& owner) : vision(owner) {}
        Masks perform(const platform::PixelBuffer&) override {
            const auto answer = vision.script.front();
            if (vision.script.size() > 1) vision.script.pop_front();
            return answer();
        }
        FakeVision& vision;
    };
    std::unique_ptr<Request> makePersonSegmentationRequest(QualityLevel level) override {
        levels.push_back(level);
        return std::make_unique<FakeRequest>(*this);
    }
    std::optional<platform::PlatformError> unavailable() override { return std::nullopt; }
    std::string implementation() const override { return "fake"; }
};

}  // namespace cobaltreel
