#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

class AppSettings;

/// The settings as the declarative views see them. Main thread.
class InterfaceSettings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("handed to each window's root")
    /// Raw value of the interface language, "he" or "en".
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged FINAL)
    Q_PROPERTY(bool rightToLeft READ rightToLeft NOTIFY languageChanged FINAL)
    /// The choices, as { value, title }; each title in its own language.
    Q_PROPERTY(QVariantList languages READ languages CONSTANT FINAL)

  public:
    /// `settings` must outlive the object.
    explicit InterfaceSettings(AppSettings& settings, QObject* parent = nullptr);

    QString language() const;
    /// Choosing the language that is spoken already changes nothing; unknown raw values neither.
    void setLanguage(const QString& rawValue);
    bool rightToLeft() const;
    QVariantList languages() const;

  Q_SIGNALS:
    void languageChanged();

  private:
    AppSettings& settings_;
};

}  // namespace cobaltreel
