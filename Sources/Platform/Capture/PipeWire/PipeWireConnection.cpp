#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <pipewire/extensions/metadata.h>
#include <spa/utils/json.h>

namespace platform::pipewire {

namespace {

constexpr double reconnectInterval = 1.0;  // seconds

std::string textOf(const spa_dict* props, const char* key) {
    const char* value = props == nullptr ? nullptr : spa_dict_lookup(props, key);
    return value == nullptr ? "" : value;
}

std::optional<int> numberOf(const spa_dict* props, const char* key) {
    const std::string text = textOf(props, key);
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0') return std::nullopt;
    return static_cast<int>(number);
}

/// The "name" in a metadata value such as {"name":"alsa_input.usb"}.
std::string nameInJson(const char* value) {
    if (value == nullptr) return {};
    std::array<spa_json, 2> parser{};
    spa_json_init(&parser[0], value, std::strlen(value));
    if (spa_json_enter_object(&parser[0], &parser[1]) <= 0) return {};
    std::array<char, 256> key{};
    while (spa_json_get_string(&parser[1], key.data(), key.size()) > 0) {
        std::array<char, 1024> text{};
        if (std::strcmp(key.data(), "name") == 0)
            return spa_json_get_string(&parser[1], text.data(), text.size()) > 0 ? text.data() : "";
        const char* skipped = nullptr;
        if (spa_json_next(&parser[1], &skipped) <= 0) break;
    }
    return {};
}

}  // namespace

void initialiseLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        pw_init(nullptr, nullptr);
        // The library's log is for its developers; an environment variable turns it on.
        if (std::getenv("PIPEWIRE_DEBUG") == nullptr) pw_log_set_level(SPA_LOG_LEVEL_NONE);
    });
}

/// A node, with more than the registry says about it.
struct PipeWireConnection::BoundNode {
    PipeWireConnection* owner = nullptr;
    std::uint32_t id = 0;
    Proxy<pw_node> proxy;
    Hook hook;
    std::optional<int> formatsAnswer;  // the answer after which all formats have been told

    Node& node() const { return owner->graph_.nodes.at(id); }

    void onInfo(const pw_node_info* info) {
        if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) {
            node().linkGroup = textOf(info->props, PW_KEY_NODE_LINK_GROUP);
            if (const auto process = numberOf(info->props, PW_KEY_APP_PROCESS_ID)) node().processID = process;
        }
        if ((info->change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0 && isCamera(node())) {
            for (std::uint32_t i = 0; i < info->n_params; ++i) {
                if (info->params[i].id != SPA_PARAM_EnumFormat) continue;
                if ((info->params[i].flags & SPA_PARAM_INFO_READ) == 0) continue;
                node().formats.clear();
                pw_node_enum_params(proxy.get(), 0, SPA_PARAM_EnumFormat, 0, UINT32_MAX, nullptr);
                formatsAnswer = pw_core_sync(owner->core_.get(), PW_ID_CORE, 0);
            }
        }
        if (!formatsAnswer) node().detailsKnown = true;
        owner->changed();
    }
    void onParam(std::uint32_t param, const spa_pod* value) {
        if (param != SPA_PARAM_EnumFormat) return;
        constexpr std::size_t moreThanAnyCameraHas = 1024;
        if (node().formats.size() >= moreThanAnyCameraHas) return;
        if (auto format = readOfferedFormat(value)) node().formats.push_back(std::move(*format));
    }
};

struct PipeWireConnection::BoundMetadata {
    PipeWireConnection* owner = nullptr;
    std::uint32_t id = 0;
    Proxy<pw_metadata> proxy;
    Hook hook;

    void onProperty(std::uint32_t subject, const char* key, const char* value) {
        if (subject != PW_ID_CORE) return;
        Graph& graph = owner->graph_;
        const bool everything = key == nullptr;
        if (everything || std::strcmp(key, "default.audio.source") == 0)
            graph.defaultSource = nameInJson(value);
        if (everything || std::strcmp(key, "default.audio.sink") == 0) graph.defaultSink = nameInJson(value);
        owner->changed();
    }
};

