#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace rig {

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "cobaltreel-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder: " + pattern);
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

}  // namespace rig
