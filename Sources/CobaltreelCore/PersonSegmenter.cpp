#include "CobaltreelCore/PersonSegmenter.hpp"

#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace cobaltreel {

namespace {

using platform::ConstPixelBufferRef;
using platform::Image;
using Request = platform::PersonSegmentationRequest;

constexpr double edgeSoftness = 1.5;  // pixels of the frame; hides the steps of an enlarged mask

Request::QualityLevel level(PersonSegmenter::Quality quality) {
    return quality == PersonSegmenter::Quality::fast ? Request::QualityLevel::fast
                                                     : Request::QualityLevel::accurate;
}

Image softMask(ConstPixelBufferRef mask, double frameWidth, double frameHeight) {
    const double sx = frameWidth / mask->width();
    const double sy = frameHeight / mask->height();
    const Image scaled = Image::fromBuffer(std::move(mask)).scaled(sx, sy);
    const Image soft = scaled.gaussianBlurred(edgeSoftness).value_or(scaled);
    return soft.cropped({0, 0, frameWidth, frameHeight}).memoized();
}

}  // namespace

PersonSegmenter::PersonSegmenter(Quality quality, std::shared_ptr<platform::VisionService> vision)
    : quality_(quality), vision_(std::move(vision)) {}

std::optional<Image> PersonSegmenter::mask(const ConstPixelBufferRef& frame) {
    std::vector<ConstPixelBufferRef> results;
    try {
        if (!request_) request_ = vision_->makePersonSegmentationRequest(level(quality_));
        results = request_->perform(*frame);
    } catch (const std::exception& error) {
        return noteFailure(std::string("perform threw: ") + error.what());
    }
    if (results.empty()) return noteFailure("no results");
    const ConstPixelBufferRef& found = results.front();
    if (!found || found->width() < 1 || found->height() < 1) return noteFailure("empty mask buffer");
    lastMask_ = softMask(found, frame->width(), frame->height());
    return lastMask_;
}

std::optional<Image> PersonSegmenter::noteFailure(std::string_view reason) {
    if (!std::exchange(didLogFailure_, true)) {
        const std::string line = "Cobaltreel PersonSegmenter: segmentation failed (" + std::string(reason) +
                                 "); using last mask / bubble fallback\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    return lastMask_;
}

std::optional<Image> PersonSegmenter::apply(const Image& mask, const Image& image) {
    return image.blendedWithMask(mask);
}

}  // namespace cobaltreel
