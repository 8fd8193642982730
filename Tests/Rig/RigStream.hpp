#pragma once

#include <csignal>
#include <cstdint>
#include <cstdio>

#include <pipewire/pipewire.h>

namespace rig {

/// A device of the rig: a stream on a loop of its own that says "there" once it can be used, and ends with a
/// signal or with its server.
class RigStream {
  public:
    virtual ~RigStream() { pw_main_loop_destroy(loop_); }
    RigStream(const RigStream&) = delete;
    RigStream& operator=(const RigStream&) = delete;

  protected:
    RigStream() {
        for (const int number : {SIGINT, SIGTERM})
            pw_loop_add_signal(
                loop(), number,
                [](void* ended, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(ended)); }, loop_);
    }

    /// Runs until the end; the program's exit status.
    int run(const char* name, pw_properties* properties, unsigned flags, const spa_pod* format) {
        static const pw_stream_events events = [] {
            pw_stream_events table{};
            table.version = PW_VERSION_STREAM_EVENTS;
            table.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char*) {
                static_cast<RigStream*>(self)->onState(state);
            };
            table.param_changed = [](void* self, std::uint32_t id, const spa_pod* param) {
                if (id == SPA_PARAM_Format && param != nullptr) static_cast<RigStream*>(self)->onFormat();
            };
            table.process = [](void* self) { static_cast<RigStream*>(self)->onProcess(); };
            return table;
        }();
        stream_ = pw_stream_new_simple(loop(), name, properties, &events, this);
        if (stream_ == nullptr || pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                                                    static_cast<pw_stream_flags>(flags), &format, 1) < 0) {
            std::fprintf(stderr, "%s: no media server takes it\n", name);
            if (stream_ != nullptr) pw_stream_destroy(stream_);
            return 1;
        }
        pw_main_loop_run(loop_);
        const int status = status_;
        // Before any of this object goes: until then the graph's thread calls it.
        pw_stream_destroy(stream_);
        return status;
    }

    pw_loop* loop() const { return pw_main_loop_get_loop(loop_); }
    pw_stream* stream() const { return stream_; }

    virtual void onStreaming(bool) {}
    virtual void onFormat() {}
    /// A buffer may be filled. On the graph's thread where the flags say so.
    virtual void onProcess() = 0;

  private:
    void onState(pw_stream_state state) {
        if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
            status_ = 1;  // the server went away
            pw_main_loop_quit(loop_);
            return;
        }
        if (state == PW_STREAM_STATE_PAUSED && !announced_) {
            announced_ = true;
            std::puts("there");
            std::fflush(stdout);
        }
        onStreaming(state == PW_STREAM_STATE_STREAMING);
    }

    pw_main_loop* loop_ = pw_main_loop_new(nullptr);
    pw_stream* stream_ = nullptr;
    bool announced_ = false;
    int status_ = 0;
};

}  // namespace rig
