#include "Cobaltreel/Support/DocumentFile.hpp"

#include "Platform/Foundation/DurableFiles.hpp"

namespace cobaltreel::DocumentFile {

std::string read(const std::filesystem::path& file, std::uintmax_t largest) {
    return platform::readFile(file, largest);
}

}  // namespace cobaltreel::DocumentFile
