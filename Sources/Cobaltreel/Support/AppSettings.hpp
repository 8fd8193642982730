#pragma once

#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/UserDefaults.hpp"

#include <QObject>
#include <memory>
#include <span>
#include <string>

namespace cobaltreel {

/// The one persisted setting: the interface language. Main thread only.
class AppSettings final : public QObject {
    Q_OBJECT

  public:
    /// Takes the language stored in `defaults` under "language"; without a valid one, that of the first of
    /// the `preferred` language identifiers. Stores nothing.
    AppSettings(std::shared_ptr<platform::UserDefaults> defaults, std::span<const std::string> preferred);

    /// The single instance over the standard user defaults and the system's languages, made on first use.
    static AppSettings& shared();

    Language language() const { return language_; }
    /// Makes `language` the language of every text, stores it, and tells the observers.
    void setLanguage(Language language);

  Q_SIGNALS:
    /// Before the language changes.
    void languageWillChange();
    /// After it changed and `L::current` with it.
    void languageChanged();

  private:
    std::shared_ptr<platform::UserDefaults> defaults_;
    Language language_;
};

}  // namespace cobaltreel
