#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Media/MediaService.hpp"
#include "Platform/Media/Player.hpp"

#include <memory>

namespace platform {

/// Players whose sound and pace are libmpv's and whose pictures and mix are the media service's. Main
/// thread, after the application object exists.
std::shared_ptr<PlayerService> makeMpvPlayerService(std::shared_ptr<MainLoop> loop,
                                                    std::shared_ptr<Clock> clock,
                                                    std::shared_ptr<MediaService> media);

}  // namespace platform
