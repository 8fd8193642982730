#include "Platform/Foundation/Qt/QtUserDefaults.hpp"

#include <QStandardPaths>
#include <QStringList>
#include <QVariant>

namespace platform {
namespace {

// QSettings' own choice of folder is fixed by its first use in the process; this one follows the environment.
QString file() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Cobaltreel/Cobaltreel.conf");
}

}  // namespace

QtUserDefaults::QtUserDefaults() : settings_(file(), QSettings::IniFormat) {}

std::optional<std::string> QtUserDefaults::string(const std::string& key) const {
    const QVariant stored = settings_.value(QString::fromStdString(key));
    if (stored.userType() != QMetaType::QString) return std::nullopt;
    return stored.toString().toStdString();
}

std::vector<std::string> QtUserDefaults::stringArray(const std::string& key) const {
    std::vector<std::string> values;
    for (const QString& value : settings_.value(QString::fromStdString(key)).toStringList())
        values.push_back(value.toStdString());
    return values;
}

void QtUserDefaults::setString(const std::string& key, const std::string& value) {
    settings_.setValue(QString::fromStdString(key), QString::fromStdString(value));
    settings_.sync();
}

void QtUserDefaults::setStringArray(const std::string& key, const std::vector<std::string>& values) {
    QStringList list;
    for (const std::string& value : values) list.append(QString::fromStdString(value));
    settings_.setValue(QString::fromStdString(key), list);
    settings_.sync();
}

}  // namespace platform
