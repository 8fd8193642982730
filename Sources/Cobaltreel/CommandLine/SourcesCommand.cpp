#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"

#include <iostream>
#include <memory>

namespace cobaltreel {

namespace {

OrderedJson rectangle(const platform::Rect& frame) {
    return {{"x", frame.x}, {"y", frame.y}, {"w", frame.w}, {"h", frame.h}};
}

OrderedJson describe(const platform::ShareableContent& content) {
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
    document["cameras"] = OrderedJson::array();
    document["microphones"] = OrderedJson::array();
    return document;
}

void printTable(const platform::ShareableContent& content) {
    std::cout << "Displays\n";
    for (const auto& display : content.displays)
        std::cout << "  " << display.displayID << "  " << display.name << "  " << display.width() << " x "
                  << display.height() << (display.isMain ? "  (main)" : "") << '\n';
    std::cout << "Windows\n";
    for (const auto& window : content.windows)
        std::cout << "  " << window.windowID << "  " << window.title
                  << (window.owningApplication ? "  [" + window.owningApplication->name + "]" : "") << "  "
                  << window.frame.w << " x " << window.frame.h << (window.isOnScreen ? "" : "  (hidden)")
                  << '\n';
    std::cout << "Cameras\n  none: this version records screen and pointer\n";
    std::cout << "Microphones\n  none: this version records screen and pointer\n";
}

}  // namespace

void addSourcesCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("sources", "List what can be recorded");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print one JSON document");
    command->callback([&body, json] {
        body = [json] {
            const auto content =
                platform::PlatformServices::makeDefault(bundleIdentifier).screenCapture->shareableContent();
            if (*json)
                printJson(describe(content));
            else
                printTable(content);
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel
