#pragma once

#include "Platform/Foundation/PlatformError.hpp"

#include <filesystem>
#include <functional>
#include <optional>

namespace platform {

/// The desktop's file browser. Main thread.
class FileBrowser {
  public:
    using Outcome = std::function<void(const std::optional<PlatformError>& error)>;

    virtual ~FileBrowser() = default;
    /// Shows the file selected in its folder, or at least the folder. Returns at once; `done` is called
    /// later, on the main thread, with what went wrong, unless this object has gone by then.
    virtual void reveal(const std::filesystem::path& file, Outcome done) = 0;
};

}  // namespace platform
