#pragma once

#include "Rig/TemporaryFolder.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace cobaltreel {

/// Points the user's directories into a folder of the test's own, and back afterwards.
class TemporaryHome : public ::testing::Test {
  protected:
    TemporaryHome();
    ~TemporaryHome() override;

    /// Sets an environment variable, or removes it, until the end of the test.
    void setVariable(const std::string& name, const std::optional<std::string>& value);

  private:
    rig::TemporaryFolder folder_;

  protected:
    const std::filesystem::path home = folder_.path();

  private:
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace cobaltreel
