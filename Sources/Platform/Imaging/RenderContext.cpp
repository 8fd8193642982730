#include "Platform/Imaging/RenderContext.hpp"

#include "Platform/Imaging/TilePainter.hpp"
#include "Platform/Imaging/Yuv/GrayConversion.hpp"
#include "Platform/Imaging/YuvBlend.hpp"

#include <utility>
#include <vector>

namespace platform {
namespace {

using namespace imaging;

/// One of the pictures that lie on each other, the lowest first.
struct Layer {
    const ImageNode* node;
    View view;
    PixelBox shown;
};

/// Layers that overlap, composed together; `area` has even edges except at the target's own end.
struct LayerGroup {
    PixelBox area;
    std::vector<const Layer*> layers;
};

/// Takes a stack of pictures apart, as far as it consists of nothing but pictures on each other.
void collectLayers(const ImageNode& node, const View& view, const PixelBox& target,
                   std::vector<Layer>& layers) {
    const PixelBox shown = shownPixels(node, view, target);
    if (shown.isEmpty()) return;
    if (const auto* over = std::get_if<OverNode>(&node.content)) {
        collectLayers(*over->below, view, target, layers);
        collectLayers(*over->top, view, target, layers);
    } else if (const auto* crop = std::get_if<CropNode>(&node.content)) {
        collectLayers(*crop->child, view.cropped(crop->to), target, layers);
    } else if (const auto* affine = std::get_if<AffineNode>(&node.content)) {
        collectLayers(*affine->child, view.through(affine->map), target, layers);
    } else {
        layers.push_back({&node, view, shown});
    }
}

PixelBox grownToEven(const PixelBox& r, const PixelBox& target) {
    return PixelBox{r.left & ~1, r.top & ~1, (r.right + 1) & ~1, (r.bottom + 1) & ~1}.intersected(target);
}

/// Joins layers whose areas meet, so that each pixel of the target is composed once.
std::vector<LayerGroup> groupLayers(std::vector<Layer>::const_iterator begin,
                                    std::vector<Layer>::const_iterator end, const PixelBox& target) {
    std::vector<LayerGroup> groups;
    for (auto layer = begin; layer != end; ++layer) {
        LayerGroup joined{grownToEven(layer->shown, target), {}};
        bool grew = true;
        while (grew) {
            grew = false;
            for (auto group = groups.begin(); group != groups.end() && !grew; ++group) {
                if (group->area.intersected(joined.area).isEmpty()) continue;
                joined.area = joined.area.united(group->area);
                joined.layers.insert(joined.layers.end(), group->layers.begin(), group->layers.end());
                groups.erase(group);
                grew = true;
            }
        }
        // Groups that were apart do not care which of them comes first; this layer lies over them all.
        joined.layers.push_back(&*layer);
        groups.push_back(std::move(joined));
    }
    return groups;
}

/// The buffer of a layer that can be resampled plane by plane: i420, ending where the target's chroma
/// samples end.
const PixelBuffer* planarBuffer(const Layer& layer, const PixelBox& target) {
    const auto* node = std::get_if<BufferNode>(&layer.node->content);
    if (!node || node->buffer->format() != PixelFormat::i420) return nullptr;
    return grownToEven(layer.shown, target) == layer.shown ? node->buffer.get() : nullptr;
}

void drawPlanes(const PixelBuffer& buffer, const Layer& layer, PixelBuffer& target, Resampler& resampler) {
    const PixelBox rect = layer.shown;
    const PlacedBuffer placed(buffer, layer.view);
    const I420View to = viewOf(target, rect.left, rect.top, rect.width(), rect.height());
    for (int i = 0; i < 3; ++i) {
        const Plane& plane = buffer.plane(i);
        const auto place = static_cast<std::size_t>(i);
        AxisSampling x = i == 0 ? placed.alongX(rect) : placed.chromaAlongX(rect, 2);
        AxisSampling y = i == 0 ? placed.alongY(rect) : placed.chromaAlongY(rect, 2);
        x.kernel = y.kernel = AxisKernel::cubic;
        resampler.resample(plane.data, plane.stride, 1, x, y, to.data[place], to.stride[place]);
    }
    convertMatrix(to, buffer.matrix(), target.matrix());
}

void renderPlanar(const ImageNode& root, const View& view, PixelBuffer& target, RenderMemory& memory) {
    const PixelBox whole{0, 0, target.width(), target.height()};
    std::vector<Layer> layers;
    collectLayers(root, view, whole, layers);

    auto overlays = layers.cbegin();
    const PixelBuffer* base = layers.empty() ? nullptr : planarBuffer(layers.front(), whole);
    if (!base || layers.front().shown != whole) fillBlack(viewOf(target), target.matrix());
    if (base) {
        drawPlanes(*base, layers.front(), target, memory.resampler());
        ++overlays;
    }
    TilePainter painter(memory);
    for (const LayerGroup& group : groupLayers(overlays, layers.cend(), whole)) {
        ScratchTile scratch(memory, group.area, 4);
        for (const Layer* layer : group.layers) painter.paint(*layer->node, layer->view, scratch.tile);
        if (scratch.tile.blank) continue;
        blendBgraOverI420(
            scratch.tile.data, scratch.tile.stride,
            viewOf(target, group.area.left, group.area.top, group.area.width(), group.area.height()),
            target.matrix());
    }
}

/// True for a picture that consists of gray8 buffers only: its green channel is all there is to know.
bool isGray(const ImageNode& node) {
    if (const auto* buffer = std::get_if<BufferNode>(&node.content))
        return buffer->buffer->format() == PixelFormat::gray8;
    if (const auto* crop = std::get_if<CropNode>(&node.content)) return isGray(*crop->child);
    if (const auto* affine = std::get_if<AffineNode>(&node.content)) return isGray(*affine->child);
    if (const auto* blur = std::get_if<BlurNode>(&node.content)) return isGray(*blur->child);
    if (const auto* memo = std::get_if<MemoNode>(&node.content)) return isGray(*memo->child);
    return false;
}

void renderGray(const ImageNode& root, const View& view, PixelBuffer& target, RenderMemory& memory) {
    const PixelBox whole{0, 0, target.width(), target.height()};
    const Plane& plane = target.plane();
    TilePainter painter(memory);
    if (isGray(root)) {
        Tile tile{whole, plane.data, plane.stride, 1};
        painter.paintGreen(root, view, tile);
        return;
    }
    ScratchTile scratch(memory, whole, 4);
    painter.paint(root, view, scratch.tile);
    scratch.tile.settle();
    bgraToGray(scratch.tile.data, scratch.tile.stride, plane.data, plane.stride, whole.width(),
               whole.height());
}

}  // namespace

struct RenderContext::Scratch {
    RenderMemory memory;
};

RenderContext::RenderContext() : scratch_(std::make_unique<Scratch>()) {}
RenderContext::~RenderContext() = default;
RenderContext::RenderContext(RenderContext&&) noexcept = default;
RenderContext& RenderContext::operator=(RenderContext&&) noexcept = default;

void RenderContext::render(const Image& image, PixelBuffer& target, const Rect& bounds) {
    // From the image plane to rows that run downwards from the bounds' upper edge. Bounds that are no
    // place at all make a map that is not usable, and so an empty picture.
    const View view{AxisMap{1, -1, -bounds.x, bounds.y + target.height()}};
    const ImageNode& root = *image.node();
    switch (target.format()) {
        case PixelFormat::i420:
            renderPlanar(root, view, target, scratch_->memory);
            return;
        case PixelFormat::gray8:
            renderGray(root, view, target, scratch_->memory);
            return;
        case PixelFormat::bgra:
            break;
    }
    const Plane& plane = target.plane();
    Tile tile{{0, 0, target.width(), target.height()}, plane.data, plane.stride, 4};
    TilePainter(scratch_->memory).paint(root, view, tile);
    tile.settle();
}

PixelBufferRef RenderContext::makeBitmap(const Image& image, int width, int height) {
    auto bitmap = std::make_shared<PixelBuffer>(PixelFormat::bgra, width, height);
    render(image, *bitmap, {0, 0, static_cast<double>(width), static_cast<double>(height)});
    return bitmap;
}

}  // namespace platform
