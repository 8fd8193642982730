#pragma once

#include "Platform/Foundation/UserDefaults.hpp"

#include <QSettings>

namespace platform {

/// User defaults in one INI file in the user's configuration directory (`$XDG_CONFIG_HOME`).
class QtUserDefaults final : public UserDefaults {
  public:
    /// Reads and writes Cobaltreel/Cobaltreel.conf in the configuration directory.
    QtUserDefaults();

    std::optional<std::string> string(const std::string& key) const override;
    std::vector<std::string> stringArray(const std::string& key) const override;
    void setString(const std::string& key, const std::string& value) override;
    void setStringArray(const std::string& key, const std::vector<std::string>& values) override;

  private:
    QSettings settings_;
};

}  // namespace platform
