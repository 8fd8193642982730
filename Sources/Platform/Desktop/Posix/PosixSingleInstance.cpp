#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds patience{2};
constexpr int betweenTries = 20;  // milliseconds

[[noreturn]] void fail(const fs::path& file, int code, const std::string& what) {
    throw PlatformError("Desktop", code,
                        file.string() + " " + what + ": " + std::strerror(code) +
                            ". Check that XDG_RUNTIME_DIR names a folder of your own.");
}

/// The user's own run-time folder; without one, a folder for this user alone among the temporary files.
fs::path runtimeFolder() {
    if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder != nullptr && *folder == '/')
        return folder;
    return fs::temp_directory_path() / ("cobaltreel-" + std::to_string(getuid()));
}

/// Makes the folder if need be. What another user could write in is refused.
void requirePrivate(const fs::path& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail(folder, errno, "cannot be made");
    struct stat found {};
    if (lstat(folder.c_str(), &found) != 0) fail(folder, errno, "cannot be read");
    if (!S_ISDIR(found.st_mode) || found.st_uid != getuid() || (found.st_mode & 0022) != 0)
        fail(folder, EACCES, "is not private");
}

std::string nameOfDisplay(const std::string& name) {
    const char* display = std::getenv("DISPLAY");
    std::string whole = name + (display == nullptr ? "" : std::string("-") + display);
    std::replace(whole.begin(), whole.end(), '/', '_');
    return whole;
}

sockaddr_un addressOf(const fs::path& file) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (file.native().size() >= sizeof address.sun_path) fail(file, ENAMETOOLONG, "cannot be a socket");
    std::copy(file.native().begin(), file.native().end(), address.sun_path);
    return address;
}

/// Datagrams: a socket that is bound takes them at once, also while its program is busy.
UniqueFd makeSocket() { return UniqueFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)); }

bool sendRequest(const fs::path& file, InstanceRequest request) {
    const UniqueFd socket = makeSocket();
    const sockaddr_un address = addressOf(file);
    const char word = static_cast<char>(request);
    const auto sent = sendto(socket.get(), &word, sizeof word, 0, reinterpret_cast<const sockaddr*>(&address),
                             sizeof address);
    // A full queue: it has been told often enough.
    return sent >= 0 || errno == EAGAIN;
}

std::optional<UniqueFd> lock(const fs::path& file) {
    UniqueFd lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock) fail(file, errno, "cannot be opened");
    if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
    if (errno != EWOULDBLOCK) fail(file, errno, "cannot be locked");
    return std::nullopt;
}

class Claim final : public InstanceClaim {
  public:
    Claim(UniqueFd lock, fs::path file, MainLoop& mainLoop, std::function<void(InstanceRequest)> asked)
        : lock_(std::move(lock)), file_(std::move(file)), socket_(makeSocket()), asked_(std::move(asked)) {
        const sockaddr_un address = addressOf(file_);
        // Whoever holds the lock owns the socket: one that is still there is of an instance that has ended.
        unlink(file_.c_str());
        if (bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            fail(file_, errno, "cannot be listened at");
        chmod(file_.c_str(), 0600);
        watch_ = mainLoop.watchReadable(socket_.get(), [this] { listen(); });
    }
    ~Claim() override { unlink(file_.c_str()); }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

  private:
    void listen() {
        char word = 0;
        // However often: what was asked last is what is wanted now.
        std::optional<InstanceRequest> last;
        while (recv(socket_.get(), &word, sizeof word, 0) >= 0)
            last = word == static_cast<char>(InstanceRequest::toggle) ? InstanceRequest::toggle
                                                                      : InstanceRequest::show;
        const auto asked = asked_;  // outlives this claim if the callback gives it up
        if (last) asked(*last);
    }

    UniqueFd lock_;
    fs::path file_;
    UniqueFd socket_;
    std::function<void(InstanceRequest)> asked_;
    std::unique_ptr<Watch> watch_;
};

}  // namespace

PosixSingleInstance::PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, const std::string& name)
    : PosixSingleInstance(std::move(mainLoop), runtimeFolder(), nameOfDisplay(name)) {}

PosixSingleInstance::PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, fs::path folder,
                                         const std::string& name)
    : mainLoop_(std::move(mainLoop)), folder_(std::move(folder)), name_(name) {}

std::unique_ptr<InstanceClaim> PosixSingleInstance::claim(std::function<void(InstanceRequest)> asked) {
    requirePrivate(folder_);
    const fs::path lockFile = folder_ / (name_ + ".lock"), socketFile = folder_ / (name_ + ".socket");
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (auto held = lock(lockFile))
            return std::make_unique<Claim>(std::move(*held), socketFile, *mainLoop_, std::move(asked));
        if (sendRequest(socketFile, InstanceRequest::show)) return nullptr;
        if (std::chrono::steady_clock::now() > deadline)
            fail(socketFile, ETIMEDOUT, "belongs to an instance that does not listen");
        // It holds the lock and does not listen yet, or no longer.
        poll(nullptr, 0, betweenTries);
    }
}

bool PosixSingleInstance::send(InstanceRequest request) {
    return sendRequest(folder_ / (name_ + ".socket"), request);
}

}  // namespace platform
