#include "Cobaltreel/Shell/OrphanSessions.hpp"

#include "Cobaltreel/Capture/InterruptedTake.hpp"

#include <QDateTime>
#include <QFileInfo>
#include <algorithm>
#include <limits>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace cobaltreel::OrphanSessions {
namespace {

namespace fs = std::filesystem;

const std::string promptedKey = "promptedOrphanSessions";

struct Candidate {
    Orphan orphan;
    qint64 createdAt;  // milliseconds of the wall clock
    std::string name;
};

/// The distant past when the file system does not tell.
qint64 creationTime(const fs::path& dir) {
    const QFileInfo info(QFile::decodeName(dir.c_str()));
    const QDateTime born = info.birthTime();
    // Some file systems keep no birth; a folder last changes when its last file is made.
    const QDateTime time = born.isValid() ? born : info.lastModified();
    return time.isValid() ? time.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

std::vector<fs::path> directoriesIn(const fs::path& root) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        if (entry->symlink_status(unknown).type() == fs::file_type::directory) found.push_back(entry->path());
    }
    return found;
}

}  // namespace

std::optional<Orphan> takeUnprompted(const fs::path& root, platform::UserDefaults& defaults,
                                     platform::MediaService& media) {
    using State = InterruptedTake::Settled::State;
    std::vector<Candidate> candidates;
    for (const fs::path& dir : directoriesIn(root)) {
        const SessionFolder folder{dir};
        auto settled = InterruptedTake::settle(folder, media);
        if (settled.state == State::empty) InterruptedTake::removeIfEmpty(folder, media);
        // Where the times cannot be true the movies are there, but no length to offer.
        if (settled.state != State::complete || implausibility(settled.meta)) continue;
        candidates.push_back({{folder, std::move(settled.meta)}, creationTime(dir), dir.filename().string()});
    }

    const auto stored = defaults.stringArray(promptedKey);
    std::set<std::string> prompted(stored.begin(), stored.end());
    const Candidate* youngest = nullptr;
    for (const Candidate& candidate : candidates) {
        if (prompted.contains(candidate.name)) continue;
        if (!youngest || candidate.createdAt > youngest->createdAt) youngest = &candidate;
    }
    if (!youngest) return std::nullopt;
    for (const Candidate& candidate : candidates) prompted.insert(candidate.name);
    defaults.setStringArray(promptedKey, {prompted.begin(), prompted.end()});
    return youngest->orphan;
}

}  // namespace cobaltreel::OrphanSessions
