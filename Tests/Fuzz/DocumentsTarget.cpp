// The two documents of a session, from bytes that anybody may have written.
#include "CobaltreelCore/DocumentError.hpp"
#include "CobaltreelCore/SessionDocuments.hpp"
#include "CobaltreelCore/Transforms.hpp"
#include "CobaltreelCore/TrimMath.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace cobaltreel;

namespace {

/// What was read is written and reads back as the same, and what is computed from it ends.
void useMeta(std::string_view bytes) {
    const SessionMeta meta = SessionDocuments::decodeSessionMeta(bytes);
    if (SessionDocuments::decodeSessionMeta(SessionDocuments::encode(meta)) != meta) std::abort();
    OutputSize::compute(meta.captureWidthPx, meta.captureHeightPx, 720);
}

void useEvents(std::string_view bytes) {
    const EventLog log = SessionDocuments::decodeEventLog(bytes);
    if (SessionDocuments::decodeEventLog(SessionDocuments::encode(log)) != log) std::abort();
    SessionMeta meta = SessionMeta::makeDefault();
    for (const CaptureMode mode : {CaptureMode::display, CaptureMode::window}) {
        meta.mode = mode;
        const auto clicks = Transforms::clicks(log, meta, 540);
        const auto moves = ZoomEngine::moves(clicks, 1920, 1080, 60, ZoomConfig{});
        ZoomEngine::evaluate(moves, 30, 1920, 1080);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const auto use : {useMeta, useEvents}) {
        try {
            use(bytes);
        } catch (const DocumentError&) {
        }
    }
    return 0;
}
