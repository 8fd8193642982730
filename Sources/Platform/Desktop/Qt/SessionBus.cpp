#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QFileInfo>
#include <QString>
#include <cstdlib>

namespace platform {

bool hasSessionBus() {
    if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")) return true;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime && QFileInfo::exists(QString::fromLocal8Bit(runtime) + QStringLiteral("/bus"));
}

}  // namespace platform