PipeWireConnection::PipeWireConnection() {
    initialiseLibrary();
    loop_.reset(pw_thread_loop_new("cobaltreel.media", nullptr));
    if (!loop_) throw std::bad_alloc();
    // With the configuration for programs whose sound must not be kept waiting, where there is one.
    context_.reset(
        pw_context_new(loop(), pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    if (!context_) context_.reset(pw_context_new(loop(), nullptr, 0));
    if (!context_)
        throw PlatformError(
            "PipeWire", errno,
            "The PipeWire library cannot be used: its own files are missing. Reinstall PipeWire.");
    const LoopLock lock(loop_.get());
    reconnect_ = std::make_unique<LoopEvent>(loop(), [this] {
        disconnect();
        connect();
    });
    tellListeners_ = std::make_unique<LoopEvent>(loop(), [this] {
        // A copy: a listener may remove itself during its call.
        for (GraphListener* listener : std::vector(listeners_))
            if (std::ranges::find(listeners_, listener) != listeners_.end()) listener->graphChanged();
        pw_thread_loop_signal(loop_.get(), false);
    });
    reconnect_->signal();
    if (pw_thread_loop_start(loop_.get()) < 0)
        throw PlatformError("PipeWire", errno, "No thread can be started for the media server.");
}

PipeWireConnection::~PipeWireConnection() {
    pw_thread_loop_stop(loop_.get());
    const LoopLock lock(loop_.get());
    disconnect();
    tellListeners_.reset();
    reconnect_.reset();
    context_.reset();
}

void PipeWireConnection::addListener(GraphListener& listener) { listeners_.push_back(&listener); }

void PipeWireConnection::removeListener(GraphListener& listener) { std::erase(listeners_, &listener); }

void PipeWireConnection::changed() { tellListeners_->signal(); }

void PipeWireConnection::connect() {
    attempted_ = true;
    core_.reset(pw_context_connect(context_.get(), nullptr, 0));
    if (!core_) {
        connectError_ = errno;
        reconnect_->signalAfter(reconnectInterval);
        pw_thread_loop_signal(loop_.get(), false);
        return;
    }
    static const pw_core_events coreEvents = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.done = [](void* self, std::uint32_t id, int sequence) {
            static_cast<PipeWireConnection*>(self)->onCoreDone(id, sequence);
        };
        events.error = [](void* self, std::uint32_t id, int, int result, const char*) {
            static_cast<PipeWireConnection*>(self)->onCoreError(id, result);
        };
        return events;
    }();
    static const pw_registry_events registryEvents = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                           const spa_dict* props) {
            static_cast<PipeWireConnection*>(self)->onGlobal(id, type, props);
        };
        events.global_remove = [](void* self, std::uint32_t id) {
            static_cast<PipeWireConnection*>(self)->onGlobalRemoved(id);
        };
        return events;
    }();
    server_.emplace(core_.get(), coreEvents, registryEvents, this);
    // The first answer comes after all objects are announced, the second after what was asked about them,
    // the third after what those answers made us ask.
    syncsLeft_ = 3;
    syncSequence_ = pw_core_sync(core_.get(), PW_ID_CORE, 0);
}

void PipeWireConnection::disconnect() {
    if (!core_) return;
    for (GraphListener* listener : std::vector(listeners_)) listener->disconnected();
    boundNodes_.clear();
    metadata_.reset();
    server_.reset();
    core_.reset();
    graph_ = {};
    changed();
}

void PipeWireConnection::onCoreDone(std::uint32_t id, int sequence) {
    if (id != PW_ID_CORE) return;
    for (const auto& [nodeID, bound] : boundNodes_) {
        if (bound->formatsAnswer != sequence) continue;
        bound->formatsAnswer.reset();
        bound->node().detailsKnown = true;
        changed();
    }
    if (sequence != syncSequence_ || syncsLeft_ == 0) return;
    if (--syncsLeft_ > 0) {
        syncSequence_ = pw_core_sync(core_.get(), PW_ID_CORE, sequence);
        return;
    }
    connectError_ = 0;
    changed();
}

void PipeWireConnection::onCoreError(std::uint32_t id, int result) {
    if (id != PW_ID_CORE || result != -EPIPE) return;
    connectError_ = EPIPE;
    // Not here: what is called here still belongs to the connection that ended.
    reconnect_->signal();
}

