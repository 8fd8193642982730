#pragma once

#include "Platform/Foundation/UserDefaults.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// User defaults that end with the object. What was stored is open to a test.
class InMemoryUserDefaults final : public UserDefaults {
  public:
    std::map<std::string, std::string> strings;
    std::map<std::string, std::vector<std::string>> arrays;

    std::optional<std::string> string(const std::string& key) const override;
    std::vector<std::string> stringArray(const std::string& key) const override;
    void setString(const std::string& key, const std::string& value) override { strings[key] = value; }
    void setStringArray(const std::string& key, const std::vector<std::string>& values) override {
        arrays[key] = values;
    }
};

}  // namespace platform
