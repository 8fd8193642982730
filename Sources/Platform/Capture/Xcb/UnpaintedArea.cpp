#include "Platform/Capture/Xcb/UnpaintedArea.hpp"

namespace platform {

namespace {

/// Scattered painting leaves ever smaller pieces; past this many, their box stands for them.
constexpr std::size_t mostPieces = 256;

void simplify(RectList& area) {
    if (area.size() <= mostPieces) return;
    PixelRect box;
    for (const PixelRect& each : area) box = united(box, each);
    area = {box};
}

void unite(RectList& area, const RectList& with) {
    for (const PixelRect& each : with) {
        const RectList fresh = without(RectList{each}, area);
        area.insert(area.end(), fresh.begin(), fresh.end());
    }
    simplify(area);
}

}  // namespace

void UnpaintedArea::begin(const PixelRect& whole, const RectList& painted) {
    whole_ = whole;
    carried_.clear();
    reported_.clear();
    unpainted_ = without(RectList{whole}, painted);
    simplify(unpainted_);
}

void UnpaintedArea::resize(const PixelRect& whole) {
    const RectList before = rects();
    whole_ = whole;
    unpainted_ = {whole};
    carried_.clear();
    reported_.clear();
    carry(before);
}

void UnpaintedArea::setShape(const PixelRect& box) {
    shape_ = box;
    reported_.clear();
}

void UnpaintedArea::owe(const PixelRect& part) { unite(unpainted_, intersected(RectList{part}, whole_)); }

void UnpaintedArea::move(const PixelRect& part, int dx, int dy) {
    RectList moved;
    for (const PixelRect& each : intersected(rects(), part)) moved.push_back(each.translated(dx, dy));
    carry(moved);
}

void UnpaintedArea::settle() {
    unite(unpainted_, carried_);
    carried_.clear();
}

void UnpaintedArea::paint(const PixelRect& part) {
    unpainted_ = without(unpainted_, part.intersected(shape_));
    const RectList outside = without(RectList{part}, shape_);
    if (!outside.empty()) {
        unpainted_ = without(unpainted_, intersected(reported_, outside));
        unite(reported_, outside);
    }
    simplify(unpainted_);
}

RectList UnpaintedArea::rects() const {
    RectList all = unpainted_;
    unite(all, carried_);
    return all;
}

void UnpaintedArea::carry(const RectList& area) { unite(carried_, intersected(area, whole_)); }

}  // namespace platform
