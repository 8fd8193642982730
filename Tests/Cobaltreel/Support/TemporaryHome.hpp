#pragma once

#include "Rig/TemporaryFolder.hpp"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace cobaltreel {

/// Points the user's directories into a folder of the test's own, and back afterwards.
class TemporaryHome : public ::testing::Test {
  protected:
    TemporaryHome() {
        setVariable("HOME", home);
        setVariable("XDG_DATA_HOME", home / "data");
        setVariable("XDG_CONFIG_HOME", home / "config");
        setVariable("XDG_VIDEOS_DIR", home / "videos");
    }
    ~TemporaryHome() override {
        for (const auto& [name, value] : before_) assign(name, value);
    }

    /// Sets an environment variable, or removes it, until the end of the test.
    void setVariable(const std::string& name, const std::optional<std::string>& value) {
        const char* now = std::getenv(name.c_str());
        before_.try_emplace(name, now ? std::optional<std::string>(now) : std::nullopt);
        assign(name, value);
    }

  private:
    static void assign(const std::string& name, const std::optional<std::string>& value) {
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        tzset();
    }

    rig::TemporaryFolder folder_;

  protected:
    const std::filesystem::path home = folder_.path();

  private:
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace cobaltreel
