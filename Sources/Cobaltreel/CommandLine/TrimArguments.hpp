#pragma once

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/SessionArgument.hpp"
#include "Cobaltreel/Export/ExportOptions.hpp"

#include <map>
#include <string>

#include <CLI/CLI.hpp>

namespace cobaltreel {

/// What `inspect` and `export` ask alike: the session, the kept span, the quality.
struct TrimArguments {
    std::string session;
    TrimOptions trim;
    ExportOptions::Quality quality = ExportOptions::Quality::p1080;
    CLI::Option* qualityOption = nullptr;
    ZoomTiming zoomTiming = ZoomTiming::onClick;

    void addTo(CLI::App& command) {
        command.add_option("session", session, "Folder of the session, or its name among the recordings")
            ->required()
            ->type_name("SESSION");
        command.add_option("--trim-start", trim.start, "Where the kept span begins, seconds")->type_name("S");
        command.add_option("--trim-end", trim.end, "Where the kept span ends, seconds")->type_name("S");
        static const std::map<std::string, ExportOptions::Quality> qualities{
            {"p720", ExportOptions::Quality::p720},
            {"p1080", ExportOptions::Quality::p1080},
            {"full", ExportOptions::Quality::full}};
        qualityOption = command.add_option("--quality", quality, "Size of the picture: p720, p1080 or full")
                            ->transform(oneOf(qualities))
                            ->type_name("QUALITY")
                            ->default_str("p1080");
        static const std::map<std::string, ZoomTiming> timings{{"on-click", ZoomTiming::onClick},
                                                               {"anticipating", ZoomTiming::anticipating}};
        command
            .add_option(
                "--zoom-timing", zoomTiming,
                "When the zoom moves: on-click, or anticipating, so that it is there when a click comes")
            ->transform(oneOf(timings))
            ->type_name("on-click|anticipating")
            ->default_str("on-click");
    }
};

}  // namespace cobaltreel
