#include "Cobaltreel/Support/EventJournal.hpp"

#include "Cobaltreel/Support/DocumentFile.hpp"
#include "CobaltreelCore/SessionDocuments.hpp"

#include <string_view>

namespace cobaltreel::EventJournal {

std::string line(const EventLog& piece) { return SessionDocuments::encode(piece) + '\n'; }

EventLog read(const std::filesystem::path& file) {
    const std::string bytes = DocumentFile::read(file, DocumentFile::largestEvents);
    EventLog log;
    std::string_view rest = bytes;
    for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
        try {
            log.append(SessionDocuments::decodeEventLog(rest.substr(0, end)));
        } catch (const DocumentError&) {
            // A damaged piece costs what it held.
        }
        rest.remove_prefix(end + 1);
    }
    return log;
}

}  // namespace cobaltreel::EventJournal
