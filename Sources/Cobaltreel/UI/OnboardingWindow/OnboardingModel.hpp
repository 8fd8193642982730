#pragma once

#include "Cobaltreel/Support/Permissions.hpp"

#include <QObject>
#include <QString>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The permissions as the declarative view sees them. Main thread.
class OnboardingModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made for the permissions")
    Q_PROPERTY(bool screenGranted READ screenGranted NOTIFY changed FINAL)
    Q_PROPERTY(bool cameraGranted READ cameraGranted NOTIFY changed FINAL)
    Q_PROPERTY(bool micGranted READ micGranted NOTIFY changed FINAL)
    Q_PROPERTY(QString hint READ hint NOTIFY changed FINAL)

  public:
    /// `permissions` must outlive the model.
    explicit OnboardingModel(Permissions& permissions, QObject* parent = nullptr)
        : QObject(parent), permissions_(permissions) {
        connect(&permissions, &Permissions::changed, this, &OnboardingModel::changed);
    }

    bool screenGranted() const { return permissions_.screenGranted(); }
    bool cameraGranted() const { return permissions_.cameraGranted(); }
    bool micGranted() const { return permissions_.micGranted(); }
    QString hint() const { return permissions_.hint(); }

    Q_INVOKABLE void requestScreen() { permissions_.requestScreen(); }
    Q_INVOKABLE void requestCamera() { permissions_.requestCamera(); }
    Q_INVOKABLE void requestMic() { permissions_.requestMic(); }
    Q_INVOKABLE void openSettings(const QString& pane) { permissions_.openSettings(pane.toStdString()); }
    Q_INVOKABLE void relaunch() { permissions_.relaunch(); }

  Q_SIGNALS:
    void changed();

  private:
    Permissions& permissions_;
};

}  // namespace cobaltreel
