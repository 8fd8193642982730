#pragma once

#include "Platform/Foundation/UniqueFd.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Files that must survive a full disk, a crash and a loss of power. All of it blocks on the disk; any thread.
// Failures are PlatformError("Files", errno) naming the file and the remedy.

/// PlatformError("Files", `code`): `what` names the file and what could not be done, without a full stop.
[[noreturn]] void throwFileError(const std::string& what, int code);

/// Writes all of the bytes at the file's position, however small the pieces the system takes. 0 or errno.
int writeWhole(int fd, const void* bytes, std::size_t size);

/// Brings a file's contents, or a folder's entries, onto the disk. File systems that cannot are taken for
/// such that need not. 0 or errno.
int syncDescriptor(int fd);
/// The same by path, throwing.
void syncToDisk(const std::filesystem::path& fileOrFolder);

/// The whole of a regular file, as it was when it was opened: `replaceFile` may put another one in its place
/// meanwhile. A larger one than `largest` bytes is EFBIG, anything but a file EINVAL.
std::string readFile(const std::filesystem::path& file, std::uintmax_t largest);

/// Replaces `file` as a whole, and on the disk once this returns: a reader sees the old bytes or the new
/// ones, and so does the next start after a loss of power. Only its user may read it. A failure leaves the
/// old file as it was. The new one is written beside it, under `temporaryName`.
void replaceFile(const std::filesystem::path& file, std::string_view bytes);
std::filesystem::path temporaryName(const std::filesystem::path& file);

/// Makes the folder and those above it that are missing, for the user alone.
void makePrivateFolders(const std::filesystem::path& folder);

/// A file that only grows and that one process at a time holds: the lock holds for every process of every
/// machine that sees the file system, and ends with its process, whatever ends that.
class HeldFile {
  public:
    enum class Refusal { absent, heldByAnother, failed };

    /// Makes the file, for the user alone, or opens the one that is there. Throws; also when another process
    /// holds it.
    static HeldFile make(const std::filesystem::path& file);
    /// Holds a file that is there; otherwise tells why not. A file system without locks is a failure.
    static std::optional<HeldFile> tryHold(const std::filesystem::path& file, Refusal& why);

    /// Adds the bytes at its end. Throws; the file is then as long as before.
    void append(std::string_view bytes);

  private:
    HeldFile(std::filesystem::path file, UniqueFd fd) : file_(std::move(file)), fd_(std::move(fd)) {}

    std::filesystem::path file_;
    UniqueFd fd_;
};

/// A file that comes into being as a whole: it is written beside its place and takes it when complete, on the
/// disk. Until then what stood there stands. Goes without a trace when it is not completed.
class PendingFile {
  public:
    /// Throws when something other than a regular file stands at `place` (a link counts as what it leads to),
    /// or another process is writing there.
    explicit PendingFile(const std::filesystem::path& place);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    /// Where to write it; an empty file stands there, with the permissions that the user's other files get.
    const std::filesystem::path& path() const { return path_; }
    /// Throws.
    void complete();

    /// Whether a file is about to come to `place`.
    static bool isPending(const std::filesystem::path& place);

  private:
    static std::filesystem::path besides(const std::filesystem::path& place);

    std::filesystem::path place_, path_;
    UniqueFd fd_;
};

/// Some room on a disk, set aside for what must still be written when the disk is full. It has no name, so
/// that nothing of it is left behind; destroying it frees the space.
class DiskReserve {
  public:
    DiskReserve() = default;
    /// As much of `bytes` as can be had.
    DiskReserve(const std::filesystem::path& folder, std::int64_t bytes);
    void release() { fd_.reset(); }

  private:
    UniqueFd fd_;
};

}  // namespace platform
