#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"

#include <iostream>
#include <memory>
#include <optional>
#include <vector>

namespace cobaltreel {

namespace {

OrderedJson rectangle(const platform::Rect& frame) {
    return {{"x", frame.x}, {"y", frame.y}, {"w", frame.w}, {"h", frame.h}};
}

OrderedJson describe(const std::vector<platform::CaptureDevice>& devices,
                     const std::optional<platform::CaptureDevice>& preferred) {
    OrderedJson list = OrderedJson::array();
    for (const auto& device : devices)
        list.push_back({{"id", device.uniqueID}, {"name", device.name}, {"default", device == preferred}});
    return list;
}

OrderedJson describe(const platform::ShareableContent& content, const platform::CaptureDevices& devices) {
    OrderedJson document{{"displays", OrderedJson::array()}, {"windows", OrderedJson::array()}};
    for (const auto& display : content.displays)
        document["displays"].push_back({{"id", display.displayID},
                                        {"name", display.name},
                                        {"frame", rectangle(display.frame)},
                                        {"scale", display.scale},
                                        {"main", display.isMain}});
    for (const auto& window : content.windows)
        document["windows"].push_back(
            {{"id", window.windowID},
             {"title", window.title},
             {"application", window.owningApplication ? window.owningApplication->name : ""},
             {"frame", rectangle(window.frame)},
             {"onScreen", window.isOnScreen}});
    const auto firstCamera = devices.cameras.empty() ? std::nullopt : std::optional(devices.cameras.front());
    document["cameras"] = describe(devices.cameras, firstCamera);
    document["microphones"] = describe(devices.microphones, devices.defaultMicrophone);
    return document;
}

void printDevices(const char* title, const std::vector<platform::CaptureDevice>& devices) {
    std::cout << title << '\n';
    for (const auto& device : devices) std::cout << "  " << device.uniqueID << "  " << device.name << '\n';
    if (devices.empty()) std::cout << "  none\n";
}

const char* offerText(platform::Offer offer) {
    return offer == platform::Offer::lastChoice ? "as chosen last in the desktop's dialog"
                                                : "chosen in the desktop's dialog when recording starts";
}

void printTable(const platform::ShareableContent& content, const platform::CaptureDevices& devices) {
    std::cout << "Displays\n";
    for (const auto& display : content.displays)
        if (display.offer != platform::Offer::itself)
            std::cout << "  " << display.displayID << "  " << offerText(display.offer) << '\n';
        else
            std::cout << "  " << display.displayID << "  " << display.name << "  " << display.width() << " x "
                      << display.height() << (display.isMain ? "  (main)" : "") << '\n';
    std::cout << "Windows\n";
    for (const auto& window : content.windows)
        if (window.offer != platform::Offer::itself)
            std::cout << "  " << window.windowID << "  " << offerText(window.offer) << '\n';
        else
            std::cout << "  " << window.windowID << "  " << window.title
                      << (window.owningApplication ? "  [" + window.owningApplication->name + "]" : "")
                      << "  " << window.frame.w << " x " << window.frame.h
                      << (window.isOnScreen ? "" : "  (hidden)") << '\n';
    printDevices("Cameras", devices.cameras);
    printDevices("Microphones", devices.microphones);
}

}  // namespace

void addSourcesCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("sources", "List what can be recorded");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print one JSON document");
    command->callback([&body, json] {
        body.run = [json] {
            const auto services = hostServices();
            const auto content = services.screenCapture->shareableContent();
            const auto devices = services.capture->devices();
            if (*json)
                printJson(describe(content, devices));
            else
                printTable(content, devices);
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel
