#pragma once

#include "Platform/Capture/PipeWire/CameraFormat.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace platform::pipewire {

/// A node of the media graph, as far as capture cares.
struct Node {
    std::uint32_t id = 0;
    int serial = 0;  ///< never given twice, unlike the id
    std::string name;
    std::string description;
    std::string mediaClass;
    std::string linkGroup;               ///< nodes of one effect or loopback share it; empty for others
    std::optional<int> processID;        ///< of the program behind it, once it is known
    bool detailsKnown = false;           ///< the parameters, which come only on request, have arrived
    std::vector<OfferedFormat> formats;  ///< of a camera
};

struct Port {
    std::uint32_t id = 0;
    std::uint32_t node = 0;
    bool isOutput = false;
    bool isMonitor = false;
    std::string channel;  ///< "FL", "MONO", …; empty for ports without sound
};

/// What the media server has told so far. Lives on the connection's loop.
struct Graph {
    std::map<std::uint32_t, Node> nodes;
    std::map<std::uint32_t, Port> ports;
    std::map<std::uint32_t, int> clientProcessIDs;
    std::string defaultSource;  ///< node name; a sink's when there is no microphone
    std::string defaultSink;

    const Node* nodeNamed(const std::string& name) const {
        for (const auto& [id, node] : nodes)
            if (node.name == name) return &node;
        return nullptr;
    }
};

inline bool isCamera(const Node& node) { return node.mediaClass.starts_with("Video/Source"); }
inline bool isMicrophone(const Node& node) { return node.mediaClass.starts_with("Audio/Source"); }
inline bool isPlayback(const Node& node) { return node.mediaClass == "Stream/Output/Audio"; }
inline bool isSink(const Node& node) { return node.mediaClass.starts_with("Audio/Sink"); }

}  // namespace platform::pipewire
