#include "Platform/Capture/PipeWire/CameraFormat.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include <spa/param/format-utils.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

namespace platform::pipewire {

namespace {

/// What PictureConverter reads, the cheapest to convert first.
constexpr std::array<std::uint32_t, 14> readablePixelFormats{
    SPA_VIDEO_FORMAT_I420, SPA_VIDEO_FORMAT_NV12, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_UYVY,
    SPA_VIDEO_FORMAT_YV12, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
    SPA_VIDEO_FORMAT_RGBA, SPA_VIDEO_FORMAT_xRGB, SPA_VIDEO_FORMAT_xBGR, SPA_VIDEO_FORMAT_BGR,
    SPA_VIDEO_FORMAT_RGB,  SPA_VIDEO_FORMAT_NV21};

bool isReadable(std::uint32_t format) {
    return std::ranges::find(readablePixelFormats, format) != readablePixelFormats.end();
}

/// The values of a property, fixed or a choice. The first value of a choice is its default, which an
/// enumeration repeats among its alternatives.
template <typename Value>
struct Values {
    std::vector<Value> all;
    bool isRange = false;
};
template <typename Value>
Values<Value> valuesOf(const spa_pod_prop* prop, std::uint32_t type) {
    if (prop == nullptr) return {};
    std::uint32_t count = 0;
    std::uint32_t choice = SPA_CHOICE_None;
    spa_pod* values = spa_pod_get_values(&prop->value, &count, &choice);
    if (SPA_POD_TYPE(values) != type || SPA_POD_BODY_SIZE(values) < sizeof(Value)) return {};
    const auto* data = static_cast<const Value*>(SPA_POD_BODY(values));
    Values<Value> result;
    if (choice == SPA_CHOICE_None || count <= 1) {
        result.all.assign(data, data + std::min(count, 1U));
    } else if (choice == SPA_CHOICE_Range || choice == SPA_CHOICE_Step) {
        if (count < 3) return {};
        result.all.assign(data + 1, data + 3);
        result.isRange = true;
    } else {
        result.all.assign(data + 1, data + count);
    }
    return result;
}

double toRate(const spa_fraction& fraction) {
    return fraction.denom == 0 ? 0 : static_cast<double>(fraction.num) / fraction.denom;
}

/// How well a way to run the camera serves; the larger the better.
double score(const CameraFormat& format, Size wanted, double rate) {
    const double fluent = format.rate > 0 ? std::min(format.rate / rate, 1.0) : 0.9;
    const double scale = std::min(static_cast<double>(format.size.width) / wanted.width,
                                  static_cast<double>(format.size.height) / wanted.height);
    const double sharp = std::sqrt(std::min(scale, 1.0));
    const double pixels = static_cast<double>(format.size.width) * format.size.height;
    const double surplus =
        std::max(0.0, std::log2(pixels / (static_cast<double>(wanted.width) * wanted.height)));
    const double surplusRate = std::max(0.0, std::log2(std::max(format.rate, 1.0) / rate));
    return fluent * sharp * (1 - 0.02 * surplus) * (1 - 0.02 * surplusRate) * (format.isMjpeg ? 0.99 : 1.0);
}

}  // namespace

std::optional<OfferedFormat> readOfferedFormat(const spa_pod* param) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (spa_format_parse(param, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video) return std::nullopt;
    OfferedFormat offered;
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg) {
        offered.isMjpeg = true;
    } else if (subtype == SPA_MEDIA_SUBTYPE_raw) {
        const auto formats =
            valuesOf<std::uint32_t>(spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_format), SPA_TYPE_Id);
        std::ranges::copy_if(formats.all, std::back_inserter(offered.pixelFormats), isReadable);
        if (offered.pixelFormats.empty()) return std::nullopt;
    } else {
        return std::nullopt;
    }
    const auto sizes =
        valuesOf<spa_rectangle>(spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_size), SPA_TYPE_Rectangle);
    for (const auto& size : sizes.all) offered.sizes.push_back({size.width, size.height});
    offered.sizesAreRange = sizes.isRange;
    const auto rates = valuesOf<spa_fraction>(spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_framerate),
                                              SPA_TYPE_Fraction);
    for (const auto& rate : rates.all) offered.rates.push_back(toRate(rate));
    offered.ratesAreRange = rates.isRange;
    if (offered.sizes.empty()) return std::nullopt;
    return offered;
}

std::optional<CameraFormat> bestFormat(const std::vector<OfferedFormat>& offered, Size wanted, double rate) {
    std::optional<CameraFormat> best;
    for (const auto& offer : offered) {
        std::vector<Size> sizes = offer.sizes;
        if (offer.sizesAreRange)
            sizes = {{std::clamp(wanted.width, offer.sizes[0].width,
                                 std::max(offer.sizes[0].width, offer.sizes[1].width)),
                      std::clamp(wanted.height, offer.sizes[0].height,
                                 std::max(offer.sizes[0].height, offer.sizes[1].height))}};
        std::vector<double> rates = offer.rates;
        if (offer.ratesAreRange)
            rates = {std::clamp(rate, offer.rates[0], std::max(offer.rates[0], offer.rates[1]))};
        if (rates.empty()) rates = {0};
        CameraFormat candidate;
        candidate.isMjpeg = offer.isMjpeg;
        if (!offer.isMjpeg)
            candidate.pixelFormat = *std::ranges::find_if(readablePixelFormats, [&](std::uint32_t format) {
                return std::ranges::find(offer.pixelFormats, format) != offer.pixelFormats.end();
            });
        for (const auto& size : sizes) {
            for (const double each : rates) {
                candidate.size = size;
                candidate.rate = each;
                if (!best || score(candidate, wanted, rate) > score(*best, wanted, rate)) best = candidate;
            }
        }
    }
    return best;
}

std::vector<const spa_pod*> formatParams(spa_pod_builder& builder, const std::optional<CameraFormat>& best,
                                         Size wanted) {
    std::vector<const spa_pod*> params;
    const auto add = [&](bool isMjpeg, bool anySize, Size size, const std::uint32_t* onlyFormat) {
        spa_pod_frame object;
        spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype,
                            SPA_POD_Id(isMjpeg ? SPA_MEDIA_SUBTYPE_mjpg : SPA_MEDIA_SUBTYPE_raw), 0);
        if (!isMjpeg) {
            spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
            if (onlyFormat != nullptr) {
                spa_pod_builder_id(&builder, *onlyFormat);
            } else {
                spa_pod_frame choice;
                spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
                spa_pod_builder_id(&builder, readablePixelFormats.front());
                for (const std::uint32_t format : readablePixelFormats) spa_pod_builder_id(&builder, format);
                spa_pod_builder_pop(&builder, &choice);
            }
        }
        const spa_rectangle preferred{size.width, size.height};
        const spa_rectangle smallest{16, 16};
        const spa_rectangle largest{8192, 8192};
        const spa_fraction usual{30, 1};
        const spa_fraction slowest{0, 1};
        const spa_fraction fastest{240, 1};
        if (anySize)
            spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size,
                                SPA_POD_CHOICE_RANGE_Rectangle(&preferred, &smallest, &largest), 0);
        else
            spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&preferred), 0);
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_framerate,
                            SPA_POD_CHOICE_RANGE_Fraction(&usual, &slowest, &fastest), 0);
        params.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object)));
    };
    if (best) add(best->isMjpeg, false, best->size, &best->pixelFormat);
    add(false, true, wanted, nullptr);
    add(true, true, wanted, nullptr);
    return params;
}

}  // namespace platform::pipewire
