#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/TrimArguments.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <regex>

namespace cobaltreel {

namespace {

struct ExportArguments : TrimArguments {
    std::optional<bool> autoZoom, camera, ripples, systemAudio;
    std::optional<CameraStyle> style;
    std::optional<OutputSize> size;
    int framesPerSecond = ExportRenderer::framesPerSecond;
    std::string name;
    std::string output;
};

/// The longer side of the largest movie that encoders and players take.
constexpr std::int64_t longestSide = 7680;

/// "1280x720", or "720p" for a height alone. `reason` stays empty when it is a size that a movie can
/// have.
std::optional<OutputSize> sizeFrom(const std::string& text, std::string& reason) {
    constexpr std::int64_t shortest = 16, maxPixels = longestSide * 4320;
    static const std::regex box("([0-9]{1,9})x([0-9]{1,9})"), height("([0-9]{1,9})p");
    std::smatch found;
    OutputSize size;
    if (std::regex_match(text, found, box))
        size = {std::stoll(found[1]), std::stoll(found[2])};
    else if (std::regex_match(text, found, height))
        size = {longestSide, std::stoll(found[1])};
    else
        reason = "is no size; write 1280x720, or 720p";
    if (!reason.empty()) return std::nullopt;
    if (size.w % 2 != 0 || size.h % 2 != 0)
        reason = "has an odd side; movies have even ones";
    else if (std::min(size.w, size.h) < shortest)
        reason = "is too small; the least is 16x16";
    else if (std::max(size.w, size.h) > longestSide || (found.size() == 3 && size.w * size.h > maxPixels))
        reason = "is too large; the most is 7680x4320";
    return size;
}

void addSize(CLI::App& command, std::optional<OutputSize>& size, CLI::Option* quality) {
    command
        .add_option_function<std::string>(
            "--size",
            [&size](const std::string& text) {
                std::string reason;
                size = sizeFrom(text, reason);
                if (!reason.empty()) throw CLI::ValidationError("--size", text + ' ' + reason);
            },
            "The largest box that the picture fits in, or its height: 1280x720, 720p; small recordings are "
            "enlarged")
        ->type_name("SIZE")
        ->excludes(quality);
}

void addSwitch(CLI::App& command, const std::string& flag, std::optional<bool>& value,
               const std::string& what) {
    static const std::map<std::string, bool> positions{{"on", true}, {"off", false}};
    command.add_option(flag, value, what)->transform(oneOf(positions))->type_name("on|off");
}

std::filesystem::path outputFile(const ExportArguments& arguments, const SessionFolder& session) {
    if (arguments.output.empty())
        return Paths::uniqueOutputURL(arguments.name.empty() ? Paths::defaultExportName().toStdString()
                                                             : arguments.name);
    namespace fs = std::filesystem;
    const auto refuse = [&](const std::string& why) -> void {
        throw CommandError("--output " + arguments.output + " " + why, ExitStatus::usage);
    };
    const auto file = fs::absolute(arguments.output);
    std::error_code error;
    const auto standing = fs::status(file, error).type();
    if (standing == fs::file_type::directory) refuse("is a folder; name a file");
    if (standing != fs::file_type::regular && standing != fs::file_type::not_found)
        refuse("is not a file that could be replaced; name another one");
    // By whatever links it is named: what lies beside a session's document belongs to that session.
    const auto real = fs::weakly_canonical(file, error);
    if (fs::equivalent(real.parent_path(), session.dir, error))
        refuse("is in the session's own folder; choose another");
    if (fs::exists(SessionFolder{real.parent_path()}.metaFile(), error))
        refuse("is in the folder of a session; choose another");
    if (QString::fromStdString(file.extension().string()).toLower() != QLatin1String(".mp4"))
        refuse("must end in .mp4; other formats are not written");
    return file;
}

/// What the preview window starts with, changed by what was asked.
ExportOptions optionsFor(const ExportArguments& arguments, const SessionArgument& session, const Trim& trim) {
    const SessionMeta& meta = session.meta;
    ExportOptions options;
    options.trimStart = trim.start;
    options.trimEnd = trim.end;
    options.quality = arguments.quality;
    options.size = arguments.size;
    options.framesPerSecond = arguments.framesPerSecond;
    options.zoomTiming = arguments.zoomTiming;
    options.autoZoom = arguments.autoZoom.value_or(meta.autoZoomEnabled);
    options.bubble = arguments.camera.value_or(meta.cameraEnabled);
    options.cameraStyle = arguments.style.value_or(meta.resolvedCameraStyle());
    options.clickRipples = arguments.ripples.value_or(true);
    options.systemAudio = arguments.systemAudio.value_or(meta.systemAudioEnabled);
    options.chapterNames = {S::chapterStart().toStdString(), S::marker().toStdString()};
    options.outputURL = outputFile(arguments, session.folder);
    return options;
}

ExitStatus runExport(const ExportArguments& arguments, Interrupt& interrupt) {
    const auto services = hostServices();
    AppSettings::shared();  // its language is that of the movie's name
    const auto session = openSession(arguments.session, *services.media);
    const Trim trim = resolveTrim(arguments.trim, recordedDuration(session.meta));
    ExportOptions options = optionsFor(arguments, session, trim);

    const OutputSize size = outputSize(options, session.meta);
    const bool isBox = options.size && options.size->w < longestSide;
    if (isBox && size != *options.size)
        std::cerr << "cobaltreel: the movie is " << size.w << 'x' << size.h
                  << ", which has the shape of the recording\n";

    ExportRenderer renderer(session.folder, session.meta, services.media, services.vision);
    const auto handling = interrupt.handle([&renderer] { renderer.cancelled = true; });
    Progress progress("Exporting");
    renderer.onProgress = [&](double share) {
        // An interrupt that came before the run began was reset by its beginning.
        if (interrupt.happened()) renderer.cancelled = true;
        progress.show(share);
    };
    try {
        renderer.exportMovie(options);
    } catch (const ExportRenderer::Error& error) {
        if (error.kind() == ExportRenderer::Error::Kind::cancelled)
            throw CommandError("the export was cancelled; nothing was written", ExitStatus::interrupted);
        throw CommandError("exporting " + session.folder.dir.string() + " failed: " + error.what());
    }
    std::cout << options.outputURL.string() << '\n';
    return ExitStatus::done;
}

}  // namespace

void addExportCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("export", "Compose a session into one MP4");
    auto arguments = std::make_shared<ExportArguments>();
    arguments->addTo(*command);
    addSize(*command, arguments->size, arguments->qualityOption);
    command->add_option("--fps", arguments->framesPerSecond, "Pictures a second, 1 to 60")
        ->type_name("N")
        ->check(CLI::Range(1, 60))
        ->default_str("30");
    addSwitch(*command, "--auto-zoom", arguments->autoZoom, "Follow the clicks; default as recorded");
    addSwitch(*command, "--camera", arguments->camera, "Show the camera; default as recorded");
    static const std::map<std::string, CameraStyle> styles{{"bubble", CameraStyle::bubble},
                                                           {"cutout", CameraStyle::cutout}};
    command->add_option("--style", arguments->style, "How the camera is shown; default as recorded")
        ->transform(oneOf(styles))
        ->type_name("bubble|cutout");
    addSwitch(*command, "--ripples", arguments->ripples, "Rings where the user clicked; default on");
    addSwitch(*command, "--system-audio", arguments->systemAudio,
              "Mix in the computer's sound; default as recorded");
    auto* name = command->add_option("--name", arguments->name, "Name of the movie in the exports folder");
    command->add_option("--output", arguments->output, "The file to write; one that is there is replaced")
        ->type_name("FILE")
        ->excludes(name);
    command->callback([&body, arguments] {
        // Made here, before the application starts threads.
        body.run = [arguments, interrupt = std::make_shared<Interrupt>()] {
            return runExport(*arguments, *interrupt);
        };
    });
}

}  // namespace cobaltreel
