#include "Cobaltreel/Export/ZoomPlan.hpp"

#include "CobaltreelCore/AnticipatingZoom.hpp"
#include "CobaltreelCore/TrimMath.hpp"

namespace cobaltreel {

std::vector<CameraMove> planZoom(ZoomTiming timing, const EventLog& log, const SessionMeta& meta,
                                 std::span<const Click> clicks, double trimStart, double trimEnd) {
    const auto width = static_cast<double>(meta.captureWidthPx),
               height = static_cast<double>(meta.captureHeightPx);
    const double duration = trimEnd - trimStart;
    if (timing == ZoomTiming::onClick)
        return ZoomEngine::moves(clicks, width, height, duration, ZoomConfig{});

    const ExportTiming times{trimStart, trimEnd, meta.screenFirstPTS.value_or(0), 0};
    auto pointer =
        Transforms::pointer(log, meta, meta.mainScreenHeightPoints.value_or(meta.displayFramePoints.h));
    for (PointerSample& sample : pointer) sample.t = times.outputTime(sample.t);
    return AnticipatingZoom::moves(clicks, pointer, width, height, duration);
}

}  // namespace cobaltreel
