#pragma once

#include <string>

namespace platform {

/// A library that the program works with, as it is installed here.
struct LibraryVersion {
    std::string name;
    std::string version;
};

}  // namespace platform
