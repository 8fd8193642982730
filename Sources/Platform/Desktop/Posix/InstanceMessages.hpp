#pragma once

#include "Platform/Desktop/SingleInstance.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <optional>
#include <string>

#include <sys/un.h>

namespace platform {

// What goes over the socket of the instance that runs; PosixSingleInstance.hpp has the form of it.

/// A socket for requests. Datagrams: one that is bound takes them at once, also while its program is busy.
UniqueFd makeRequestSocket();

/// The two ends of an answer's way. Throws PlatformError.
struct AnswerSockets {
    AnswerSockets();
    UniqueFd ours, theirs;
};

/// False when nobody listens there. `answerTo` may be null. A queue that is full counts as told, unless an
/// answer is wanted: then PlatformError is thrown, as for a text that is too long.
bool sendRequest(const sockaddr_un& to, const InstanceRequest& request, const UniqueFd* answerTo);

struct ReceivedRequest {
    std::optional<InstanceRequest> request;  ///< absent: of no form that this version knows
    UniqueFd answerTo;                       ///< invalid when nobody waits for an answer
};
/// The next one that waits; absent when none does. Never blocks.
std::optional<ReceivedRequest> receiveRequest(int socket);

/// Absent: the request is not known here. Never blocks; somebody who has gone gets nothing.
void sendAnswer(const UniqueFd& to, const std::optional<std::string>& answer);
/// Waits five seconds at most. Throws PlatformError when none comes, or one that says "unknown".
std::string receiveAnswer(int socket);

}  // namespace platform
