#pragma once

#include "Platform/Desktop/PointerButtons.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <atomic>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

struct input_event;

namespace platform {

/// Buttons as the kernel's event devices tell them, for a desktop that does not say which are down. Devices
/// that have mouse buttons and no letters are read, those that come later too. A thread of its own.
class EvdevButtons final : public PointerButtons {
  public:
    /// The devices of `folder`. With `streams` (files that deliver `struct input_event`) those are read
    /// instead.
    explicit EvdevButtons(std::filesystem::path folder = "/dev/input",
                          std::vector<std::filesystem::path> streams = {});
    ~EvdevButtons() override;
    EvdevButtons(const EvdevButtons&) = delete;
    EvdevButtons& operator=(const EvdevButtons&) = delete;

    std::int64_t take() override;
    std::optional<PlatformError> unavailable() override;

    /// COBALTREEL_POINTER_DEVICES, split at its colons.
    static std::vector<std::filesystem::path> streamsOfEnvironment();

  private:
    struct Device {
        std::filesystem::path file;
        UniqueFd fd;
        std::int64_t down = 0;
        std::vector<char> rest;  // of an event that came in pieces
    };

    void listen();
    void openAll();
    void open(const std::filesystem::path& file, bool isStream);
    /// False when the device has gone.
    bool read(Device& device);
    void handle(Device& device, const ::input_event& event);
    void publish();

    const std::filesystem::path folder_;
    const std::vector<std::filesystem::path> streams_;
    std::list<Device> devices_;  // of the thread
    std::atomic<int> openDevices_{0};
    std::atomic<std::int64_t> down_{0};
    std::atomic<std::int64_t> pressed_{0};  // since the last `take`
    UniqueFd watch_;                        // of the folder
    UniqueFd wake_;
    NamedThread thread_;
};

}  // namespace platform
