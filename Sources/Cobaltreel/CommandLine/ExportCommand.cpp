#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/TrimArguments.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Export/GifSize.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <stop_token>

namespace cobaltreel {

namespace {

struct ExportArguments : TrimArguments {
    std::optional<bool> autoZoom, camera, ripples, systemAudio;
    std::optional<CameraStyle> style;
    std::optional<OutputSize> size;
    std::optional<int> framesPerSecond;
    std::optional<ExportFormat> format;
    std::string name;
    std::string output;
    bool force = false;
};

const std::map<std::string, ExportFormat> formats{
    {"mp4", ExportFormat::mp4}, {"webm", ExportFormat::webm}, {"gif", ExportFormat::gif}};

std::string nameOf(ExportFormat format) {
    return std::ranges::find(formats, format, [](const auto& each) { return each.second; })->first;
}

/// Pictures a second of a GIF: by default, and the most that the format can show.
constexpr int usualGifRate = 15, maxGifRate = 50;
/// Beyond so many bytes a GIF is made only by force.
constexpr double bearableGifBytes = 100e6;

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

/// The file that --output names.
std::filesystem::path outputFile(const ExportArguments& arguments, const SessionFolder& session) {
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
    return file;
}

/// The one asked for, or that of the file's name.
ExportFormat formatOf(const ExportArguments& arguments) {
    if (arguments.output.empty()) return arguments.format.value_or(ExportFormat::mp4);
    const auto refuse = [&](const std::string& why) -> void {
        throw CommandError("--output " + arguments.output + " " + why, ExitStatus::usage);
    };
    const QString extension =
        QString::fromStdString(std::filesystem::path(arguments.output).extension().string()).toLower();
    const auto named = formats.find(extension.mid(1).toStdString());
    if (arguments.format && (named == formats.end() || named->second != *arguments.format)) {
        const std::string name = nameOf(*arguments.format);
        refuse("does not fit --format " + name + "; it must end in ." + name);
    }
    if (named == formats.end()) refuse("must end in .mp4, .webm or .gif; other formats are not written");
    return named->second;
}

/// What the preview window starts with, changed by what was asked.
ExportOptions optionsFor(const ExportArguments& arguments, const SessionArgument& session, const Trim& trim) {
    const SessionMeta& meta = session.meta;
    ExportOptions options;
    options.trimStart = trim.start;
    options.trimEnd = trim.end;
    if (!arguments.output.empty()) options.outputPath = outputFile(arguments, session.folder);
    options.format = formatOf(arguments);
    const bool isGif = options.format == ExportFormat::gif;
    options.quality =
        isGif && arguments.qualityOption->empty() ? ExportOptions::Quality::p720 : arguments.quality;
    options.size = arguments.size;
    options.framesPerSecond =
        arguments.framesPerSecond.value_or(isGif ? usualGifRate : ExportRenderer::framesPerSecond);
    if (isGif && options.framesPerSecond > maxGifRate)
        throw CommandError("--fps " + std::to_string(options.framesPerSecond) + ": a GIF shows at most " +
                               std::to_string(maxGifRate) + " pictures a second",
                           ExitStatus::usage);
    options.zoomTiming = arguments.zoomTiming;
    options.autoZoom = arguments.autoZoom.value_or(meta.autoZoomEnabled);
    options.bubble = arguments.camera.value_or(meta.cameraEnabled);
    options.cameraStyle = arguments.style.value_or(meta.resolvedCameraStyle());
    options.clickRipples = arguments.ripples.value_or(true);
    options.systemAudio = arguments.systemAudio.value_or(meta.systemAudioEnabled);
    options.chapterNames = {S::chapterStart().toStdString(), S::marker().toStdString()};
    if (arguments.output.empty())
        options.outputPath = Paths::uniqueOutputURL(
            arguments.name.empty() ? Paths::defaultExportName().toStdString() : arguments.name,
            '.' + nameOf(options.format));
    return options;
}

bool hasSound(platform::MediaService& media, const std::filesystem::path& movie) {
    try {
        return !media.asset(movie)->loadTracks(platform::MediaType::audio).empty();
    } catch (const platform::PlatformError&) {
        return false;
    }
}

/// Says what a GIF leaves out and, of a large one, what it will take; refuses one that nobody can want.
void considerGif(platform::MediaService& media, const ExportArguments& arguments,
                 const SessionArgument& session, const ExportOptions& options, const OutputSize& size,
                 std::span<const CameraMove> moves) {
    const double duration = options.trimEnd - options.trimStart;
    const double bytes = estimatedGifBytes(size, options.framesPerSecond, duration, moves, options.bubble);
    constexpr double megabyte = 1e6, worthAWord = 20;
    const std::string estimate = "a GIF of " + minutesAndSeconds(duration) + " at " + std::to_string(size.w) +
                                 'x' + std::to_string(size.h) + " takes about " +
                                 std::to_string(std::llround(bytes / megabyte)) + " MB";
    if (bytes > bearableGifBytes && !arguments.force)
        throw CommandError(estimate +
                           ", which few programs show; trim it, choose a smaller --size or --fps, write an "
                           ".mp4, or repeat with --force");
    if (bytes > worthAWord * megabyte) std::cerr << "cobaltreel: " << estimate << '\n';
    if (hasSound(media, session.folder.cameraMovie()) ||
        (options.systemAudio && hasSound(media, session.folder.screenMovie())))
        std::cerr << "cobaltreel: a GIF has no sound; that of the recording is left out\n";
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
    if (options.format == ExportFormat::gif) {
        renderer.planClicksAndZoom(options);
        considerGif(*services.media, arguments, session, options, size, renderer.zoomMoves());
    }
    std::stop_source stop;
    const auto handling = interrupt.handle([&stop] { stop.request_stop(); });
    Progress progress("Exporting");
    renderer.onProgress = [&progress](double share) { progress.show(share); };
    try {
        renderer.exportMovie(options, stop.get_token());
    } catch (const ExportRenderer::Error& error) {
        if (error.kind() == ExportRenderer::Error::Kind::cancelled)
            throw CommandError("the export was cancelled; nothing was written", ExitStatus::interrupted);
        throw CommandError("exporting " + session.folder.dir.string() + " failed: " + error.what());
    }
    std::cout << options.outputPath.string() << '\n';
    return ExitStatus::done;
}

}  // namespace

void addExportCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("export", "Compose a session into one movie: MP4, WebM or GIF");
    auto arguments = std::make_shared<ExportArguments>();
    arguments->addTo(*command);
    command
        ->add_option(
            "--format", arguments->format,
            "Kind of file: mp4, webm or gif; default as the file of --output is named, else mp4. A GIF is "
            "720 lines high unless --size or --quality says otherwise")
        ->transform(oneOf(formats))
        ->type_name("mp4|webm|gif");
    command->add_flag("--force", arguments->force, "Write a GIF of any size");
    addSize(*command, arguments->size, arguments->qualityOption);
    command
        ->add_option("--fps", arguments->framesPerSecond,
                     "Pictures a second, 1 to 60; default 30, of a GIF 15")
        ->type_name("N")
        ->check(CLI::Range(1, 60).description(""));
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
