#pragma once

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::ffmpeg {

/// A file that is written in whole pieces, in order, by a thread of its own: encoders never wait for a disk
/// that is slow for a moment, and whatever happens the file ends with a whole piece. Readable by its user
/// alone.
class FragmentFile {
  public:
    /// Creates the file; an existing one is emptied. Throws PlatformError.
    explicit FragmentFile(std::filesystem::path path);
    /// Writes what has been handed over, as far as that can be done, and closes the file.
    ~FragmentFile();
    FragmentFile(const FragmentFile&) = delete;
    FragmentFile& operator=(const FragmentFile&) = delete;

    /// What the library writes to. What it wrote since the last `cut` is still in memory and can be gone
    /// back in.
    AVIOContext* io() { return io_.get(); }
    /// What was written is a whole piece: hands it over to be written to the file. Waits only when the disk
    /// is a long way behind. Throws PlatformError once a piece could not be written. One thread at a time.
    void cut();
    /// Waits until all that was handed over before is in the file and on the disk. Throws PlatformError. Any
    /// thread.
    void sync();

  private:
    struct IoDeleter {
        void operator()(AVIOContext* io) const;
    };

    static int store(void* self, std::uint8_t* bytes, int size);
    static std::int64_t go(void* self, std::int64_t offset, int whence);
    void run();
    int writePiece(const std::vector<std::uint8_t>& piece);
    void throwFailure() const;

    const std::filesystem::path path_;
    UniqueFd fd_;

    // The piece being made, by one thread at a time.
    std::vector<std::uint8_t> piece_;
    std::int64_t pieceStart_ = 0;  // where it begins in the file
    std::size_t position_ = 0;     // in the piece
    std::unique_ptr<AVIOContext, IoDeleter> io_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::deque<std::vector<std::uint8_t>> waiting_;
    std::size_t waitingBytes_ = 0;  // with the piece that is being written
    std::uint64_t handedOver_ = 0;  // pieces
    std::uint64_t written_ = 0;     // pieces
    int failure_ = 0;               // errno of the first piece that could not be written
    bool closed_ = false;
    std::int64_t wholeBytes_ = 0;  // of the writing thread: length of the file in whole pieces
    NamedThread thread_;
};

}  // namespace platform::ffmpeg
