#include "Platform/Desktop/Posix/InstanceMessages.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace platform {
namespace {

// Five seconds in small pieces: one in which the whole machine stands still counts once.
constexpr int waitMilliseconds = 100, maxWaits = 50;
constexpr std::string_view greeting = "cobaltreel 1 ";
constexpr std::string_view done = "done", unknown = "unknown";
constexpr std::array<std::pair<InstanceRequest::Kind, std::string_view>, 4> kinds{
    {{InstanceRequest::Kind::show, "show"},
     {InstanceRequest::Kind::toggle, "toggle"},
     {InstanceRequest::Kind::status, "status"},
     {InstanceRequest::Kind::mark, "mark"}}};
/// The head of a message takes less than the difference.
constexpr std::size_t maxMessage = InstanceRequest::maxText + 64;

[[noreturn]] void fail(int code, const std::string& text) { throw PlatformError("Desktop", code, text); }

/// Room for a descriptor that goes along with a message.
union Control {
    cmsghdr header;
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
};

/// The word after the greeting, and what follows its line; absent for what we did not write.
std::optional<std::pair<std::string_view, std::string_view>> parse(std::string_view message) {
    if (!message.starts_with(greeting)) return std::nullopt;
    message.remove_prefix(greeting.size());
    const auto end = message.find('\n');
    if (end == message.npos) return std::nullopt;
    return std::pair(message.substr(0, end), message.substr(end + 1));
}

std::optional<InstanceRequest> parseRequest(std::string_view message) {
    const auto parts = parse(message);
    if (!parts || parts->second.size() > InstanceRequest::maxText) return std::nullopt;
    for (const auto& [kind, word] : kinds)
        if (word == parts->first) return InstanceRequest{kind, std::string(parts->second)};
    return std::nullopt;
}

std::string headOf(InstanceRequest::Kind kind) {
    for (const auto& [each, word] : kinds)
        if (each == kind) return std::string(greeting) + std::string(word) + '\n';
    return {};
}

/// The descriptors that came along; all but the first are closed.
UniqueFd takeDescriptor(msghdr& message) {
    UniqueFd first;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
            UniqueFd taken(descriptor);
            if (!first) first = std::move(taken);
        }
    }
    return first;
}

}  // namespace

UniqueFd makeRequestSocket() {
    return UniqueFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

AnswerSockets::AnswerSockets() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        fail(errno, std::string("No socket for an answer can be made: ") + std::strerror(errno));
    ours = UniqueFd(ends[0]);
    theirs = UniqueFd(ends[1]);
}

bool sendRequest(const sockaddr_un& to, const InstanceRequest& request, const UniqueFd* answerTo) {
    if (request.text.size() > InstanceRequest::maxText)
        fail(E2BIG, "The text is longer than " + std::to_string(InstanceRequest::maxText) +
                        " bytes. Use a shorter one.");
    std::string bytes = headOf(request.kind) + request.text;
    iovec block{bytes.data(), bytes.size()};
    sockaddr_un address = to;
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &block;
    message.msg_iovlen = 1;
    Control control{};
    if (answerTo) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
        cmsghdr* part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof(int));
        const int descriptor = answerTo->get();
        std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
    }
    const UniqueFd socket = makeRequestSocket();
    if (sendmsg(socket.get(), &message, MSG_NOSIGNAL) >= 0) return true;
    if (errno != EAGAIN) return false;
    if (answerTo)
        fail(EAGAIN, "The application that runs does not answer: too many requests wait. Try again.");
    return true;  // enough such requests wait there already
}

std::optional<ReceivedRequest> receiveRequest(int socket) {
    std::array<char, maxMessage> bytes{};
    iovec block{bytes.data(), bytes.size()};
    Control control{};
    msghdr message{};
    message.msg_iov = &block;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    const ssize_t size = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    if (size < 0) return std::nullopt;
    ReceivedRequest received{std::nullopt, takeDescriptor(message)};
    if ((message.msg_flags & MSG_TRUNC) == 0)
        received.request = parseRequest({bytes.data(), static_cast<std::size_t>(size)});
    return received;
}

void sendAnswer(const UniqueFd& to, const std::optional<std::string>& answer) {
    if (!to) return;
    std::string bytes(greeting);
    bytes.append(answer ? done : unknown).append("\n");
    if (answer) bytes.append(*answer, 0, InstanceRequest::maxText);
    send(to.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

std::string receiveAnswer(int socket) {
    pollfd watched{socket, POLLIN, 0};
    int waits = 0;
    while (poll(&watched, 1, waitMilliseconds) <= 0)
        if (++waits == maxWaits)
            fail(ETIMEDOUT, "The application that runs does not answer. End it, and start it again.");
    std::array<char, maxMessage> bytes{};
    const ssize_t size = recv(socket, bytes.data(), bytes.size(), 0);
    if (size <= 0) fail(ECONNRESET, "The application ended before it answered. Try again.");
    const auto parts = parse({bytes.data(), static_cast<std::size_t>(size)});
    if (!parts || parts->first != done)
        fail(EPROTO, "The application that runs is of another version. End it, and start it again.");
    return std::string(parts->second);
}

}  // namespace platform
