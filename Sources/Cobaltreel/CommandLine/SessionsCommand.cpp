#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/SessionArgument.hpp"
#include "Cobaltreel/Support/Paths.hpp"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

namespace cobaltreel {

namespace {

namespace fs = std::filesystem;

struct SessionRow {
    std::string name;
    fs::path path;
    std::string state;  // "complete", "unfinished" or "unreadable"
    std::optional<double> seconds;
    std::uintmax_t bytes = 0;
    std::string problem;  // why it cannot be read
};

std::uintmax_t bytesIn(const SessionFolder& folder) {
    std::uintmax_t bytes = 0;
    for (const auto& file :
         {folder.screenMovie(), folder.cameraMovie(), folder.metaFile(), folder.eventsFile()}) {
        std::error_code error;
        const auto size = fs::file_size(file, error);
        if (!error) bytes += size;
    }
    return bytes;
}

SessionRow inspectFolder(const fs::path& path, platform::MediaService& media) {
    SessionRow row{path.filename().string(), path, "unreadable", {}, bytesIn({path}), {}};
    try {
        const auto session = openSession(path.string(), media);
        row.state = session.wasCutOff ? "unfinished" : "complete";
        row.seconds = recordedDuration(session.meta);
    } catch (const std::exception& error) {
        row.problem = error.what();
    }
    return row;
}

std::vector<SessionRow> listSessions(platform::MediaService& media) {
    std::vector<SessionRow> rows;
    std::error_code error;
    for (fs::directory_iterator entry(Paths::sessionsRoot(), error), end; !error && entry != end;
         entry.increment(error))
        if (entry->is_directory(error)) rows.push_back(inspectFolder(entry->path(), media));
    std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return rows;
}

OrderedJson describe(const std::vector<SessionRow>& rows) {
    OrderedJson list = OrderedJson::array();
    for (const auto& row : rows) {
        OrderedJson item{{"name", row.name}, {"path", row.path.string()}, {"state", row.state}};
        if (row.seconds) item["seconds"] = *row.seconds;
        item["bytes"] = row.bytes;
        if (!row.problem.empty()) item["problem"] = row.problem;
        list.push_back(std::move(item));
    }
    return {{"root", Paths::sessionsRoot().string()}, {"sessions", std::move(list)}};
}

}  // namespace

void addSessionsCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("sessions", "List the recordings on disk");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print one JSON document");
    command->callback([&body, json] {
        body.run = [json] {
            const auto services = hostServices();
            const auto rows = listSessions(*services.media);
            if (*json) {
                printJson(describe(rows));
                return ExitStatus::done;
            }
            if (rows.empty())
                std::cerr << "There are no recordings in " << Paths::sessionsRoot().string() << '\n';
            for (const auto& row : rows)
                std::cout << row.name << "  " << (row.seconds ? minutesAndSeconds(*row.seconds) : "-") << "  "
                          << static_cast<double>(row.bytes / 100'000) / 10 << " MB  " << row.state
                          << (row.problem.empty() ? "" : "  (" + row.problem + ")") << '\n';
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel
