#include "Platform/Capture/Xcb/UnpaintedArea.hpp"

#include <utility>

namespace platform {

namespace {

/// Scattered painting leaves ever smaller pieces; past this many, their box stands for them.
constexpr std::size_t maxPieces = 256;

void simplify(RectList& area) {
    if (area.size() <= maxPieces) return;
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
    isGainDue_ = false;
    carried_.clear();
    reported_.clear();
    unpainted_ = without(RectList{whole}, painted);
    simplify(unpainted_);
}

void UnpaintedArea::resize(const PixelRect& whole) {
    const RectList before = rects();
    kept_ = whole_.intersected(whole);
    isGainDue_ = kept_ != whole;
    whole_ = whole;
    unpainted_ = {whole};
    carried_.clear();
    reported_.clear();
    carry(before);
}

void UnpaintedArea::setShape(RectList shape) {
    shape_ = std::move(shape);
    reported_.clear();
}

void UnpaintedArea::unsettle() { carry(RectList(unpainted_)); }

void UnpaintedArea::owe(const PixelRect& part) { unite(unpainted_, intersected(RectList{part}, whole_)); }

void UnpaintedArea::move(const PixelRect& part, int dx, int dy) {
    unsettle();
    RectList moved;
    for (const PixelRect& each : intersected(rects(), part)) moved.push_back(each.translated(dx, dy));
    carry(moved);
}

void UnpaintedArea::settle() {
    isGainDue_ = false;
    unite(unpainted_, carried_);
    carried_.clear();
}

void UnpaintedArea::paint(const PixelRect& part) {
    if (isGainDue_) {
        if (part.intersected(kept_).isEmpty()) return;
        isGainDue_ = false;
    }
    for (const PixelRect& inside : intersected(shape_, part)) unpainted_ = without(unpainted_, inside);
    // What a shape will gain is reported once by the server itself.
    if (const RectList outside = without(RectList{part}, shape_); !outside.empty()) {
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
