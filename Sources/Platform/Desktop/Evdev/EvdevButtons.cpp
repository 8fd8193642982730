#include "Platform/Desktop/Evdev/EvdevButtons.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace platform {

namespace fs = std::filesystem;

namespace {

struct EvdevDeleter {
    void operator()(libevdev* device) const { libevdev_free(device); }
};
using EvdevHandle = std::unique_ptr<libevdev, EvdevDeleter>;

/// The bit of a button's code; -1 for what is none of a mouse's.
int bitOf(int code) { return code >= BTN_LEFT && code <= BTN_TASK ? code - BTN_LEFT : -1; }

/// Whether it is a mouse or touchpad, and nothing that could tell what is typed.
bool isPointer(int fd) {
    libevdev* made = nullptr;
    if (libevdev_new_from_fd(fd, &made) != 0) return false;
    const EvdevHandle device(made);
    return libevdev_has_event_code(device.get(), EV_KEY, BTN_LEFT) != 0 &&
           libevdev_has_event_code(device.get(), EV_KEY, KEY_A) == 0;
}

std::int64_t buttonsDown(int fd) {
    libevdev* made = nullptr;
    if (libevdev_new_from_fd(fd, &made) != 0) return 0;
    const EvdevHandle device(made);
    std::int64_t down = 0;
    for (int code = BTN_LEFT; code <= BTN_TASK; ++code)
        if (libevdev_get_event_value(device.get(), EV_KEY, static_cast<unsigned>(code)) != 0)
            down |= std::int64_t{1} << bitOf(code);
    return down;
}

}  // namespace

EvdevButtons::EvdevButtons(fs::path folder, std::vector<fs::path> streams)
    : folder_(std::move(folder)),
      streams_(std::move(streams)),
      watch_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // Access is given by an attribute of the file, a moment after it was made.
    if (watch_ && streams_.empty())
        inotify_add_watch(watch_.get(), folder_.c_str(), IN_CREATE | IN_ATTRIB | IN_DELETE);
    openAll();
    if (wake_) thread_ = NamedThread("cobaltreel.buttons", [this] { listen(); });
}

EvdevButtons::~EvdevButtons() {
    if (wake_) eventfd_write(wake_.get(), 1);
    thread_.join();
}

std::vector<fs::path> EvdevButtons::streamsOfEnvironment() {
    const char* list = std::getenv("COBALTREEL_POINTER_DEVICES");
    std::vector<fs::path> streams;
    std::istringstream words(list == nullptr ? "" : list);
    for (std::string word; std::getline(words, word, ':');)
        if (!word.empty()) streams.emplace_back(word);
    return streams;
}

std::int64_t EvdevButtons::take() { return pressed_.exchange(0) | down_; }

std::optional<PlatformError> EvdevButtons::unavailable() {
    if (openDevices_ > 0) return std::nullopt;
    for (const auto& stream : streams_)
        return PlatformError("Desktop", ENOENT,
                             stream.string() +
                                 " cannot be read, so clicks are not seen. Check "
                                 "COBALTREEL_POINTER_DEVICES.");
    return PlatformError("Desktop", EACCES,
                         "Clicks are not seen, because no mouse or touchpad below " + folder_.string() +
                             " may be read: a recording has no zoom and no ripples. Install Cobaltreel's "
                             "Debian package, which gives "
                             "the user at the screen mice and touchpads; or run: sudo usermod -aG input "
                             "$USER, and log in again.");
}

void EvdevButtons::openAll() {
    for (const auto& stream : streams_) open(stream, true);
    if (!streams_.empty()) return;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().string().starts_with("event")) open(entry->path(), false);
}

void EvdevButtons::open(const fs::path& file, bool isStream) {
    const auto isOpen =
        std::ranges::any_of(devices_, [&](const Device& device) { return device.file == file; });
    if (isOpen) return;
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd || (!isStream && !isPointer(fd.get()))) return;
    if (isStream) {
        // What happened before is of no interest.
        std::array<char, 4096> old;
        while (::read(fd.get(), old.data(), old.size()) > 0) {
        }
    }
    devices_.push_back({file, std::move(fd), 0, {}});
    openDevices_ = static_cast<int>(devices_.size());
}

void EvdevButtons::listen() {
    std::vector<pollfd> waiting;
    for (;;) {
        waiting.assign({{wake_.get(), POLLIN, 0}, {watch_.get(), POLLIN, 0}});
        for (const Device& device : devices_) waiting.push_back({device.fd.get(), POLLIN, 0});
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return;
        if (waiting[0].revents != 0) return;
        auto state = waiting.begin() + 2;
        for (auto device = devices_.begin(); device != devices_.end(); ++state)
            device = state->revents == 0 || read(*device) ? std::next(device) : devices_.erase(device);
        if (waiting[1].revents != 0) {
            std::array<char, 4096> events;
            while (::read(watch_.get(), events.data(), events.size()) > 0) {
            }
            openAll();
        }
        openDevices_ = static_cast<int>(devices_.size());
        publish();
    }
}

bool EvdevButtons::read(Device& device) {
    std::array<char, 64 * sizeof(input_event)> bytes;
    const ssize_t count = ::read(device.fd.get(), bytes.data(), bytes.size());
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) return false;
    device.rest.insert(device.rest.end(), bytes.begin(), bytes.begin() + count);
    std::size_t done = 0;
    for (; device.rest.size() - done >= sizeof(input_event); done += sizeof(input_event)) {
        input_event event{};
        std::memcpy(&event, device.rest.data() + done, sizeof event);
        handle(device, event);
    }
    device.rest.erase(device.rest.begin(), device.rest.begin() + static_cast<std::ptrdiff_t>(done));
    return true;
}

void EvdevButtons::handle(Device& device, const input_event& event) {
    if (event.type == EV_SYN && event.code == SYN_DROPPED) {
        // Events were lost: the device knows what is down now.
        device.down = buttonsDown(device.fd.get());
        return;
    }
    const int bit = event.type == EV_KEY ? bitOf(event.code) : -1;
    if (bit < 0) return;
    const std::int64_t mask = std::int64_t{1} << bit;
    if (event.value == 0) {
        device.down &= ~mask;
    } else {
        device.down |= mask;
        pressed_ |= mask;
    }
}

void EvdevButtons::publish() {
    std::int64_t down = 0;
    for (const Device& device : devices_) down |= device.down;
    down_ = down;
}

}  // namespace platform
