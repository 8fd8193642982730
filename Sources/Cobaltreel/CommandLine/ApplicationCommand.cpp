#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/Shell/CobaltreelApp.hpp"

#include <memory>
#include <utility>

namespace cobaltreel {

void chooseApplication(CommandBody& body) {
    body.windows = CommandBody::Windows::application;
    // Made here, before the application starts threads.
    body.run = [interrupt = std::make_shared<Interrupt>()] {
        std::unique_ptr<Interrupt::Handling> handling;
        CobaltreelApp::run(hostServices(), [&](std::function<void()> end) {
            handling.reset(new Interrupt::Handling(interrupt->handle(std::move(end))));
        });
        return ExitStatus::done;
    };
}

}  // namespace cobaltreel
