#pragma once

#include <QObject>
#include <functional>

namespace platform {

/// Whether a tray takes icons over the session's bus: the notifier service runs and somebody shows what it
/// collects. Main thread.
class NotifierTray final : public QObject {
    Q_OBJECT

  public:
    explicit NotifierTray(std::function<void()> changed);
    bool isThere() const { return there_; }

  private Q_SLOTS:
    void query();

  private:
    void set(bool there);

    std::function<void()> changed_;
    bool there_ = false;
};

}  // namespace platform
