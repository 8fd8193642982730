#pragma once

#include "Cobaltreel/Support/Alerts.hpp"

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// One alert on its way to its answer. Main thread.
class AlertContent : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("handed to the alert's view")
    Q_PROPERTY(QString message READ message CONSTANT FINAL)
    Q_PROPERTY(QString informativeText READ informativeText CONSTANT FINAL)
    /// At least one; the first is the default.
    Q_PROPERTY(QStringList buttons READ buttons CONSTANT FINAL)

  public:
    AlertContent(Alert alert, std::function<void(int)> answered);

    QString message() const { return alert_.message; }
    QString informativeText() const { return alert_.informativeText; }
    QStringList buttons() const { return alert_.buttons; }

    /// Settles the answer; a further one changes nothing.
    Q_INVOKABLE void choose(int button);
    /// Chooses the last button.
    Q_INVOKABLE void dismiss() { choose(static_cast<int>(alert_.buttons.size()) - 1); }
    /// Tells the one who asked. Once, after `chosen`.
    void deliver();

  Q_SIGNALS:
    void chosen();

  private:
    Alert alert_;
    std::function<void(int)> answered_;
    int answer_ = -1;
};

}  // namespace cobaltreel
