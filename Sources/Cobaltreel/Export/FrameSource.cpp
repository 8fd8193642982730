#include "Cobaltreel/Export/FrameSource.hpp"

#include <utility>

namespace cobaltreel {

using platform::AssetReader;

FrameSource::FrameSource(std::unique_ptr<AssetReader> reader, double origin)
    : reader_(std::move(reader)), origin_(origin) {}

void FrameSource::advance(double t) {
    if (finished_) return;
    if (pending_) {
        if (pending_->time > t) return;
        current_ = std::move(pending_->image);
        pending_.reset();
    }
    while (reader_->status() == AssetReader::Status::reading) {
        auto sample = reader_->copyNextSampleBuffer();
        if (!sample || !sample->image) break;
        const double time = sample->presentationTime.seconds() - origin_;
        if (time > t) {
            pending_ = Pending{std::move(sample->image), time};
            return;
        }
        current_ = std::move(sample->image);
    }
    finished_ = true;
}

std::optional<platform::PlatformError> FrameSource::error() const {
    return reader_->status() == AssetReader::Status::failed ? reader_->error() : std::nullopt;
}

}  // namespace cobaltreel
