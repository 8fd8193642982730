#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"

#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <QVariantMap>

namespace cobaltreel {
namespace {

QString rawText(Language language) {
    const std::string_view raw = rawValue(language);
    return QString::fromLatin1(raw.data(), static_cast<qsizetype>(raw.size()));
}

}  // namespace

InterfaceSettings::InterfaceSettings(AppSettings& settings, QObject* parent)
    : QObject(parent), settings_(settings) {
    connect(&settings_, &AppSettings::languageChanged, this, &InterfaceSettings::languageChanged);
}

QString InterfaceSettings::language() const { return rawText(settings_.language()); }

void InterfaceSettings::setLanguage(const QString& rawValue) {
    const auto language = fromRawValue<Language>(rawValue.toStdString());
    if (language && *language != settings_.language()) settings_.setLanguage(*language);
}

bool InterfaceSettings::rightToLeft() const { return settings_.language() == Language::he; }

QVariantList InterfaceSettings::languages() const {
    QVariantList options;
    for (const Language language : allCases<Language>)
        options.append(QVariantMap{{QStringLiteral("value"), rawText(language)},
                                   {QStringLiteral("title"), S::languageName(language)}});
    return options;
}

}  // namespace cobaltreel
