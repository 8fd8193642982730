#include "Platform/Imaging/TilePainter.hpp"

#include "Platform/Imaging/GaussianBlur.hpp"
#include "Platform/Imaging/PixelKernels.hpp"
#include "Platform/Imaging/QtRaster/CanvasRaster.hpp"
#include "Platform/Imaging/Yuv/GrayConversion.hpp"
#include "Platform/Imaging/YuvToBgra.hpp"

#include <array>
#include <cmath>
#include <cstring>

namespace platform::imaging {
namespace {

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

/// Premultiplied, each channel 0…255 with fractions: blue, green, red, alpha.
std::array<double, 4> premultiplied(const Color& color) {
    const auto unit = [](double v) { return v > 0 ? std::min(v, 1.0) : 0.0; };
    const double alpha = unit(color.alpha);
    return {unit(color.blue) * alpha * 255, unit(color.green) * alpha * 255, unit(color.red) * alpha * 255,
            alpha * 255};
}

std::uint32_t pixelOf(const std::array<double, 4>& channels, double coverage) {
    std::array<std::uint8_t, 4> bytes{};
    for (std::size_t c = 0; c < 4; ++c)
        bytes[c] = static_cast<std::uint8_t>(std::lround(channels[c] * coverage));
    std::uint32_t pixel;
    std::memcpy(&pixel, bytes.data(), 4);
    return pixel;
}

void fillTile(Tile& tile, std::uint32_t pixel) {
    for (int y = tile.rect.top; y < tile.rect.bottom; ++y) {
        std::uint8_t* row = tile.at(tile.rect.left, y);
        for (int x = 0; x < tile.rect.width(); ++x) std::memcpy(row + 4 * x, &pixel, 4);
    }
    tile.blank = false;
}

bool isOpaque(const PixelBuffer& buffer) { return buffer.format() != PixelFormat::bgra; }

void resample(Resampler& resampler, const Plane& plane, const AxisSampling& x, const AxisSampling& y,
              Tile& tile) {
    resampler.resample(plane.data, plane.stride, tile.channels, x, y, tile.at(tile.rect.left, tile.rect.top),
                       tile.stride);
    tile.blank = false;
}

void blendRows(const std::uint8_t* top, int topStride, Tile& tile, const PixelBox& rect) {
    for (int y = rect.top; y < rect.bottom; ++y)
        pixelKernels().blendOver(top + static_cast<std::ptrdiff_t>(y - rect.top) * topStride,
                                 tile.at(rect.left, y), rect.width());
}

}  // namespace

/// A picture that is one color wherever its mask lets it show: only the mask varies.
struct TilePainter::Tint {
    Color color;
    const ImageNode* mask;
    View view;
};

template <typename Draw>
void TilePainter::compose(Tile& tile, const PixelBox& rect, bool opaque, Draw draw) {
    if (tile.blank || opaque) {
        if (tile.blank) tile.clearOutside(rect);
        Tile part = tile.part(rect);
        draw(part);
        part.settle();
        return;
    }
    ScratchTile scratch(memory_, rect, 4);
    draw(scratch.tile);
    if (!scratch.tile.blank) blendRows(scratch.tile.data, scratch.tile.stride, tile, rect);
}

void TilePainter::paint(const ImageNode& node, const View& view, Tile& tile) {
    const PixelBox rect = shownPixels(node, view, tile.rect);
    if (rect.isEmpty()) return;
    std::visit(Overloaded{
                   [](const std::monostate&) {},
                   [&](const BufferNode& n) { paintBuffer(*n.buffer, view, rect, tile); },
                   [&](const ConstantNode& n) { paintConstant(n.color, rect, tile); },
                   [&](const CanvasNode& n) {
                       compose(tile, rect, false, [&](Tile& part) {
                           part.settle();
                           rasteriseCanvas(n, view.map, part);
                       });
                   },
                   [&](const CropNode& n) { paint(*n.child, view.cropped(n.to), tile); },
                   [&](const AffineNode& n) { paint(*n.child, view.through(n.map), tile); },
                   [&](const OverNode& n) {
                       paint(*n.below, view, tile);
                       paint(*n.top, view, tile);
                   },
                   [&](const MaskNode& n) {
                       compose(tile, rect, false, [&](Tile& part) { fillMasked(n, view, part); });
                   },
                   [&](const BlurNode& n) {
                       compose(tile, rect, false, [&](Tile& part) { fillBlurred(n, view, part); });
                   },
                   [&](const MemoNode& n) {
                       paintBuffer(bgraOf(n), view.through({1, 1, n.pixels.x, n.pixels.y}), rect, tile);
                   },
               },
               node.content);
}

void TilePainter::paintGreen(const ImageNode& node, const View& view, Tile& tile) {
    const PixelBox rect = shownPixels(node, view, tile.rect);
    tile.clearOutside(rect);
    if (rect.isEmpty()) return;
    Tile part = tile.part(rect);
    const auto fromBuffer = [&](const PixelBuffer& buffer, const View& placedView) {
        const PlacedBuffer placed(buffer, placedView);
        resample(memory_.resampler(), buffer.plane(), placed.alongX(rect), placed.alongY(rect), part);
    };
    const auto fromColors = [&] {
        ScratchTile scratch(memory_, rect, 4);
        paint(node, view, scratch.tile);
        scratch.tile.settle();
        for (int y = rect.top; y < rect.bottom; ++y) {
            const std::uint8_t* colors = scratch.tile.at(rect.left, y);
            std::uint8_t* green = part.at(rect.left, y);
            for (int x = 0; x < rect.width(); ++x) green[x] = colors[4 * x + 1];
        }
    };
    std::visit(Overloaded{
                   [&](const BufferNode& n) {
                       n.buffer->format() == PixelFormat::gray8 ? fromBuffer(*n.buffer, view) : fromColors();
                   },
                   [&](const CropNode& n) { paintGreen(*n.child, view.cropped(n.to), part); },
                   [&](const AffineNode& n) { paintGreen(*n.child, view.through(n.map), part); },
                   [&](const BlurNode& n) { fillBlurred(n, view, part); },
                   [&](const MemoNode& n) {
                       fromBuffer(greenOf(n), view.through({1, 1, n.pixels.x, n.pixels.y}));
                   },
                   [&](const auto&) { fromColors(); },
               },
               node.content);
}

void TilePainter::paintBuffer(const PixelBuffer& buffer, const View& view, const PixelBox& rect, Tile& tile) {
    const PlacedBuffer placed(buffer, view);
    if (buffer.format() == PixelFormat::bgra && !tile.blank) {
        const AxisSampling x = placed.alongX(rect), y = placed.alongY(rect);
        if (x.isCopy() && y.isCopy()) {
            const Plane& plane = buffer.plane();
            blendRows(
                plane.data + static_cast<std::ptrdiff_t>(y.copyStart()) * plane.stride + 4 * x.copyStart(),
                plane.stride, tile, rect);
            return;
        }
    }
    compose(tile, rect, isOpaque(buffer), [&](Tile& part) { fillFromPlanes(placed, part); });
}

void TilePainter::fillFromPlanes(const PlacedBuffer& placed, Tile& tile) {
    const PixelBuffer& buffer = placed.buffer;
    const PixelBox rect = tile.rect;
    const AxisSampling x = placed.alongX(rect), y = placed.alongY(rect);
    Resampler& resampler = memory_.resampler();
    if (buffer.format() == PixelFormat::bgra) return resample(resampler, buffer.plane(), x, y, tile);

    std::uint8_t* const pixels = tile.at(rect.left, rect.top);
    tile.blank = false;
    if (buffer.format() == PixelFormat::gray8) {
        ScratchTile gray(memory_, rect, 1);
        resample(resampler, buffer.plane(), x, y, gray.tile);
        grayToBgra(gray.tile.data, gray.tile.stride, pixels, tile.stride, rect.width(), rect.height());
        return;
    }
    if (x.isCopy() && y.isCopy() && x.copyStart() % 2 == 0 && y.copyStart() % 2 == 0) {
        i420ToBgra(viewOf(buffer, x.copyStart(), y.copyStart(), rect.width(), rect.height()), buffer.matrix(),
                   pixels, tile.stride);
        return;
    }
    ScratchTile luma(memory_, rect, 1), u(memory_, rect, 1), v(memory_, rect, 1);
    const AxisSampling chromaX = placed.chromaAlongX(rect, 1), chromaY = placed.chromaAlongY(rect, 1);
    resample(resampler, buffer.plane(0), x, y, luma.tile);
    resample(resampler, buffer.plane(1), chromaX, chromaY, u.tile);
    resample(resampler, buffer.plane(2), chromaX, chromaY, v.tile);
    const I420View planes{{luma.tile.data, u.tile.data, v.tile.data},
                          {luma.tile.stride, u.tile.stride, v.tile.stride},
                          rect.width(),
                          rect.height()};
    i444ToBgra(planes, buffer.matrix(), pixels, tile.stride);
}

void TilePainter::paintConstant(const Color& color, const PixelBox& rect, Tile& tile) {
    const auto channels = premultiplied(color);
    const std::uint32_t pixel = pixelOf(channels, 1);
    compose(tile, rect, pixel >> 24 == 255, [&](Tile& part) { fillTile(part, pixel); });
}

void TilePainter::fillMasked(const MaskNode& node, const View& view, Tile& tile) {
    ScratchTile mask(memory_, tile.rect, 1);
    paint(*node.input, view, tile);
    if (tile.blank) return;
    paintGreen(*node.mask, view, mask.tile);
    for (int y = tile.rect.top; y < tile.rect.bottom; ++y)
        pixelKernels().multiplyByMask(tile.at(tile.rect.left, y), mask.tile.at(tile.rect.left, y),
                                      tile.rect.width());
}

void TilePainter::fillBlurred(const BlurNode& node, const View& view, Tile& tile) {
    const double sigmaX = node.sigma * std::abs(view.map.sx), sigmaY = node.sigma * std::abs(view.map.sy);
    const double factor = largestBlurSigma / std::max(sigmaX, sigmaY);
    if (factor >= 1) {
        fillBlurredPixels(node, view, sigmaX, sigmaY, tile);
        return;
    }
    // A wide blur leaves no fine detail: it is computed small and enlarged.
    View small = view;
    small.map = AxisMap{factor, factor, 0, 0}.after(view.map);
    const auto scaledEdge = [factor](int v) { return v * factor; };
    const PixelBox rect{static_cast<int>(std::floor(scaledEdge(tile.rect.left))) - 1,
                        static_cast<int>(std::floor(scaledEdge(tile.rect.top))) - 1,
                        static_cast<int>(std::ceil(scaledEdge(tile.rect.right))) + 1,
                        static_cast<int>(std::ceil(scaledEdge(tile.rect.bottom))) + 1};
    ScratchTile reduced(memory_, rect, tile.channels);
    fillBlurredPixels(node, small, sigmaX * factor, sigmaY * factor, reduced.tile);
    const auto axis = [factor](int first, int count, int smallFirst, int smallCount) {
        return samplingOf(1 / factor, smallFirst / factor, first, count, 0, smallCount, smallCount);
    };
    const Plane plane{reduced.tile.data, reduced.tile.stride, rect.width(), rect.height()};
    resample(memory_.resampler(), plane, axis(tile.rect.left, tile.rect.width(), rect.left, rect.width()),
             axis(tile.rect.top, tile.rect.height(), rect.top, rect.height()), tile);
}

void TilePainter::fillBlurredPixels(const BlurNode& node, const View& view, double sigmaX, double sigmaY,
                                    Tile& tile) {
    const int reachX = blurReach(sigmaX), reachY = blurReach(sigmaY);
    const View whole{view.map};
    const PixelBox wanted{tile.rect.left - reachX, tile.rect.top - reachY, tile.rect.right + reachX,
                          tile.rect.bottom + reachY};
    const PixelBox source = shownPixels(*node.child, whole, wanted);
    if (source.isEmpty()) {
        tile.clearOutside({});
        return;
    }
    if (tile.channels == 1) {
        ScratchTile sharp(memory_, source, 1);
        paintGreen(*node.child, whole, sharp.tile);
        gaussianBlur(sharp.tile, tile, sigmaX, sigmaY, memory_);
    } else if (const auto tint = tintOf(*node.child, whole)) {
        ScratchTile sharp(memory_, source, 1), soft(memory_, tile.rect, 1);
        paintGreen(*tint->mask, tint->view, sharp.tile);
        gaussianBlur(sharp.tile, soft.tile, sigmaX, sigmaY, memory_);
        fillTinted(*tint, soft.tile, tile);
    } else {
        ScratchTile sharp(memory_, source, 4);
        paint(*node.child, whole, sharp.tile);
        sharp.tile.settle();
        gaussianBlur(sharp.tile, tile, sigmaX, sigmaY, memory_);
    }
}

void TilePainter::fillTinted(const Tint& tint, const Tile& coverage, Tile& tile) {
    const auto channels = premultiplied(tint.color);
    std::array<std::uint32_t, 256> pixels{};
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = pixelOf(channels, static_cast<double>(i) / 255);
    for (int y = tile.rect.top; y < tile.rect.bottom; ++y) {
        const std::uint8_t* cover = coverage.at(tile.rect.left, y);
        std::uint8_t* row = tile.at(tile.rect.left, y);
        for (int x = 0; x < tile.rect.width(); ++x) std::memcpy(row + 4 * x, &pixels[cover[x]], 4);
    }
    tile.blank = false;
}

std::optional<TilePainter::Tint> TilePainter::tintOf(const ImageNode& node, View view) {
    const auto descend = [](const ImageNode* at, View& seen) {
        while (true) {
            if (const auto* crop = std::get_if<CropNode>(&at->content)) {
                seen = seen.cropped(crop->to);
                at = crop->child.get();
            } else if (const auto* affine = std::get_if<AffineNode>(&at->content)) {
                seen = seen.through(affine->map);
                at = affine->child.get();
            } else {
                return at;
            }
        }
    };
    const auto* masked = std::get_if<MaskNode>(&descend(&node, view)->content);
    if (!masked) return std::nullopt;
    View ofInput = view;
    const auto* constant = std::get_if<ConstantNode>(&descend(masked->input.get(), ofInput)->content);
    if (!constant) return std::nullopt;
    view.clip = ofInput.clip;
    return Tint{constant->color, masked->mask.get(), view};
}

const PixelBuffer& TilePainter::bgraOf(const MemoNode& node) {
    std::call_once(node.store->bgraOnce, [&] {
        auto kept = std::make_shared<PixelBuffer>(PixelFormat::bgra, static_cast<int>(node.pixels.w),
                                                  static_cast<int>(node.pixels.h));
        Tile tile{{0, 0, kept->width(), kept->height()}, kept->plane().data, kept->plane().stride, 4};
        paint(*node.child, {AxisMap{1, -1, -node.pixels.x, node.pixels.maxY()}}, tile);
        tile.settle();
        node.store->bgra = std::move(kept);
    });
    return *node.store->bgra;
}

const PixelBuffer& TilePainter::greenOf(const MemoNode& node) {
    std::call_once(node.store->greenOnce, [&] {
        auto kept = std::make_shared<PixelBuffer>(PixelFormat::gray8, static_cast<int>(node.pixels.w),
                                                  static_cast<int>(node.pixels.h));
        Tile tile{{0, 0, kept->width(), kept->height()}, kept->plane().data, kept->plane().stride, 1};
        paintGreen(*node.child, {AxisMap{1, -1, -node.pixels.x, node.pixels.maxY()}}, tile);
        node.store->green = std::move(kept);
    });
    return *node.store->green;
}

}  // namespace platform::imaging
