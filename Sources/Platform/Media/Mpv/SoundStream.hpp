#pragma once

#include "Platform/Media/AudioMix.hpp"
#include "Platform/Media/Mpv/MpvHandle.hpp"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include <mpv/stream_cb.h>

namespace platform::mpv {

/// Serves a mix to the library as a file of raw samples that is computed as it is read. A second of silence
/// follows it: the library reports the end once the last sample is queued, before it is heard. Any thread.
class SoundStream {
  public:
    /// Makes the mix readable at `address(item)` in place of the one before.
    void serve(std::uint64_t item, std::shared_ptr<AudioMix> mix);
    static std::string address(std::uint64_t item);
    /// Takes effect for the handle's life; this object must outlive it.
    void registerWith(mpv_handle* handle);

  private:
    struct Cursor;
    static int open(void* self, char* address, mpv_stream_cb_info* info);

    std::mutex mutex_;
    std::uint64_t item_ = 0;
    std::shared_ptr<AudioMix> mix_;
};

}  // namespace platform::mpv
