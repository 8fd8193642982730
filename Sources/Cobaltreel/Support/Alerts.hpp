#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <utility>

namespace cobaltreel {

/// A message that the user must answer before anything goes on; with the warning style.
struct Alert {
    QString message;
    QString informativeText;
    /// The first is the default; none: the platform's single default button.
    QStringList buttons;
};

/// An alert that is only read.
inline Alert warning(QString message, QString informativeText = {}) {
    return {std::move(message), std::move(informativeText), {}};
}

/// Shows alerts, one at a time in the order asked for. Main thread.
class AlertPresenter {
  public:
    virtual ~AlertPresenter() = default;
    /// Returns at once; `answered` is called later, on the main thread, with the index of the chosen
    /// button. Closing the alert counts as its last button.
    virtual void present(const Alert& alert, std::function<void(int button)> answered) = 0;
};

}  // namespace cobaltreel
