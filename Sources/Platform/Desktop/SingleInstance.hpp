#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform {

/// The right to be the only instance of the program in this session of the desktop, until destroyed or the
/// process ends in whatever way.
class InstanceClaim {
  public:
    virtual ~InstanceClaim() = default;
};

/// What another process of the program wants of the instance that runs.
struct InstanceRequest {
    enum class Kind {
        show,    ///< it was started once more
        toggle,  ///< press its button
        status,  ///< what it does at this moment
        mark,    ///< mark this moment of the recording, with `text`
    };
    static constexpr std::size_t maxText = 4096;  ///< bytes

    Kind kind = Kind::show;
    std::string text{};  ///< as it was sent: neither its characters nor its meaning are checked

    friend bool operator==(const InstanceRequest&, const InstanceRequest&) = default;
};

/// Returns the answer, of at most `InstanceRequest::maxText` bytes; it goes to the sender if that waits for
/// one.
using InstanceHandler = std::function<std::string(const InstanceRequest&)>;

/// Main thread.
class SingleInstance {
  public:
    virtual ~SingleInstance() = default;
    /// Claims that right; `onRequest` is then called on the main thread for what other processes want. Null
    /// when another instance has it, which has been sent `show` by then. Waits, two seconds at most, for an
    /// instance that is just beginning or ending. Throws PlatformError when neither can be had.
    virtual std::unique_ptr<InstanceClaim> claim(InstanceHandler onRequest) = 0;
    /// Sends to the instance that runs; false when none does. Of `show` and `toggle` that wait, the last
    /// counts. Throws PlatformError for a text that is too long, and where others could be listening.
    virtual bool send(const InstanceRequest& request) = 0;
    /// The same, and waits for the answer, five seconds at most; absent when no instance runs. Throws
    /// PlatformError when one runs and does not answer, or does not know the request.
    virtual std::optional<std::string> query(const InstanceRequest& request) = 0;
};

}  // namespace platform
