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

}  // namespace cobaltreel
