#include "Platform/Media/FFmpeg/FragmentFile.hpp"

#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Media/FFmpeg/Errors.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform::ffmpeg {
namespace {

constexpr int bufferBytes = 32 * 1024;
// Twenty seconds at the highest rate of a recording: longer than disks take to wake.
constexpr std::size_t maxWaitingBytes = 64 * 1024 * 1024;

}  // namespace

void FragmentFile::IoDeleter::operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
}

FragmentFile::FragmentFile(std::filesystem::path path)
    : path_(std::move(path)),
      fd_(open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!fd_) throw libraryError(AVERROR(errno), "The movie " + path_.string() + " cannot be created");
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
    if (buffer) io_.reset(avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, nullptr, go));
    if (!io_) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    // Its type differs between the library's versions.
    io_->write_packet = [](void* self, auto* bytes, int size) {
        return store(self, const_cast<std::uint8_t*>(bytes), size);
    };
    thread_ = NamedThread("movie.disk", [this] { run(); });
}

FragmentFile::~FragmentFile() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

int FragmentFile::store(void* self, std::uint8_t* bytes, int size) {
    auto& file = *static_cast<FragmentFile*>(self);
    try {
        const std::size_t end = file.position_ + static_cast<std::size_t>(size);
        if (file.piece_.size() < end) file.piece_.resize(end);
        std::memcpy(file.piece_.data() + file.position_, bytes, static_cast<std::size_t>(size));
        file.position_ = end;
        return size;
    } catch (const std::exception&) {
        return AVERROR(ENOMEM);
    }
}

std::int64_t FragmentFile::go(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<FragmentFile*>(self);
    const auto length = file.pieceStart_ + static_cast<std::int64_t>(file.piece_.size());
    if (whence == AVSEEK_SIZE) return length;
    if (whence == SEEK_CUR) offset += file.pieceStart_ + static_cast<std::int64_t>(file.position_);
    if (whence == SEEK_END) offset += length;
    if (offset < file.pieceStart_ || offset > length) return AVERROR(EINVAL);
    file.position_ = static_cast<std::size_t>(offset - file.pieceStart_);
    return offset;
}

void FragmentFile::cut() {
    avio_flush(io_.get());
    if (io_->error < 0) throw libraryError(io_->error, "The movie " + path_.string() + " cannot be written");
    if (piece_.empty()) return;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return failure_ != 0 || waitingBytes_ < maxWaitingBytes; });
    if (failure_ != 0) throwFailure();
    pieceStart_ += static_cast<std::int64_t>(piece_.size());
    position_ = 0;
    waitingBytes_ += piece_.size();
    waiting_.push_back(std::exchange(piece_, {}));
    ++handedOver_;
    changed_.notify_all();
}

void FragmentFile::sync() {
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this, until = handedOver_] { return failure_ != 0 || written_ >= until; });
        if (failure_ != 0) throwFailure();
    }
    const int code = syncDescriptor(fd_.get());
    if (code == 0) return;
    const std::lock_guard lock(mutex_);
    failure_ = code;
    changed_.notify_all();
    throwFailure();
}

void FragmentFile::throwFailure() const {
    throw libraryError(AVERROR(failure_), "The movie " + path_.string() + " cannot be written");
}

void FragmentFile::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return closed_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        const auto piece = std::move(waiting_.front());
        waiting_.pop_front();
        const bool goesOn = failure_ == 0;
        lock.unlock();
        const int code = goesOn ? writePiece(piece) : 0;
        lock.lock();
        if (code != 0) failure_ = code;
        waitingBytes_ -= piece.size();
        ++written_;
        changed_.notify_all();
    }
}

/// 0 or errno; of a piece that does not fit nothing stays.
int FragmentFile::writePiece(const std::vector<std::uint8_t>& piece) {
    const int code = writeWhole(fd_.get(), piece.data(), piece.size());
    if (code == 0)
        wholeBytes_ += static_cast<std::int64_t>(piece.size());
    else [[maybe_unused]]
        const int cutOff = ftruncate(fd_.get(), wholeBytes_);
    return code;
}

}  // namespace platform::ffmpeg
