#include "Cobaltreel/Capture/RecordingFiles.hpp"

#include "Cobaltreel/Support/EventJournal.hpp"
#include "Cobaltreel/Support/Paths.hpp"

#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace cobaltreel {

using platform::HeldFile;
using platform::PlatformError;

namespace {

/// Enough for the documents of a recording of some minutes; those of a longer one stay in the journal.
constexpr std::int64_t reservedBytes = 512 * 1024;

std::pair<SessionFolder, HeldFile> makeFreshFolder(std::chrono::system_clock::time_point now) {
    for (;; now += std::chrono::seconds(1)) {
        const SessionFolder folder{Paths::newSessionDir(now)};
        std::error_code failure;
        const bool isFresh = std::filesystem::is_empty(folder.dir, failure);
        if (failure && failure != std::errc::no_such_file_or_directory)
            platform::throwFileError("The folder " + folder.dir.string() + " cannot be read",
                                     failure.value());
        if (!isFresh) continue;
        try {
            return {folder, HeldFile::make(folder.journalFile())};
        } catch (const PlatformError& error) {
            // Another process was faster, to use the folder or to clear it away.
            const std::error_condition code(error.code(), std::generic_category());
            if (code != std::errc::operation_would_block && code != std::errc::no_such_file_or_directory)
                throw;
        }
    }
}

}  // namespace

RecordingFiles::RecordingFiles(std::chrono::system_clock::time_point now, const SessionMeta& meta) {
    auto [folder, journal] = makeFreshFolder(now);
    folder_ = std::move(folder);
    journal_.emplace(std::move(journal));
    folder_.writeMeta(meta);
    reserve_ = platform::DiskReserve(folder_.dir, reservedBytes);
}

void RecordingFiles::append(EventLog events) {
    waiting_.append(std::move(events));
    if (waiting_.isEmpty()) return;
    journal_->append(EventJournal::line(waiting_));
    waiting_ = {1, {}, {}};
}

void RecordingFiles::keep(EventLog events, const SessionMeta& meta) {
    try {
        append(std::move(events));
    } catch (const std::exception&) {
    }
    try {
        folder_.writeMeta(meta);
    } catch (const std::exception&) {
    }
}

std::optional<PlatformError> RecordingFiles::complete(EventLog events, const SessionMeta& meta) {
    std::optional<PlatformError> failure;
    const auto attempt = [&failure](const auto& work) {
        try {
            work();
            return true;
        } catch (const PlatformError& error) {
            if (!failure) failure = error;
        } catch (const std::exception& error) {
            if (!failure) failure.emplace("Cobaltreel", 4, error.what());
        }
        return false;
    };
    reserve_.release();
    attempt([&] { folder_.writeMeta(meta); });
    EventLog last = std::move(waiting_);
    last.append(std::move(events));
    waiting_ = {1, {}, {}};
    const bool isCompact = attempt([&] {
        EventLog all = EventJournal::read(folder_.journalFile());
        EventLog copy = last;
        all.append(std::move(copy));
        folder_.writeEvents(all);
    });
    std::error_code ignored;
    if (isCompact)
        std::filesystem::remove(folder_.journalFile(), ignored);
    else
        attempt([&] { append(std::move(last)); });
    journal_.reset();
    return failure;
}

}  // namespace cobaltreel
