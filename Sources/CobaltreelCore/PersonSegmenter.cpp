#include "CobaltreelCore/PersonSegmenter.hpp"

#include "Platform/Imaging/Blend.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace cobaltreel {

namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelBufferRef;
using platform::PixelFormat;
using Request = platform::PersonSegmentationRequest;

constexpr double edgeSoftness = 1.5;  // pixels of the frame; hides the steps of an enlarged mask

Request::QualityLevel level(PersonSegmenter::Quality quality) {
    return quality == PersonSegmenter::Quality::fast ? Request::QualityLevel::fast
                                                     : Request::QualityLevel::accurate;
}

}  // namespace

PersonSegmenter::PersonSegmenter(Quality quality, std::shared_ptr<platform::VisionService> vision)
    : quality_(quality), vision_(std::move(vision)) {}

ConstPixelBufferRef PersonSegmenter::softMask(const PixelBuffer& found, const PixelBuffer& frame) {
    PixelBuffer scaled(PixelFormat::gray8, frame.width(), frame.height());
    resampler_.draw(found, boundsOf(found), scaled, boundsOf(scaled));
    const auto soft = std::make_shared<PixelBuffer>(PixelFormat::gray8, frame.width(), frame.height());
    resampler_.blur(scaled, *soft, edgeSoftness);
    return soft;
}

ConstPixelBufferRef PersonSegmenter::mask(const ConstPixelBufferRef& frame) {
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
    lastMask_ = softMask(*found, *frame);
    return lastMask_;
}

ConstPixelBufferRef PersonSegmenter::noteFailure(std::string_view reason) {
    if (!std::exchange(didLogFailure_, true)) {
        const std::string line = "Cobaltreel PersonSegmenter: segmentation failed (" + std::string(reason) +
                                 "); using last mask / bubble fallback\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    return lastMask_;
}

PixelBufferRef PersonSegmenter::apply(const PixelBuffer& mask, const PixelBuffer& image) {
    if (mask.width() != image.width() || mask.height() != image.height()) return nullptr;
    auto person = std::make_shared<PixelBuffer>(PixelFormat::bgra, image.width(), image.height());
    convertPixels(image, *person);
    multiplyByMask(*person, mask);
    return person;
}

}  // namespace cobaltreel
