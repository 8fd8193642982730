#include "Platform/Media/Mpv/SoundStream.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include <mpv/stream_cb.h>

namespace platform::mpv {
namespace {

constexpr std::int64_t frameBytes = AudioMix::channels * sizeof(float);
// A sixth of a second at a time: the library asks again, and a seek does not wait for more than this.
constexpr std::int64_t mostFrames = 8192;
constexpr std::int64_t silenceAfter = AudioMix::sampleRate;
constexpr const char* protocol = "cobaltreel";

}  // namespace

/// One reading of a mix, used by one thread of the library at a time.
struct SoundStream::Cursor {
    std::shared_ptr<AudioMix> mix;
    std::int64_t position = 0;  // bytes
    std::vector<float> samples;

    std::int64_t frames() const { return mix->frameCount() + silenceAfter; }
    std::int64_t size() const { return frames() * frameBytes; }

    std::int64_t read(char* target, std::uint64_t wanted) {
        const std::int64_t first = position / frameBytes, skipped = position % frameBytes;
        const auto most = static_cast<std::int64_t>(std::min<std::uint64_t>(wanted, mostFrames * frameBytes));
        const std::int64_t count =
            std::min({(skipped + most + frameBytes - 1) / frameBytes, mostFrames, frames() - first});
        if (count <= 0) return 0;
        samples.resize(static_cast<std::size_t>(count * AudioMix::channels));
        mix->read(first, samples);
        const std::int64_t bytes = std::min(count * frameBytes - skipped, most);
        std::memcpy(target, reinterpret_cast<const char*>(samples.data()) + skipped,
                    static_cast<std::size_t>(bytes));
        position += bytes;
        return bytes;
    }
};

void SoundStream::serve(std::uint64_t item, std::shared_ptr<AudioMix> mix) {
    const std::lock_guard lock(mutex_);
    item_ = item;
    mix_ = std::move(mix);
}

std::string SoundStream::address(std::uint64_t item) {
    return std::string(protocol) + "://" + std::to_string(item);
}

void SoundStream::registerWith(mpv_handle* handle) {
    if (const int result = mpv_stream_cb_add_ro(handle, protocol, this, &SoundStream::open); result < 0)
        throw libraryError(result, "Sound cannot be played: libmpv does not take it from this program");
}

int SoundStream::open(void* self, char* wanted, mpv_stream_cb_info* info) {
    try {
        auto& stream = *static_cast<SoundStream*>(self);
        auto cursor = std::make_unique<Cursor>();
        {
            const std::lock_guard lock(stream.mutex_);
            if (!stream.mix_ || address(stream.item_) != wanted) return MPV_ERROR_LOADING_FAILED;
            // Each is read once; handing it over lets its files be closed with the reading.
            cursor->mix = std::move(stream.mix_);
        }
        info->cookie = cursor.release();
    } catch (const std::exception&) {
        return MPV_ERROR_LOADING_FAILED;
    }
    info->read_fn = [](void* cookie, char* target, std::uint64_t wantedBytes) -> std::int64_t {
        try {
            return static_cast<Cursor*>(cookie)->read(target, wantedBytes);
        } catch (const std::exception&) {
            return -1;
        }
    };
    info->seek_fn = [](void* cookie, std::int64_t offset) -> std::int64_t {
        auto& cursor = *static_cast<Cursor*>(cookie);
        if (offset < 0 || offset > cursor.size()) return MPV_ERROR_GENERIC;
        return cursor.position = offset;
    };
    info->size_fn = [](void* cookie) -> std::int64_t { return static_cast<Cursor*>(cookie)->size(); };
    info->close_fn = [](void* cookie) { delete static_cast<Cursor*>(cookie); };
    info->cancel_fn = [](void* cookie) { static_cast<Cursor*>(cookie)->mix->interrupt(); };
    return 0;
}

}  // namespace platform::mpv
