#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <pipewire/pipewire.h>

namespace platform::pipewire {

struct ProxyDeleter {
    void operator()(void* proxy) const { pw_proxy_destroy(static_cast<pw_proxy*>(proxy)); }
};
template <typename Interface>
using Proxy = std::unique_ptr<Interface, ProxyDeleter>;

struct LoopDeleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
};
struct ContextDeleter {
    void operator()(pw_context* context) const { pw_context_destroy(context); }
};
struct CoreDeleter {
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
};
struct StreamDeleter {
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};
using StreamHandle = std::unique_ptr<pw_stream, StreamDeleter>;

/// Why a stream has ended that nobody here has ended; absent while it lives.
inline std::optional<std::string> failureOf(pw_stream_state before, pw_stream_state now, const char* error) {
    const bool isRefused = now == PW_STREAM_STATE_UNCONNECTED && before != PW_STREAM_STATE_UNCONNECTED;
    if (now != PW_STREAM_STATE_ERROR && !isRefused) return std::nullopt;
    return error == nullptr ? "unknown reason" : error;
}

/// A listener's place in a list of listeners; leaves the list when destroyed, which must happen before the
/// object that keeps the list is.
class Hook {
  public:
    Hook() = default;
    ~Hook() {
        if (hook_.link.next != nullptr) spa_hook_remove(&hook_);
    }
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;
    spa_hook* get() { return &hook_; }

  private:
    spa_hook hook_{};
};

/// Tells of the server's errors and of its objects. Made and destroyed with the loop's lock held.
class ServerListener {
  public:
    /// Both tables outlive the listener; their functions get `self`.
    ServerListener(pw_core* core, const pw_core_events& coreEvents, const pw_registry_events& registryEvents,
                   void* self)
        : registry_(static_cast<pw_registry*>(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0))) {
        pw_core_add_listener(core, coreHook_.get(), &coreEvents, self);
        pw_registry_add_listener(registry_.get(), registryHook_.get(), &registryEvents, self);
    }
    pw_registry* registry() const { return registry_.get(); }

  private:
    Hook coreHook_;
    Proxy<pw_registry> registry_;
    Hook registryHook_;
};

/// Holds the lock of a loop's thread. May be nested.
class LoopLock {
  public:
    explicit LoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
    ~LoopLock() { pw_thread_loop_unlock(loop_); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

  private:
    pw_thread_loop* loop_;
};

/// Work that runs on a loop's thread when it is signalled (from any thread, also a real-time one) or when
/// a delay has passed. Created and destroyed with the loop's lock held.
class LoopEvent {
  public:
    LoopEvent(pw_loop* loop, std::function<void()> work)
        : loop_(loop),
          work_(std::move(work)),
          event_(pw_loop_add_event(
              loop, [](void* self, std::uint64_t) { run(self); }, this)),
          timer_(pw_loop_add_timer(
              loop, [](void* self, std::uint64_t) { run(self); }, this)) {}
    ~LoopEvent() {
        pw_loop_destroy_source(loop_, event_);
        pw_loop_destroy_source(loop_, timer_);
    }
    LoopEvent(const LoopEvent&) = delete;
    LoopEvent& operator=(const LoopEvent&) = delete;

    void signal() { pw_loop_signal_event(loop_, event_); }
    /// Replaces an earlier delay that has not passed yet. With the loop's lock held.
    void signalAfter(double seconds) {
        constexpr double nanoseconds = 1e9;
        timespec delay{static_cast<time_t>(seconds), 0};
        delay.tv_nsec = static_cast<long>((seconds - static_cast<double>(delay.tv_sec)) * nanoseconds);
        pw_loop_update_timer(loop_, timer_, &delay, nullptr, false);
    }

  private:
    static void run(void* self) { static_cast<LoopEvent*>(self)->work_(); }

    pw_loop* loop_;
    std::function<void()> work_;
    spa_source* event_;
    spa_source* timer_;
};

}  // namespace platform::pipewire
