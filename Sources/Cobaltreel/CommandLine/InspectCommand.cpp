#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"
#include "Cobaltreel/CommandLine/TrimArguments.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "CobaltreelCore/SessionDocuments.hpp"
#include "CobaltreelCore/TrimMath.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <iostream>
#include <memory>
#include <vector>

namespace cobaltreel {

namespace {

struct InspectArguments : TrimArguments {
    std::vector<double> at;
    bool json = false;
};

/// The plan of an export with automatic zoom on, whatever the session says.
struct Inspection {
    SessionArgument session;
    Trim trim;
    std::vector<Click> clicks;
    std::vector<CameraMove> moves;
    OutputSize size;
    std::int64_t frames;
};

Inspection inspect(const InspectArguments& arguments) {
    const auto services = hostServices();
    Inspection found{openSession(arguments.session, *services.media), {}, {}, {}, {}, 0};
    const SessionMeta& meta = found.session.meta;
    found.trim = resolveTrim(arguments.trim, recordedDuration(found.session.meta));
    const double duration = found.trim.end - found.trim.start;

    std::error_code ignored;
    EventLog log;
    if (std::filesystem::exists(found.session.folder.eventsFile(), ignored))
        log = found.session.folder.readEvents();
    found.clicks = ExportRenderer::clicksInOutputTime(log, meta, found.trim.start, found.trim.end);
    found.moves = planZoom(arguments.zoomTiming, log, meta, found.clicks, found.trim.start, found.trim.end);
    found.size =
        OutputSize::compute(meta.captureWidthPx, meta.captureHeightPx, targetHeight(arguments.quality));
    found.frames = ExportRenderer::frameCount(duration);
    return found;
}

OrderedJson describe(const CameraState& state) {
    return {{"zoom", state.zoom}, {"cx", state.cx}, {"cy", state.cy}};
}

OrderedJson describe(const Inspection& found, const std::vector<double>& at) {
    const double width = static_cast<double>(found.session.meta.captureWidthPx);
    const double height = static_cast<double>(found.session.meta.captureHeightPx);

    OrderedJson clicks = OrderedJson::array();
    for (const Click& click : found.clicks)
        clicks.push_back({{"t", click.t}, {"px", click.px}, {"py", click.py}});
    OrderedJson moves = OrderedJson::array();
    for (const CameraMove& move : found.moves)
        moves.push_back({{"tStart", move.tStart},
                         {"tEnd", move.tEnd},
                         {"from", describe(move.from)},
                         {"to", describe(move.to)}});
    OrderedJson states = OrderedJson::array();
    for (const double t : at) {
        const CameraState state = ZoomEngine::evaluate(found.moves, t, width, height);
        const auto crop = ZoomEngine::cropRect(state, width, height);
        OrderedJson item{{"t", t}};
        item.update(describe(state));
        item["crop"] = {{"x", crop.x}, {"y", crop.y}, {"w", crop.w}, {"h", crop.h}};
        states.push_back(std::move(item));
    }
    return {{"meta", OrderedJson::parse(SessionDocuments::encode(found.session.meta))},
            {"clicks", std::move(clicks)},
            {"moves", std::move(moves)},
            {"output",
             {{"width", found.size.w},
              {"height", found.size.h},
              {"fps", ExportRenderer::framesPerSecond},
              {"frames", found.frames},
              {"duration", found.trim.end - found.trim.start}}},
            {"states", std::move(states)}};
}

void printReport(const Inspection& found, const std::vector<double>& at) {
    const SessionMeta& meta = found.session.meta;
    std::cout << "Session   " << found.session.folder.dir.string() << '\n'
              << "Recorded  a " << rawValue(meta.mode) << ", " << meta.captureWidthPx << " x "
              << meta.captureHeightPx << (meta.cameraEnabled ? ", with camera" : "") << '\n'
              << "Output    " << found.size.w << " x " << found.size.h << ", " << found.frames << " frames, "
              << found.trim.end - found.trim.start << " s\n";
    for (const Click& click : found.clicks)
        std::cout << "Click     " << click.t << " s at " << click.px << ", " << click.py << '\n';
    for (const CameraMove& move : found.moves)
        std::cout << "Move      " << move.tStart << " s to " << move.tEnd << " s: zoom " << move.from.zoom
                  << " to " << move.to.zoom << ", centre " << move.to.cx << ", " << move.to.cy << '\n';
    for (const double t : at) {
        const auto state = ZoomEngine::evaluate(found.moves, t, static_cast<double>(meta.captureWidthPx),
                                                static_cast<double>(meta.captureHeightPx));
        std::cout << "Camera    " << t << " s: zoom " << state.zoom << ", centre " << state.cx << ", "
                  << state.cy << '\n';
    }
}

}  // namespace

void addInspectCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("inspect", "Show what a session holds and how it would be exported");
    auto arguments = std::make_shared<InspectArguments>();
    arguments->addTo(*command);
    command
        ->add_option("--at", arguments->at, "Show the camera at this output time, seconds; may be repeated")
        ->type_name("T")
        ->check(numberBetween(-1e6, 1e6));
    command->add_flag("--json", arguments->json, "Print one JSON document");
    command->callback([&body, arguments] {
        body.run = [arguments] {
            const Inspection found = inspect(*arguments);
            if (arguments->json)
                printJson(describe(found, arguments->at));
            else
                printReport(found, arguments->at);
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel
