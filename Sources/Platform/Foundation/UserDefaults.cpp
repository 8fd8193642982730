#include "Platform/Foundation/UserDefaults.hpp"

#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <utility>

namespace platform {
namespace {

std::shared_ptr<UserDefaults>& installed() {
    static std::shared_ptr<UserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
    return defaults;
}

}  // namespace

std::shared_ptr<UserDefaults> UserDefaults::standard() { return installed(); }

void UserDefaults::setStandard(std::shared_ptr<UserDefaults> defaults) { installed() = std::move(defaults); }

std::optional<std::string> InMemoryUserDefaults::string(const std::string& key) const {
    const auto found = strings.find(key);
    return found == strings.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string> InMemoryUserDefaults::stringArray(const std::string& key) const {
    const auto found = arrays.find(key);
    return found == arrays.end() ? std::vector<std::string>{} : found->second;
}

}  // namespace platform
