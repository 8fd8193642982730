#pragma once

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Support/Hotkey.hpp"
#include "Cobaltreel/Support/Permissions.hpp"
#include "Cobaltreel/UI/OnboardingWindow/OnboardingWindow.hpp"
#include "Cobaltreel/UI/PopoverView/PanelWindow.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoroTask>
#include <QObject>
#include <QRect>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

/// The shell around the recording coordinator: the status item with the panel, the hot key, and what happens
/// at launch and at the end. Without a tray the panel is an ordinary window. Main thread; needs an
/// application object. Panel and windows are made when they are first needed.
class AppDelegate final : public QObject {
    Q_OBJECT

  public:
    AppDelegate(platform::PlatformServices host, RecordingServices recording);
    ~AppDelegate() override;

    /// Everything that happens at launch, in its order.
    void applicationDidFinishLaunching();
    /// Offers a recording that was never exported.
    void checkOrphanSessions();

    /// Brings up the panel, wherever the user left it.
    void openPanel();
    /// What another process wants; returns the answer.
    std::string onRequest(const platform::InstanceRequest& request);
    /// Finishes the files of a recording under way, settles what becomes of the recordings in previews, then
    /// ends the application's event loop; first asks what becomes of an export that runs. A second call
    /// changes nothing.
    void quit();
    /// The same because others want it: nobody is asked, an export has so many seconds to complete.
    void end(double patience);
    /// The same without ending the event loop: returns once nothing is on its way to the disk any more.
    QCoro::Task<void> finishBeforeQuit(double patience);

    /// Session managers give up on a program after ten seconds or more.
    static constexpr double patienceAtLogOut = 8;  // seconds

    RecordingCoordinator& coordinator() { return coordinator_; }
    const OnboardingWindow& onboardingWindow() const { return onboardingWindow_; }
    const PanelWindow* panel() const { return panel_.get(); }

  protected:
    /// Of the application: a session manager's last word would end it at once, in the middle of an export.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QCoro::Task<void> learnWhatThereIs();
    /// Whether a window of ours would be recorded now.
    bool isInPicture() const;
    void keepPanelOutOfPicture();
    void showStatusItem();
    void updateLabel();
    std::vector<platform::StatusMenuItem> statusMenu();
    void hotKeyPressed();
    void updateMarkKey();
    void onStateChanged();
    void panelClosed();
    std::optional<QRect> statusItemFrame() const;
    std::optional<QRect> clickedPlace() const;
    /// Beside the item, once its tray has given it a place that it keeps; not later than after so many looks.
    void openPanelAtItem(std::optional<QRect> before, int looks);
    PanelWindow& panelFor(PanelWindow::Look look);

    platform::PlatformServices host_;
    std::shared_ptr<AlertPresenter> alerts_;
    std::shared_ptr<RecordingWindows> windows_;
    std::shared_ptr<platform::UserDefaults> defaults_;
    Permissions permissions_;
    OnboardingWindow onboardingWindow_;
    RecordingCoordinator coordinator_;
    HotkeyManager hotkey_;
    HotkeyManager markKey_;
    PopoverModel model_;
    std::unique_ptr<PanelWindow> panel_;
    PanelWindow::Look panelLook_ = PanelWindow::Look::popover;
    std::unique_ptr<platform::StatusItem> statusItem_;
    std::unique_ptr<platform::Timer> itemTimer_;  // until the item stands
    double stoppedAt_;                            // when the last recording ended, host clock
    bool wasRecording_ = false;
    bool isPanelHidden_ = false;  // while it would be recorded
    bool quitting_ = false;
    bool hasFinished_ = false;  // all is settled
    bool asksToQuit_ = false;
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel
