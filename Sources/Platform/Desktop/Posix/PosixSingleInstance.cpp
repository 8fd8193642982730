#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"

#include "Platform/Desktop/Posix/InstanceMessages.hpp"
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

/// False when there is no such folder. One that another user could write in is refused.
bool isPrivate(const fs::path& folder) {
    struct stat found {};
    if (lstat(folder.c_str(), &found) != 0) {
        if (errno == ENOENT) return false;
        fail(folder, errno, "cannot be read");
    }
    if (!S_ISDIR(found.st_mode) || found.st_uid != getuid() || (found.st_mode & 0022) != 0)
        fail(folder, EACCES, "is not private");
    return true;
}

void makePrivate(const fs::path& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail(folder, errno, "cannot be made");
    isPrivate(folder);
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

std::optional<UniqueFd> lock(const fs::path& file) {
    UniqueFd lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock) fail(file, errno, "cannot be opened");
    if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
    if (errno != EWOULDBLOCK) fail(file, errno, "cannot be locked");
    return std::nullopt;
}

class Claim final : public InstanceClaim {
  public:
    Claim(UniqueFd lock, fs::path file, MainLoop& mainLoop, InstanceHandler onRequest)
        : lock_(std::move(lock)),
          file_(std::move(file)),
          socket_(makeRequestSocket()),
          onRequest_(std::move(onRequest)) {
        const sockaddr_un address = addressOf(file_);
        // The lock's holder owns the socket: one that is still there belongs to an instance that has ended.
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
        const auto onRequest = onRequest_;  // outlives this claim if the callback gives it up
        // All of them first: a callback may give up this claim.
        std::vector<ReceivedRequest> all;
        while (all.size() < maxAtOnce) {
            auto received = receiveRequest(socket_.get());
            if (!received) break;
            all.push_back(std::move(*received));
        }
        for (std::size_t index = 0; index < all.size(); ++index) {
            const ReceivedRequest& each = all[index];
            // Pressed again because nothing happened yet: once is enough.
            const bool isRepeated = index + 1 < all.size() && !each.answerTo && !all[index + 1].answerTo &&
                                    each.request == all[index + 1].request;
            if (!each.request)
                sendAnswer(each.answerTo, std::nullopt);
            else if (each.answerTo)
                sendAnswer(each.answerTo, onRequest(*each.request));
            else if (!isRepeated)
                onRequest(*each.request);
        }
    }

    static constexpr std::size_t maxAtOnce = 64;  // then the main thread does something else

    UniqueFd lock_;
    fs::path file_;
    UniqueFd socket_;
    InstanceHandler onRequest_;
    std::unique_ptr<Watch> watch_;
};

}  // namespace

PosixSingleInstance::PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, const std::string& name)
    : PosixSingleInstance(std::move(mainLoop), runtimeFolder(), nameOfDisplay(name)) {}

PosixSingleInstance::PosixSingleInstance(std::shared_ptr<MainLoop> mainLoop, fs::path folder,
                                         const std::string& name)
    : mainLoop_(std::move(mainLoop)), folder_(std::move(folder)), name_(name) {}

std::unique_ptr<InstanceClaim> PosixSingleInstance::claim(InstanceHandler onRequest) {
    makePrivate(folder_);
    const fs::path lockFile = folder_ / (name_ + ".lock"), socketFile = folder_ / (name_ + ".socket");
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (auto held = lock(lockFile))
            return std::make_unique<Claim>(std::move(*held), socketFile, *mainLoop_, std::move(onRequest));
        if (sendRequest(addressOf(socketFile), {InstanceRequest::Kind::show}, nullptr)) return nullptr;
        if (std::chrono::steady_clock::now() > deadline)
            fail(socketFile, ETIMEDOUT, "belongs to an instance that does not listen");
        // It holds the lock and does not listen yet, or no longer.
        poll(nullptr, 0, betweenTries);
    }
}

bool PosixSingleInstance::send(const InstanceRequest& request) {
    return isPrivate(folder_) && sendRequest(addressOf(folder_ / (name_ + ".socket")), request, nullptr);
}

std::optional<std::string> PosixSingleInstance::query(const InstanceRequest& request) {
    if (!isPrivate(folder_)) return std::nullopt;
    const fs::path file = folder_ / (name_ + ".socket");
    AnswerSockets sockets;
    if (!sendRequest(addressOf(file), request, &sockets.theirs)) return std::nullopt;
    sockets.theirs = UniqueFd();
    return receiveAnswer(sockets.ours.get());
}

}  // namespace platform
