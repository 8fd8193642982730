#include "Cobaltreel/Support/TemporaryHome.hpp"

#include <cstdlib>
#include <ctime>

namespace cobaltreel {

TemporaryHome::TemporaryHome() {
    setVariable("HOME", home);
    setVariable("XDG_DATA_HOME", home / "data");
    setVariable("XDG_CONFIG_HOME", home / "config");
    setVariable("XDG_VIDEOS_DIR", home / "videos");
}

TemporaryHome::~TemporaryHome() {
    for (const auto& [name, value] : before_)
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    tzset();
}

void TemporaryHome::setVariable(const std::string& name, const std::optional<std::string>& value) {
    const char* now = std::getenv(name.c_str());
    before_.try_emplace(name, now ? std::optional<std::string>(now) : std::nullopt);
    value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    tzset();
}

}  // namespace cobaltreel
