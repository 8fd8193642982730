#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace platform {

/// An error of a host service. Codes of third-party libraries become one of these at the boundary:
/// `domain` names the service or library, `code` is its own number, `description` is a sentence for
/// a person that names the file or device and, where there is one, the remedy.
class PlatformError : public std::runtime_error {
  public:
    PlatformError(std::string domain, int code, const std::string& description)
        : std::runtime_error(description), domain_(std::move(domain)), code_(code) {}

    const std::string& domain() const noexcept { return domain_; }
    int code() const noexcept { return code_; }
    std::string description() const { return what(); }

  private:
    std::string domain_;
    int code_;
};

}  // namespace platform
