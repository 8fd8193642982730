#include "Cobaltreel/Support/SessionFolder.hpp"

#include "CobaltreelCore/SessionDocuments.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <QFile>
#include <QSaveFile>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace cobaltreel {

namespace {

using std::filesystem::path;

constexpr std::uintmax_t mebibyte = 1024 * 1024;
// Half an hour of events is under 20 MB.
constexpr std::uintmax_t largestMeta = mebibyte;
constexpr std::uintmax_t largestEvents = 256 * mebibyte;
constexpr double longestRecording = 24 * 3600;  // seconds
constexpr std::int64_t largestSide = 32768;     // pixels

QString qtPath(const path& file) { return QFile::decodeName(file.c_str()); }

[[noreturn]] void failToWrite(const path& file, const QSaveFile& save) {
    throw platform::PlatformError("Files", save.error(),
                                  file.string() +
                                      " could not be written: " + save.errorString().toStdString() +
                                      ". Check the folder's permissions and the free disk space.");
}

[[noreturn]] void failToRead(const path& file, int code, const std::string& why) {
    throw platform::PlatformError("Files", code, file.string() + " could not be read: " + why + ".");
}

void writeAtomically(const path& file, std::string_view bytes) {
    QSaveFile save(qtPath(file));
    if (!save.open(QIODevice::WriteOnly)) failToWrite(file, save);
    const auto size = static_cast<qint64>(bytes.size());
    if (save.write(bytes.data(), size) != size) failToWrite(file, save);
    // Flushes to the disk, then takes the target's place.
    if (!save.commit()) failToWrite(file, save);
}

std::string readWhole(const path& file, std::uintmax_t largest) {
    std::error_code error;
    // Fails for all but regular files, which keeps us from waiting on a pipe.
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error) failToRead(file, error.value(), error.message());
    if (size > largest) failToRead(file, QFile::ReadError, "it is too large to be a document of a recording");
    QFile source(qtPath(file));
    if (!source.open(QIODevice::ReadOnly))
        failToRead(file, source.error(), source.errorString().toStdString());
    std::string bytes(size, '\0');
    const qint64 count = source.read(bytes.data(), static_cast<qint64>(size));
    if (count < 0) failToRead(file, source.error(), source.errorString().toStdString());
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

template <typename Decode>
auto readDocument(const path& file, std::uintmax_t largest, Decode decode) {
    const std::string bytes = readWhole(file, largest);
    try {
        return decode(bytes);
    } catch (const DocumentError& error) {
        throw DocumentError(error.key(), error.reason(), file.string());
    }
}

}  // namespace

void SessionFolder::writeMeta(const SessionMeta& meta) const {
    writeAtomically(metaFile(), SessionDocuments::encode(meta));
}

void SessionFolder::writeEvents(const EventLog& log) const {
    writeAtomically(eventsFile(), SessionDocuments::encode(log));
}

SessionMeta SessionFolder::readMeta() const {
    return readDocument(metaFile(), largestMeta, SessionDocuments::decodeSessionMeta);
}

EventLog SessionFolder::readEvents() const {
    return readDocument(eventsFile(), largestEvents, SessionDocuments::decodeEventLog);
}

std::optional<std::string> implausibility(const SessionMeta& meta) {
    for (const auto& [key, side] : {std::pair("captureWidthPx", meta.captureWidthPx),
                                    std::pair("captureHeightPx", meta.captureHeightPx)})
        if (side < 2 || side > largestSide) return std::string(key) + " is " + std::to_string(side);
    if (meta.recordingEndHostTime && meta.screenFirstPTS &&
        !(std::abs(*meta.recordingEndHostTime - *meta.screenFirstPTS) <= longestRecording))
        return "recordingEndHostTime is a day away from screenFirstPTS";
    return std::nullopt;
}

}  // namespace cobaltreel
