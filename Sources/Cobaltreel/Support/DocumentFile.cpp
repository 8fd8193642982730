#include "Cobaltreel/Support/DocumentFile.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <cerrno>
#include <fstream>
#include <system_error>

namespace cobaltreel::DocumentFile {

namespace {

[[noreturn]] void fail(const std::filesystem::path& file, int code, const std::string& why) {
    throw platform::PlatformError("Files", code, file.string() + " could not be read: " + why + ".");
}

}  // namespace

std::string read(const std::filesystem::path& file, std::uintmax_t largest) {
    std::error_code error;
    // Fails for all but regular files, which keeps us from waiting on a pipe.
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error) fail(file, error.value(), error.message());
    if (size > largest) fail(file, EFBIG, "it is too large to be a document of a recording");
    errno = 0;
    std::ifstream source(file, std::ios::binary);
    if (!source) {
        const int code = errno != 0 ? errno : EIO;
        fail(file, code, std::generic_category().message(code));
    }
    std::string bytes(size, '\0');
    source.read(bytes.data(), static_cast<std::streamsize>(size));
    if (source.bad()) fail(file, EIO, "the disk does not give it");
    bytes.resize(static_cast<std::size_t>(source.gcount()));
    return bytes;
}

}  // namespace cobaltreel::DocumentFile
