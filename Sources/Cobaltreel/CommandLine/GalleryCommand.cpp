#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/UI/Gallery/Gallery.hpp"

#include <memory>
#include <string>

namespace cobaltreel {

void addGalleryCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("gallery", "Write pictures of every control in every state");
    command->group("");  // for whoever changes a control; not shown in the help
    auto folder = std::make_shared<std::string>();
    command->add_option("folder", *folder, "Where the pictures go")->required()->type_name("FOLDER");
    command->callback([&body, folder] {
        body.windows = CommandBody::Windows::offscreen;
        body.run = [folder] { return runGallery({*folder}) == 0 ? ExitStatus::done : ExitStatus::failed; };
    });
}

}  // namespace cobaltreel
