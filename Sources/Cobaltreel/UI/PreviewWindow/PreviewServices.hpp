#pragma once

#include "Cobaltreel/Support/Alerts.hpp"
#include "Platform/Desktop/FileBrowser.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Media/MediaService.hpp"
#include "Platform/Media/Player.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <memory>

namespace cobaltreel {

/// What the preview window works with.
struct PreviewServices {
    std::shared_ptr<platform::PlayerService> players;
    std::shared_ptr<platform::MediaService> media;
    std::shared_ptr<platform::VisionService> vision;  ///< may be null
    std::shared_ptr<platform::FileBrowser> fileBrowser;
    std::shared_ptr<AlertPresenter> alerts;
    std::shared_ptr<platform::Clock> clock;
    std::shared_ptr<platform::MainLoop> mainLoop;
};

}  // namespace cobaltreel
