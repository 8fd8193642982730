#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"
#include "Cobaltreel/Support/DiskSpace.hpp"
#include "Cobaltreel/Support/Paths.hpp"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cobaltreel {

namespace {

struct Finding {
    std::string service;
    bool available;
    std::string implementation;
    std::string remedy;    // what to do when it is not available
    std::string remark{};  // why it is this one
};

Finding findScreen(const platform::PlatformServices& services) {
    try {
        services.screenCapture->shareableContent();
        return {"screen capture", true, services.screenCapture->implementation(), ""};
    } catch (const platform::PlatformError& error) {
        return {"screen capture", false, "", error.description()};
    }
}

Finding findSession(const platform::PlatformServices& services) {
    const bool isWayland = services.session.type == platform::SessionType::wayland;
    return {"session", true,
            std::string(isWayland ? "Wayland" : "X11") + " (" + services.session.reason + ")", ""};
}

/// Where the desktop itself does not tell which buttons are down.
std::vector<Finding> findButtons(const platform::PlatformServices& services) {
    if (!services.buttons) return {};
    if (const auto reason = services.buttons->unavailable())
        return {{"mouse buttons", false, "", reason->description()}};
    return {{"mouse buttons", true, "evdev", "", "A tap on a touchpad is not seen, only its press"}};
}

/// Without keys of its own the desktop binds one to a command, which is as good.
std::vector<Finding> findHotKey(const platform::PlatformServices& services) {
    if (!services.keys) return {};
    if (const auto reason = services.keys->chordsUnavailable())
        return {{"hot key", true, "cobaltreel toggle", "", reason->description()}};
    if (services.session.type == platform::SessionType::wayland)
        return {{"hot key", true, "Alt+Super+2, or what the desktop's settings say instead", ""}};
    return {{"hot key", true, "Alt+Super+2; Alt+Super+3 marks a moment", ""}};
}

/// A desktop that offers neither is no fault of the machine.
std::vector<Finding> findQuiet(const platform::PlatformServices& services) {
    const auto offer = services.inhibitor->offer();
    const auto row = [](const char* what, const std::string& who, const char* otherwise) {
        return Finding{what, true, who.empty() ? otherwise : who, ""};
    };
    return {row("notifications held back", offer.notifications, "not by this desktop; switch them off there"),
            row("screen kept lit", offer.screen, "not by this desktop")};
}

Finding findDesktop(const platform::PlatformServices& services) {
    // A Wayland desktop describes its screens once one of them is shared.
    if (services.session.type == platform::SessionType::wayland)
        return {"pointer and windows", true, services.desktop->implementation(), ""};
    if (services.desktop->screens().empty())
        return {"pointer and windows", false, "", "start in a desktop session, or set DISPLAY"};
    return {"pointer and windows", true, services.desktop->implementation(), ""};
}

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

Finding findDevices(const platform::PlatformServices& services) {
    if (const auto reason = services.capture->unavailable())
        return {"camera, microphone, system audio", false, "", reason->description()};
    const auto devices = services.capture->devices();
    return {"camera, microphone, system audio", true,
            services.capture->implementation() + ", " + counted(devices.cameras.size(), "camera") + ", " +
                counted(devices.microphones.size(), "microphone"),
            ""};
}

Finding findVision(const platform::PlatformServices& services) {
    if (const auto reason = services.vision->unavailable())
        return {"person segmentation", false, "", reason->description()};
    return {"person segmentation", true, services.vision->implementation(), ""};
}

Finding findRecordingsFolder() {
    std::error_code error;
    std::filesystem::create_directories(Paths::sessionsRoot(), error);
    const auto free = DiskSpace::freeBytes(Paths::sessionsRoot());
    const std::string place = Paths::sessionsRoot().string();
    if (error || free == 0) return {"recordings folder", false, "", place + " cannot be created or written"};
    return {"recordings folder", true, place + ", " + std::to_string(free / 1'000'000) + " MB free", ""};
}

std::vector<Finding> examine() {
    const auto services = hostServices();
    std::vector<Finding> findings{findSession(services), findScreen(services), findDesktop(services)};
    for (auto& finding : findButtons(services)) findings.push_back(std::move(finding));
    for (auto& finding : findHotKey(services)) findings.push_back(std::move(finding));
    for (auto& finding : findQuiet(services)) findings.push_back(std::move(finding));
    findings.push_back(findDevices(services));
    for (const auto& encoder : services.media->encoders()) {
        const bool works = !encoder.encoder.empty();
        findings.push_back({encoder.purpose, works, encoder.encoder, works ? "" : encoder.explanation,
                            works ? encoder.explanation : ""});
    }
    findings.push_back({"movies", true, services.media->implementation(), ""});
    findings.push_back(findVision(services));
    findings.push_back(findRecordingsFolder());
    return findings;
}

}  // namespace

void addDoctorCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("doctor", "Tell which services are there and what to install");
    auto json = std::make_shared<bool>(false);
    command->footer("Exit status: 0 when all is there, 1 when something is missing.");
    command->add_flag("--json", *json, "Print one JSON document");
    command->callback([&body, json] {
        body.run = [json] {
            const auto findings = examine();
            OrderedJson list = OrderedJson::array();
            for (const auto& finding : findings) {
                OrderedJson item{{"service", finding.service}, {"available", finding.available}};
                if (finding.available)
                    item["implementation"] = finding.implementation;
                else
                    item["remedy"] = finding.remedy;
                if (!finding.remark.empty()) item["remark"] = finding.remark;
                list.push_back(std::move(item));
                if (!*json)
                    std::cout << (finding.available ? "ok       " : "missing  ") << finding.service << ": "
                              << (finding.available ? finding.implementation : finding.remedy)
                              << (finding.remark.empty() ? "" : ". " + finding.remark) << '\n';
            }
            if (*json) printJson({{"services", std::move(list)}});
            const bool allThere = std::ranges::all_of(findings, &Finding::available);
            return allThere ? ExitStatus::done : ExitStatus::failed;
        };
    });
}

}  // namespace cobaltreel
