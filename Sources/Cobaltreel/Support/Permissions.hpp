#pragma once

#include "Platform/Capture/DeviceAccess.hpp"
#include "Platform/Desktop/Relauncher.hpp"
#include "Platform/Desktop/ScreenAccess.hpp"
#include "Platform/Desktop/SessionType.hpp"
#include "Platform/Desktop/SystemSettings.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <string>

namespace cobaltreel {

/// The services behind the permissions. Every pointer is set.
struct PermissionServices {
    std::shared_ptr<platform::MainLoop> mainLoop;
    std::shared_ptr<platform::ScreenAccess> screen;
    std::shared_ptr<platform::DeviceAccess> devices;
    std::shared_ptr<platform::SystemSettings> settings;
    std::shared_ptr<platform::Relauncher> relauncher;
    /// Ends the application in good order.
    std::function<void()> quit;
    /// What can help depends on it.
    platform::SessionType session = platform::SessionType::x11;
};

/// The three permissions that a recording needs. Main thread only.
class Permissions final : public QObject {
    Q_OBJECT

  public:
    explicit Permissions(PermissionServices services, QObject* parent = nullptr);

    bool screenGranted() const { return screenGranted_; }
    bool cameraGranted() const { return cameraGranted_; }
    bool micGranted() const { return micGranted_; }
    bool allGranted() const { return screenGranted_ && cameraGranted_ && micGranted_; }

    /// Checks all three again; observers are notified even when nothing changed.
    void refresh();
    /// Ask the user; refreshed once answered, whatever the answer.
    void requestScreen() { services_.screen->request(); }
    void requestCamera() { request(platform::MediaType::video); }
    void requestMic() { request(platform::MediaType::audio); }
    /// Opens the desktop's settings at the page that the anchor names; without such a program `hint` says so.
    void openSettings(const std::string& pane);
    /// What the user can do while something is not granted; empty when all is.
    QString hint() const;
    /// Ends the application and starts it again.
    void relaunch();

  Q_SIGNALS:
    void willChange();
    void changed();

  private:
    void request(platform::MediaType type);
    bool isAuthorized(platform::MediaType type);
    void publish(bool& field, bool value);

    PermissionServices services_;
    bool screenGranted_ = false;
    bool cameraGranted_ = false;
    bool micGranted_ = false;
    bool settingsMissing_ = false;  // found when the user asked for them
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel
