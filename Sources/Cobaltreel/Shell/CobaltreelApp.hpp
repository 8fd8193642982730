#pragma once

#include "Platform/PlatformServices.hpp"

#include <functional>
#include <string>

namespace cobaltreel {

/// The application as a whole.
struct CobaltreelApp {
    CobaltreelApp() = delete;

    /// Minutes and seconds, both of at least two digits; 3725 s are "62:05". `seconds` is finite and not
    /// negative.
    static std::string timeString(double seconds);

    /// Makes the windows, recorders and the shell over the host's services and runs until the application is
    /// ended. Where one runs already, brings up its panel and returns at once. `endsWith` is handed, once,
    /// what ends the application in good order; that may be called on any thread until `run` has returned.
    /// Main thread, with an application object that can show widgets. Throws PlatformError.
    static void run(platform::PlatformServices host,
                    const std::function<void(std::function<void()> end)>& endsWith);
};

}  // namespace cobaltreel
