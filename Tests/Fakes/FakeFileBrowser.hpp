#pragma once

#include "Platform/Desktop/FileBrowser.hpp"

#include <vector>

namespace platform {

/// A file browser that remembers what it was to show, and fails when told to.
class FakeFileBrowser final : public FileBrowser {
  public:
    std::optional<PlatformError> error;
    std::vector<std::filesystem::path> revealed;

    void reveal(const std::filesystem::path& file, Outcome done) override {
        revealed.push_back(file);
        done(error);
    }
};

}  // namespace platform
