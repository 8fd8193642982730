#pragma once

#include "Cobaltreel/Support/Strings.hpp"

#include <QObject>

#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace cobaltreel {

class AppSettings;

/// The text catalogue for declarative views: `S.startRecording` and so on, each following the language.
class Texts : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(S)
    QML_SINGLETON
#define COBALTREEL_PROPERTY(name, hebrew, english) \
    Q_PROPERTY(QString name READ name NOTIFY languageChanged FINAL)
    COBALTREEL_TEXTS(COBALTREEL_PROPERTY)
#undef COBALTREEL_PROPERTY

  public:
    explicit Texts(AppSettings& settings, QObject* parent = nullptr);
    /// Called by the engine: the texts of the shared settings.
    static Texts* create(QQmlEngine* engine, QJSEngine* scriptEngine);

#define COBALTREEL_READ(name, hebrew, english) \
    QString name() const { return S::name(); }
    COBALTREEL_TEXTS(COBALTREEL_READ)
#undef COBALTREEL_READ

  Q_SIGNALS:
    void languageChanged();
};

}  // namespace cobaltreel
