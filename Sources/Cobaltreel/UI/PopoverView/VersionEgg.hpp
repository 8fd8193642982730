#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>
#include <memory>
#include <vector>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The version line's secret: three taps within a second show another line for three seconds. Main thread.
class VersionEgg : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("belongs to a panel")
    Q_PROPERTY(bool showEgg READ showEgg NOTIFY showEggChanged FINAL)

  public:
    VersionEgg(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
               QObject* parent = nullptr);

    bool showEgg() const { return showEgg_; }
    Q_INVOKABLE void tap();

  Q_SIGNALS:
    void showEggChanged();

  private:
    void setShowEgg(bool shown);

    std::shared_ptr<platform::Clock> clock_;
    std::shared_ptr<platform::MainLoop> mainLoop_;
    bool showEgg_ = false;
    std::vector<double> taps_;  // host clock
    struct Hiding {
        double dueAt;
        std::unique_ptr<platform::Timer> timer;
    };
    std::vector<Hiding> hidings_;  // every third tap starts one; each hides the line when it ends
};

}  // namespace cobaltreel
