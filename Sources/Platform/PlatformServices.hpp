#pragma once

#include "Platform/Desktop/Compositor.hpp"
#include "Platform/Desktop/FileBrowser.hpp"
#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Desktop/Notifications.hpp"
#include "Platform/Desktop/PointerButtons.hpp"
#include "Platform/Desktop/PointerWatcher.hpp"
#include "Platform/Desktop/Relauncher.hpp"
#include "Platform/Desktop/ScreenAccess.hpp"
#include "Platform/Desktop/SessionType.hpp"
#include "Platform/Desktop/SingleInstance.hpp"
#include "Platform/Desktop/StatusItem.hpp"
#include "Platform/Desktop/SystemSettings.hpp"
#include "Platform/Desktop/WindowManager.hpp"
#include "Platform/Foundation/LibraryVersion.hpp"
#include "Platform/Media/Player.hpp"
#include "Platform/RecordingHost.hpp"
#include "Platform/Vision/PersonSegmentation.hpp"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace platform {

/// The host's services, chosen in one place and handed to their users. A service that the
/// machine lacks is still there and fails with a sentence that says what is missing.
struct PlatformServices : RecordingHost {
    Session session;  ///< decided once; the rest follows from it
    std::shared_ptr<PlayerService> players;
    std::shared_ptr<PointerButtons> buttons;         ///< null where the desktop itself reports the buttons
    std::shared_ptr<KeyGrabber> keys;                ///< null without a display server
    std::shared_ptr<Compositor> compositor;          ///< null without a display server
    std::shared_ptr<WindowManager> windowManager;    ///< null without a display server
    std::shared_ptr<PointerWatcher> pointerWatcher;  ///< null without a display server
    std::shared_ptr<FileBrowser> fileBrowser;
    std::shared_ptr<Notifications> notifications;
    std::shared_ptr<ScreenAccess> screenAccess;
    std::shared_ptr<SystemSettings> systemSettings;
    std::shared_ptr<Relauncher> relauncher;
    std::shared_ptr<SingleInstance> singleInstance;
    std::shared_ptr<StatusItemService> statusItems;
    std::shared_ptr<VisionService> vision;  ///< may be null

    /// Throws PlatformError when there is no display server for windows to be shown on. Works before the
    /// application object exists, which could not be made then.
    static void requireDisplay();
    /// Main thread, after the application object exists. Also makes the user's settings file the standard
    /// user defaults. `ownBundleIdentifier` is the name under which this
    /// process stands among the running applications; `modelsFolder` may hold segmentation networks.
    static PlatformServices makeDefault(const std::string& ownBundleIdentifier,
                                        const std::filesystem::path& modelsFolder = {});
    /// The instance of that name alone, for a command that asks it something; `mainLoop` is needed to claim
    /// it.
    static std::shared_ptr<SingleInstance> instance(const std::string& name,
                                                    std::shared_ptr<MainLoop> mainLoop = nullptr);
    /// The libraries that serve all of this. Before or after the application object exists.
    static std::vector<LibraryVersion> libraryVersions();
};

}  // namespace platform
