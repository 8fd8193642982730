#pragma once

#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace platform {

/// Owns a file descriptor.
class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    void reset() {
        if (fd_ >= 0) ::close(std::exchange(fd_, -1));
    }
    /// Hands the descriptor over; the caller closes it.
    int release() { return std::exchange(fd_, -1); }

  private:
    int fd_ = -1;
};

/// The folder itself, open; empty when it cannot be opened.
inline UniqueFd openFolder(const std::filesystem::path& folder) {
    return UniqueFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace platform
