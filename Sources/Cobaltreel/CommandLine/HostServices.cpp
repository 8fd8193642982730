#include "Cobaltreel/CommandLine/HostServices.hpp"

#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/Paths.hpp"

namespace cobaltreel {

platform::PlatformServices hostServices() {
    return platform::PlatformServices::makeDefault(bundleIdentifier,
                                                   Paths::sessionsRoot().parent_path() / "models");
}

}  // namespace cobaltreel
