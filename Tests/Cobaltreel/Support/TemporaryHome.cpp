#include "Cobaltreel/Support/TemporaryHome.hpp"

#include <cstdlib>
#include <ctime>

namespace cobaltreel {

namespace fs = std::filesystem;

TemporaryHome::TemporaryHome() {
    std::string pattern = (fs::temp_directory_path() / "cobaltreel-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory: " + pattern);
    home = pattern;
    setVariable("HOME", home);
    setVariable("XDG_DATA_HOME", home / "data");
    setVariable("XDG_CONFIG_HOME", home / "config");
    setVariable("XDG_VIDEOS_DIR", home / "videos");
}

TemporaryHome::~TemporaryHome() {
    for (const auto& [name, value] : before_)
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    tzset();
    std::error_code ignored;
    fs::remove_all(home, ignored);
}

void TemporaryHome::setVariable(const std::string& name, const std::optional<std::string>& value) {
    const char* now = std::getenv(name.c_str());
    before_.try_emplace(name, now ? std::optional<std::string>(now) : std::nullopt);
    value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    tzset();
}

}  // namespace cobaltreel
