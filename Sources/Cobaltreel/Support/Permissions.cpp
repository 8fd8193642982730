#include "Cobaltreel/Support/Permissions.hpp"

#include "Cobaltreel/Support/Strings.hpp"

#include <QStringList>
#include <utility>

namespace cobaltreel {

Permissions::Permissions(PermissionServices services, QObject* parent)
    : QObject(parent), services_(std::move(services)) {}

void Permissions::refresh() {
    publish(screenGranted_, services_.screen->preflight());
    publish(cameraGranted_, isAuthorized(platform::MediaType::video));
    publish(micGranted_, isAuthorized(platform::MediaType::audio));
}

void Permissions::openSettings(const std::string& pane) {
    publish(settingsMissing_, !services_.settings->open(pane));
}

QString Permissions::hint() const {
    QStringList lines;
    const bool isWayland = services_.session == platform::SessionType::wayland;
    if (!screenGranted_) lines.append(isWayland ? S::portalHint() : S::screenHint());
    if (!cameraGranted_ || !micGranted_) lines.append(S::devicesHint());
    if (settingsMissing_ && !allGranted()) lines.append(S::settingsMissing());
    return lines.join(QLatin1Char('\n'));
}

void Permissions::relaunch() {
    services_.relauncher->relaunchAfterExit();
    services_.quit();
}

void Permissions::request(platform::MediaType type) {
    // The answer comes on any thread.
    services_.devices->requestAccess(type, [update = lifetime_.guard([this] { refresh(); }),
                                            mainLoop = services_.mainLoop](bool) { mainLoop->post(update); });
}

bool Permissions::isAuthorized(platform::MediaType type) {
    return services_.devices->authorizationStatus(type) == platform::AuthorizationStatus::authorized;
}

void Permissions::publish(bool& field, bool value) {
    Q_EMIT willChange();
    field = value;
    Q_EMIT changed();
}

}  // namespace cobaltreel