void PipeWireConnection::onGlobal(std::uint32_t id, const char* type, const spa_dict* props) {
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        Node node;
        node.id = id;
        node.serial = numberOf(props, PW_KEY_OBJECT_SERIAL).value_or(0);
        node.name = textOf(props, PW_KEY_NODE_NAME);
        node.description = textOf(props, PW_KEY_NODE_DESCRIPTION);
        if (node.description.empty()) node.description = node.name;
        node.mediaClass = textOf(props, PW_KEY_MEDIA_CLASS);
        if (!isCamera(node) && !isMicrophone(node) && !isPlayback(node) && !isSink(node)) return;
        Node& kept = graph_.nodes[id] = std::move(node);
        if (const auto client = numberOf(props, PW_KEY_CLIENT_ID)) {
            const auto process = graph_.clientProcessIDs.find(static_cast<std::uint32_t>(*client));
            if (process != graph_.clientProcessIDs.end()) kept.processID = process->second;
        }
        if (isMicrophone(kept))
            kept.detailsKnown = true;
        else
            bindNode(kept);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
        Port port;
        port.id = id;
        port.node = static_cast<std::uint32_t>(numberOf(props, PW_KEY_NODE_ID).value_or(0));
        port.isOutput = textOf(props, PW_KEY_PORT_DIRECTION) == "out";
        port.isMonitor = textOf(props, PW_KEY_PORT_MONITOR) == "true";
        port.channel = textOf(props, PW_KEY_AUDIO_CHANNEL);
        graph_.ports[id] = std::move(port);
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0) {
        if (const auto process = numberOf(props, PW_KEY_SEC_PID)) graph_.clientProcessIDs[id] = *process;
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0 &&
               textOf(props, PW_KEY_METADATA_NAME) == "default") {
        bindMetadata(id);
    } else {
        return;
    }
    changed();
}

void PipeWireConnection::onGlobalRemoved(std::uint32_t id) {
    boundNodes_.erase(id);
    if (metadata_ && metadata_->id == id) {
        metadata_.reset();
        graph_.defaultSource.clear();
        graph_.defaultSink.clear();
    }
    if (graph_.nodes.erase(id) + graph_.ports.erase(id) + graph_.clientProcessIDs.erase(id) > 0) changed();
}

void PipeWireConnection::bindNode(Node& node) {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = [](void* self, const pw_node_info* info) {
            static_cast<BoundNode*>(self)->onInfo(info);
        };
        table.param = [](void* self, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                         const spa_pod* value) { static_cast<BoundNode*>(self)->onParam(id, value); };
        return table;
    }();
    auto bound = std::make_unique<BoundNode>();
    bound->owner = this;
    bound->id = node.id;
    bound->proxy.reset(static_cast<pw_node*>(
        pw_registry_bind(server_->registry(), node.id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0)));
    if (!bound->proxy) return;
    pw_node_add_listener(bound->proxy.get(), bound->hook.get(), &events, bound.get());
    boundNodes_[node.id] = std::move(bound);
}

void PipeWireConnection::bindMetadata(std::uint32_t id) {
    static const pw_metadata_events events = [] {
        pw_metadata_events table{};
        table.version = PW_VERSION_METADATA_EVENTS;
        table.property = [](void* self, std::uint32_t subject, const char* key, const char*,
                            const char* value) {
            static_cast<BoundMetadata*>(self)->onProperty(subject, key, value);
            return 0;
        };
        return table;
    }();
    auto bound = std::make_unique<BoundMetadata>();
    bound->owner = this;
    bound->id = id;
    bound->proxy.reset(static_cast<pw_metadata*>(
        pw_registry_bind(server_->registry(), id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0)));
    if (!bound->proxy) return;
    metadata_ = std::move(bound);
    pw_metadata_add_listener(metadata_->proxy.get(), metadata_->hook.get(), &events, metadata_.get());
}

void PipeWireConnection::waitForGraph(double seconds) {
    const LoopLock lock(loop_.get());
    timespec until{};
    pw_thread_loop_get_time(loop_.get(), &until, static_cast<std::int64_t>(seconds * 1e9));
    while (!attempted_ || (core_ && syncsLeft_ > 0))
        if (pw_thread_loop_timed_wait_full(loop_.get(), &until) < 0) return;
}

std::optional<PlatformError> PipeWireConnection::unavailable() const {
    const LoopLock lock(loop_.get());
    if (core_ && connectError_ == 0) return std::nullopt;
    return PlatformError(
        "PipeWire", connectError_ == 0 ? ENOTCONN : connectError_,
        "The media server PipeWire does not answer, so there is no camera, microphone or system "
        "sound. Start it with: systemctl --user start pipewire wireplumber");
}

}  // namespace platform::pipewire
