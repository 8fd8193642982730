#pragma once

#include "Platform/Capture/PipeWire/Graph.hpp"
#include "Platform/Capture/PipeWire/Handles.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::pipewire {

/// Before anything else of the library is used. Any thread, as often as need be.
void initialiseLibrary();

/// Receives the media graph's events, on the connection's loop thread (with its lock held).
class GraphListener {
  public:
    virtual ~GraphListener() = default;
    /// Something in the graph is new, gone or different.
    virtual void graphChanged() = 0;
    /// The server is gone: everything made on this connection must be destroyed before this returns.
    virtual void disconnected() = 0;
};

/// The one connection to the media server: a loop thread of its own, a mirror of the graph, and a new
/// attempt every second while the server is away. Any thread, unless said otherwise.
class PipeWireConnection {
  public:
    /// Seconds between two attempts to use a device that has failed.
    static constexpr double retryInterval = 0.5;

    PipeWireConnection();
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_thread_loop* threadLoop() const { return loop_.get(); }
    pw_loop* loop() const { return pw_thread_loop_get_loop(loop_.get()); }

    // With the lock held.
    bool isConnected() const { return core_ != nullptr; }
    pw_core* core() const { return core_.get(); }
    const Graph& graph() const { return graph_; }
    void addListener(GraphListener& listener);
    void removeListener(GraphListener& listener);

    /// Waits until the graph is known or it is clear that there is no server, `seconds` at most.
    void waitForGraph(double seconds);
    /// Why there is no server to talk to; absent while connected.
    std::optional<PlatformError> unavailable() const;

  private:
    struct BoundNode;
    struct BoundMetadata;

    void connect();
    void disconnect();
    void onGlobal(std::uint32_t id, const char* type, const spa_dict* props);
    void onGlobalRemoved(std::uint32_t id);
    void onCoreDone(std::uint32_t id, int sequence);
    void onCoreError(std::uint32_t id, int result);
    void bindNode(Node& node);
    void bindMetadata(std::uint32_t id);
    void changed();

    std::unique_ptr<pw_thread_loop, LoopDeleter> loop_;
    std::unique_ptr<pw_context, ContextDeleter> context_;

    // With the lock held.
    std::unique_ptr<LoopEvent> reconnect_;
    std::unique_ptr<LoopEvent> tellListeners_;
    std::unique_ptr<pw_core, CoreDeleter> core_;
    std::optional<ServerListener> server_;
    std::map<std::uint32_t, std::unique_ptr<BoundNode>> boundNodes_;
    std::unique_ptr<BoundMetadata> metadata_;
    Graph graph_;
    std::vector<GraphListener*> listeners_;
    int syncSequence_ = 0;
    int syncsLeft_ = 0;
    bool attempted_ = false;
    int connectError_ = 0;
};

}  // namespace platform::pipewire
