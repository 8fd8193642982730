#include "Cobaltreel/Shell/OrphanSessions.hpp"

#include <QDateTime>
#include <QFileInfo>
#include <algorithm>
#include <exception>
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
    const QDateTime time = QFileInfo(QFile::decodeName(dir.c_str())).birthTime();
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

std::optional<Candidate> candidateIn(const fs::path& dir) {
    const SessionFolder folder{dir};
    try {
        SessionMeta meta = folder.readMeta();
        std::error_code error;
        if (!meta.screenFirstPTS || !meta.recordingEndHostTime || !fs::exists(folder.screenMovie(), error))
            return std::nullopt;
        return Candidate{{folder, std::move(meta)}, creationTime(dir), dir.filename().string()};
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// The files and folders that any process of this user has open, and where they are.
std::set<fs::path> pathsInUse() {
    std::set<fs::path> paths;
    std::error_code error;
    for (fs::directory_iterator process("/proc", error), end; !error && process != end;
         process.increment(error)) {
        std::error_code closed;  // not ours, or gone meanwhile
        for (fs::directory_iterator file(process->path() / "fd", closed); !closed && file != end;
             file.increment(closed)) {
            std::error_code gone;
            const fs::path open = fs::read_symlink(file->path(), gone);
            paths.insert(open.parent_path());
            paths.insert(open);
        }
    }
    return paths;
}

/// Another process may be recording into one of them at this moment, or have completed it by now.
void removeUnlessInUse(const std::vector<fs::path>& dirs) {
    if (dirs.empty()) return;
    const std::set<fs::path> inUse = pathsInUse();
    for (const fs::path& dir : dirs) {
        std::error_code ignored;
        if (!inUse.contains(fs::canonical(dir, ignored)) && !candidateIn(dir)) fs::remove_all(dir, ignored);
    }
}

}  // namespace

std::optional<Orphan> takeUnprompted(const fs::path& root, platform::UserDefaults& defaults) {
    std::vector<Candidate> candidates;
    std::vector<fs::path> useless;
    for (const fs::path& dir : directoriesIn(root)) {
        auto candidate = candidateIn(dir);
        if (!candidate)
            useless.push_back(dir);
        else if (!implausibility(candidate->orphan.meta))  // the movies are there, but no length to offer
            candidates.push_back(std::move(*candidate));
    }
    removeUnlessInUse(useless);

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
