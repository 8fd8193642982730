#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>
#include <functional>
#include <memory>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The digit on screen.
class CountdownModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("belongs to a countdown")
    Q_PROPERTY(int digit READ digit WRITE setDigit NOTIFY digitChanged FINAL)

  public:
    explicit CountdownModel(int digit, QObject* parent = nullptr) : QObject(parent), digit_(digit) {}
    int digit() const { return digit_; }
    void setDigit(int digit);

  Q_SIGNALS:
    void digitWillChange();
    void digitChanged();

  private:
    int digit_;
};

/// Shows the digit of a model over the main screen until destroyed; then it is gone from the screen.
class CountdownOverlay {
  public:
    virtual ~CountdownOverlay() = default;
};
using CountdownOverlayFactory = std::function<std::unique_ptr<CountdownOverlay>(CountdownModel&)>;

/// Counts 3, 2, 1 over the whole main screen, 0.8 s each; Escape cancels. Made once and used again for
/// every countdown. Main thread.
class Countdown final : public RecordingCountdown {
  public:
    /// Seconds that each digit stands.
    static constexpr double digitTime = 0.8;

    Countdown(std::shared_ptr<platform::MainLoop> mainLoop, std::shared_ptr<platform::KeyGrabber> keys,
              CountdownOverlayFactory overlay);

    /// Starts at 3 and returns. Exactly one of the two is called later, once the overlay is gone: `onCancel`
    /// after Escape, `onDone` after the last digit. Neither when `finish` or another `run` comes first.
    void run(std::function<void()> onCancel, std::function<void()> onDone) override;
    /// Ends a running countdown without a word.
    void finish() override;

    bool isCounting() const { return window_ != nullptr; }
    const CountdownModel& model() const { return model_; }

  private:
    void step();
    void end(std::function<void()> callback);

    std::shared_ptr<platform::MainLoop> mainLoop_;
    std::shared_ptr<platform::KeyGrabber> keys_;
    CountdownOverlayFactory makeOverlay_;
    CountdownModel model_{3};
    std::unique_ptr<CountdownOverlay> window_;
    std::unique_ptr<platform::KeyGrab> keyMonitor_;
    std::unique_ptr<platform::Timer> timer_;
    std::function<void()> onCancel_;
    std::function<void()> onDone_;
};

}  // namespace cobaltreel
