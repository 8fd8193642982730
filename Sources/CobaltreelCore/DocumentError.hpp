#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace cobaltreel {

/// A session document that cannot be written or read.
class DocumentError : public std::runtime_error {
  public:
    /// `key` is the path of the value at fault, as in "samples[3].t"; empty for the whole document.
    /// `reason` follows it in the message, as in "is missing". `file` is named once it is known.
    DocumentError(std::string key, std::string reason, const std::string& file = {})
        : std::runtime_error((file.empty() ? "" : file + ": ") + (key.empty() ? "the document" : key) + " " +
                             reason),
          key_(std::move(key)),
          reason_(std::move(reason)) {}

    const std::string& key() const noexcept { return key_; }
    const std::string& reason() const noexcept { return reason_; }

  private:
    std::string key_;
    std::string reason_;
};

}  // namespace cobaltreel
