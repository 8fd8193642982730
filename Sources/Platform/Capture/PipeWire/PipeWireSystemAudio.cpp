#include "Platform/Capture/PipeWire/PipeWireSystemAudio.hpp"

#include <algorithm>
#include <array>

#include <unistd.h>

namespace platform::pipewire {

namespace {

enum class Side { left, right, both, none };

/// The side of the stereo picture where a channel belongs.
Side sideOf(const std::string& channel) {
    static const std::map<std::string, Side> sides{
        {"FL", Side::left},   {"FR", Side::right},   {"SL", Side::left},   {"SR", Side::right},
        {"RL", Side::left},   {"RR", Side::right},   {"FLC", Side::left},  {"FRC", Side::right},
        {"AUX0", Side::left}, {"AUX1", Side::right}, {"MONO", Side::both}, {"FC", Side::both},
        {"RC", Side::both}};
    const auto found = sides.find(channel);
    return found == sides.end() ? Side::none : found->second;
}

}  // namespace

/// A link that the server may end by itself, for instance when a program changes its format.
struct PipeWireSystemAudio::Link {
    PipeWireSystemAudio* owner = nullptr;
    Proxy<pw_proxy> proxy;
    Hook hook;
    bool hasEnded = false;

    void end() {
        hasEnded = true;
        owner->relink_->signal();
    }
};

PipeWireSystemAudio::PipeWireSystemAudio(std::shared_ptr<PipeWireConnection> connection)
    : connection_(std::move(connection)) {
    const LoopLock lock(connection_->threadLoop());
    retry_ = std::make_unique<LoopEvent>(connection_->loop(), [this] {
        if (std::exchange(hasFailed_, false)) disconnected();
        graphChanged();
    });
    relink_ = std::make_unique<LoopEvent>(connection_->loop(), [this] {
        std::erase_if(links_, [](const auto& link) { return link.second->hasEnded; });
        graphChanged();
    });
    connection_->addListener(*this);
}

PipeWireSystemAudio::~PipeWireSystemAudio() {
    stop();
    const LoopLock lock(connection_->threadLoop());
    connection_->removeListener(*this);
    retry_.reset();
    relink_.reset();
}

void PipeWireSystemAudio::start(SerialQueue& queue, SampleHandler handler) {
    stop();
    const LoopLock lock(connection_->threadLoop());
    gate_ = std::make_unique<SampleGate<SampleBuffer>>(queue, std::move(handler),
                                                       AudioCaptureStream::samplesWaiting);
    running_ = true;
    graphChanged();
}

void PipeWireSystemAudio::stop() {
    std::unique_ptr<SampleGate<SampleBuffer>>
        closing;  // destroyed without the lock: closing waits for the handler
    const LoopLock lock(connection_->threadLoop());
    running_ = false;
    disconnected();
    closing = std::move(gate_);
}

void PipeWireSystemAudio::disconnected() {
    links_.clear();
    stream_.reset();
}

void PipeWireSystemAudio::openStream() {
    AudioCaptureStream::Setup setup;
    setup.name = "Cobaltreel system audio";
    setup.channels = 2;
    stream_ = std::make_unique<AudioCaptureStream>(
        *connection_, setup,
        [this](SampleBuffer sample) {
            if (gate_) gate_->pass(std::move(sample));
        },
        [this](const std::string&) {
            hasFailed_ = true;
            retry_->signalAfter(PipeWireConnection::retryInterval);
        });
}

void PipeWireSystemAudio::graphChanged() {
    if (!running_ || !connection_->isConnected()) return;
    if (hasFailed_) {
        disconnected();
        return;
    }
    try {
        if (!stream_) openStream();
    } catch (const PlatformError&) {
        retry_->signalAfter(PipeWireConnection::retryInterval);
        return;
    }
    const auto wanted = wantedLinks();
    std::erase_if(links_, [&](const auto& link) { return !wanted.contains(link.first); });
    for (const auto& ports : wanted)
        if (!links_.contains(ports)) makeLink(ports);
}

bool PipeWireSystemAudio::isRecorded(const Node& node) const {
    if (!isPlayback(node) || !node.detailsKnown || node.processID == getpid()) return false;
    if (node.linkGroup.empty()) return true;
    // The far end of an effect or loopback that stands between programs and a speaker: what it plays is
    // recorded already where the programs play it.
    return std::ranges::none_of(connection_->graph().nodes, [&](const auto& entry) {
        return isSink(entry.second) && entry.second.linkGroup == node.linkGroup;
    });
}

std::set<PipeWireSystemAudio::PortPair> PipeWireSystemAudio::wantedLinks() const {
    std::set<PortPair> wanted;
    const auto own = stream_->nodeID();
    if (!own) return wanted;
    const Graph& graph = connection_->graph();
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    for (const auto& [id, port] : graph.ports) {
        if (port.node != *own || port.isOutput) continue;
        (sideOf(port.channel) == Side::right ? right : left) = id;
    }
    if (left == 0 || right == 0) return wanted;
    for (const auto& [id, port] : graph.ports) {
        const auto node = graph.nodes.find(port.node);
        if (!port.isOutput || port.isMonitor || node == graph.nodes.end() || !isRecorded(node->second))
            continue;
        const Side side = sideOf(port.channel);
        if (side == Side::left || side == Side::both) wanted.emplace(id, left);
        if (side == Side::right || side == Side::both) wanted.emplace(id, right);
    }
    return wanted;
}

void PipeWireSystemAudio::makeLink(const PortPair& ports) {
    const std::string output = std::to_string(ports.first);
    const std::string input = std::to_string(ports.second);
    const std::array<spa_dict_item, 2> items{
        {{PW_KEY_LINK_OUTPUT_PORT, output.c_str()}, {PW_KEY_LINK_INPUT_PORT, input.c_str()}}};
    const spa_dict props{0, static_cast<std::uint32_t>(items.size()), items.data()};
    auto link = std::make_unique<Link>();
    link->proxy.reset(static_cast<pw_proxy*>(pw_core_create_object(
        connection_->core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &props, 0)));
    if (!link->proxy) return;
    static const pw_proxy_events events = [] {
        pw_proxy_events table{};
        table.version = PW_VERSION_PROXY_EVENTS;
        table.removed = [](void* self) { static_cast<Link*>(self)->end(); };
        table.error = [](void* self, int, int, const char*) { static_cast<Link*>(self)->end(); };
        return table;
    }();
    link->owner = this;
    pw_proxy_add_listener(link->proxy.get(), link->hook.get(), &events, link.get());
    links_[ports] = std::move(link);
}

}  // namespace platform::pipewire
