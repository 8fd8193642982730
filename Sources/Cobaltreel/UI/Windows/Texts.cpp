#include "Cobaltreel/UI/Windows/Texts.hpp"

#include "Cobaltreel/Support/AppSettings.hpp"

#include <QQmlEngine>

namespace cobaltreel {

Texts::Texts(AppSettings& settings, QObject* parent) : QObject(parent) {
    connect(&settings, &AppSettings::languageChanged, this, &Texts::languageChanged);
}

Texts* Texts::create(QQmlEngine*, QJSEngine*) { return new Texts(AppSettings::shared()); }

}  // namespace cobaltreel
