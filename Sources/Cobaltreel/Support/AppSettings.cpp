#include "Cobaltreel/Support/AppSettings.hpp"

#include "Cobaltreel/Support/Strings.hpp"

#include <QLocale>
#include <utility>
#include <vector>

namespace cobaltreel {
namespace {

const std::string languageKey = "language";

Language initialLanguage(const platform::UserDefaults& defaults, std::span<const std::string> preferred) {
    if (const auto stored = defaults.string(languageKey))
        if (const auto language = fromRawValue<Language>(*stored)) return *language;
    return Languages::forSystem(preferred);
}

std::vector<std::string> systemLanguages() {
    std::vector<std::string> identifiers;
    for (const QString& identifier : QLocale::system().uiLanguages())
        identifiers.push_back(identifier.toStdString());
    return identifiers;
}

}  // namespace

AppSettings::AppSettings(std::shared_ptr<platform::UserDefaults> defaults,
                         std::span<const std::string> preferred)
    : defaults_(std::move(defaults)), language_(initialLanguage(*defaults_, preferred)) {
    L::current = language_;
}

AppSettings& AppSettings::shared() {
    // Never destroyed: views may outlive every static.
    static AppSettings* const settings =
        new AppSettings(platform::UserDefaults::standard(), systemLanguages());
    return *settings;
}

void AppSettings::setLanguage(Language language) {
    const bool changes = language != language_;
    if (changes) Q_EMIT languageWillChange();
    language_ = language;
    L::current = language;
    defaults_->setString(languageKey, std::string(rawValue(language)));
    if (changes) Q_EMIT languageChanged();
}

}  // namespace cobaltreel
