#include "Platform/Foundation/DurableFiles.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr mode_t forUserAlone = 0600;

std::string remedyFor(int code) {
    switch (code) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return " Free some disk space.";
        case EACCES:
        case EPERM:
        case EROFS:
            return " Check the permissions of the folder.";
        case EMFILE:
        case ENFILE:
            return " Too many files are open; close other programs.";
        case EIO:
            return " The disk may be failing; copy what is on it.";
        default:
            return "";
    }
}

int repeatedOpen(const char* path, int flags, mode_t mode = 0) {
    for (;;) {
        const int fd = open(path, flags | O_CLOEXEC, mode);
        if (fd >= 0 || errno != EINTR) return fd;
    }
}

/// Closes and tells what the file system says only then, as a network's does. 0 or errno.
int closeReporting(UniqueFd& fd) {
    const int raw = fd.release();
    return close(raw) == 0 || errno == EINTR ? 0 : errno;
}

}  // namespace

void throwFileError(const std::string& what, int code) {
    throw PlatformError("Files", code, what + ": " + std::strerror(code) + "." + remedyFor(code));
}

int writeWhole(int fd, const void* bytes, std::size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(fd, next, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) return ENOSPC;
        next += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

int syncDescriptor(int fd) {
    for (;;) {
        if (fdatasync(fd) == 0 || errno == EINVAL || errno == EROFS || errno == ENOSYS) return 0;
        if (errno != EINTR) return errno;
    }
}

void syncToDisk(const fs::path& path) {
    const UniqueFd fd(repeatedOpen(path.c_str(), O_RDONLY));
    const int code = fd ? syncDescriptor(fd.get()) : errno;
    if (code != 0) throwFileError(path.string() + " cannot be brought onto the disk", code);
}

std::string readFile(const fs::path& file, std::uintmax_t largest) {
    const auto fail = [&](int code) { throwFileError(file.string() + " could not be read", code); };
    // From a pipe there would be no end; nor does opening it wait.
    const UniqueFd fd(repeatedOpen(file.c_str(), O_RDONLY | O_NONBLOCK));
    struct stat found {};
    if (!fd || fstat(fd.get(), &found) != 0) fail(errno);
    if (!S_ISREG(found.st_mode)) fail(EINVAL);
    if (static_cast<std::uintmax_t>(found.st_size) > largest) fail(EFBIG);
    std::string bytes(static_cast<std::size_t>(found.st_size), '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count = read(fd.get(), bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(errno);
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    bytes.resize(size);
    return bytes;
}

fs::path temporaryName(const fs::path& file) { return file.string() + ".new"; }

void replaceFile(const fs::path& file, std::string_view bytes) {
    const fs::path temporary = temporaryName(file);
    const auto fail = [&](int code) {
        unlink(temporary.c_str());
        throwFileError(file.string() + " could not be written", code);
    };
    unlink(temporary.c_str());  // of a process that was cut off
    UniqueFd fd(repeatedOpen(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, forUserAlone));
    if (!fd) fail(errno);
    if (const int code = writeWhole(fd.get(), bytes.data(), bytes.size())) fail(code);
    if (const int code = syncDescriptor(fd.get())) fail(code);
    if (const int code = closeReporting(fd)) fail(code);
    if (rename(temporary.c_str(), file.c_str()) != 0) fail(errno);
    const UniqueFd folder = openFolder(file.parent_path());
    if (folder) syncDescriptor(folder.get());
}

void makePrivateFolders(const fs::path& folder) {
    if (mkdir(folder.c_str(), 0700) == 0) return;
    const int code = errno;
    std::error_code ignored;
    if (code == EEXIST && fs::is_directory(folder, ignored)) return;
    if (code == ENOENT && folder.has_parent_path() && folder.parent_path() != folder) {
        makePrivateFolders(folder.parent_path());
        if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return;
    }
    throwFileError("The folder " + folder.string() + " could not be created", code);
}

HeldFile HeldFile::make(const fs::path& file) {
    UniqueFd fd(
        repeatedOpen(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK, forUserAlone));
    if (!fd) throwFileError(file.string() + " could not be written", errno);
    // A file system without locks keeps nobody from recording.
    if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throwFileError(file.string() + " belongs to a recording that runs", EWOULDBLOCK);
    struct stat found {};
    if (fstat(fd.get(), &found) != 0 || found.st_nlink == 0)
        throwFileError(file.string() + " was removed by another process", ENOENT);
    return {file, std::move(fd)};
}

std::optional<HeldFile> HeldFile::tryHold(const fs::path& file, Refusal& why) {
    UniqueFd fd(repeatedOpen(file.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK));
    if (!fd) {
        why = errno == ENOENT ? Refusal::absent : Refusal::failed;
        return std::nullopt;
    }
    if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
        why = errno == EWOULDBLOCK ? Refusal::heldByAnother : Refusal::failed;
        return std::nullopt;
    }
    return HeldFile{file, std::move(fd)};
}

void HeldFile::append(std::string_view bytes) {
    const off_t before = lseek(fd_.get(), 0, SEEK_END);
    const int code = writeWhole(fd_.get(), bytes.data(), bytes.size());
    if (code == 0) return;
    [[maybe_unused]] const int cut = ftruncate(fd_.get(), before);
    throwFileError(file_.string() + " could not be written", code);
}

fs::path PendingFile::besides(const fs::path& place) {
    constexpr std::size_t longestName = 255;  // bytes; the limit of Linux file systems
    const std::string name = "." + place.filename().string() + ".part";
    return place.parent_path() /
           (name.size() <= longestName ? name : ".cobaltreel-" + std::to_string(getpid()));
}

PendingFile::PendingFile(const fs::path& place) {
    std::error_code error;
    const auto standing = fs::status(place, error).type();
    if (standing != fs::file_type::not_found && standing != fs::file_type::regular)
        throwFileError(place.string() + " is not a file that could be replaced; choose another one", EEXIST);
    place_ = standing == fs::file_type::regular ? fs::canonical(place, error) : place;
    if (error || !place_.has_filename()) place_ = place;
    path_ = besides(place_);
    if (const auto folder = place_.parent_path(); !folder.empty() && !fs::exists(folder, error))
        throw PlatformError("Files", ENOENT,
                            "The movie " + place.string() +
                                " cannot be created, because there is no folder " + folder.string() +
                                ". Create it, or choose another one.");
    fd_ = UniqueFd(repeatedOpen(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0666));
    if (!fd_) throwFileError(place.string() + " cannot be created", errno);
    if (flock(fd_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        fd_.reset();
        throwFileError(place.string() + " is being written at this moment; choose another one", EWOULDBLOCK);
    }
}

PendingFile::~PendingFile() {
    if (!path_.empty()) unlink(path_.c_str());
}

void PendingFile::complete() {
    if (const int code = syncDescriptor(fd_.get()))
        throwFileError(place_.string() + " could not be brought onto the disk", code);
    if (rename(path_.c_str(), place_.c_str()) != 0)
        throwFileError(place_.string() + " could not be written", errno);
    path_.clear();
    const UniqueFd folder = openFolder(place_.has_parent_path() ? place_.parent_path() : ".");
    if (folder) syncDescriptor(folder.get());
}

bool PendingFile::isPending(const fs::path& place) {
    auto why = HeldFile::Refusal::absent;
    return !HeldFile::tryHold(besides(place), why) && why == HeldFile::Refusal::heldByAnother;
}

DiskReserve::DiskReserve(const fs::path& folder, std::int64_t bytes)
    : fd_(repeatedOpen(folder.c_str(), O_RDWR | O_TMPFILE, forUserAlone)) {
    if (fd_ && posix_fallocate(fd_.get(), 0, bytes) != 0) fd_.reset();
}

}  // namespace platform
