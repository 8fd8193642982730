#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The user's settings, kept between runs under short keys. Main thread only.
/// What cannot be stored is lost silently: a setting is never worth an interruption.
class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// The text stored under `key`; absent when there is none or something else is stored there.
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    /// The list stored under `key`; empty when there is none.
    virtual std::vector<std::string> stringArray(const std::string& key) const = 0;

    /// Both store at once: the next start of the program reads what was set here.
    virtual void setString(const std::string& key, const std::string& value) = 0;
    virtual void setStringArray(const std::string& key, const std::vector<std::string>& values) = 0;

    /// The application's own defaults. Until `setStandard` has been called they live in memory only.
    static std::shared_ptr<UserDefaults> standard();
    /// Chosen once at start-up, before anything reads a setting; tests put their own in its place.
    static void setStandard(std::shared_ptr<UserDefaults> defaults);
};

}  // namespace platform
