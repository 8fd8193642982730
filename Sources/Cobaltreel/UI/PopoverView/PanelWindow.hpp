#pragma once

#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Platform/Desktop/Compositor.hpp"
#include "Platform/Desktop/PointerWatcher.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <QRect>
#include <memory>
#include <optional>

namespace cobaltreel {

class PopoverModel;

/// The window of the panel, always exactly as tall as its content. Made once and shown again and again;
/// the model follows whether it is shown. Main thread.
class PanelWindow final : public AppWindow {
    Q_OBJECT

  public:
    enum class Look {
        /// Frameless, with round corners where a compositor blends them, beside the status item. It closes at
        /// a press elsewhere, when another
        /// window gets the focus (an alert over it does not count), and when a recording is about to begin.
        popover,
        titled,  ///< an ordinary window that stays, for a desktop without a tray
    };
    /// Between the popover and the status item or the edges of the screen.
    static constexpr int gap = 8;
    static constexpr int corner = 10;

    /// `model` must outlive the window; `compositor` and `pointer` may be null.
    PanelWindow(PopoverModel& model, Look look, std::shared_ptr<platform::Clock> clock,
                std::shared_ptr<platform::Compositor> compositor,
                std::shared_ptr<platform::PointerWatcher> pointer = nullptr);
    ~PanelWindow() override;

    /// Shows the panel with the keyboard. `statusItem`: where that is on the screen, or the pointer when it
    /// was clicked; otherwise the panel opens in the corner where this desktop's tray is, most likely.
    void open(std::optional<QRect> statusItem = {});
    /// Opens the panel, or closes it. Does nothing right after the panel was closed by the very click on the
    /// status item that took the focus away.
    void toggle(std::optional<QRect> statusItem = {});
    bool isOpen() const { return isVisible(); }

    /// Where a popover of this size stands: under the status item in the upper half of the screen, above it
    /// in the lower one, and always within `room`, what panels and docks leave of the screen.
    static QRect place(QSize size, const QRect& statusItem, const QRect& room);
    /// Where a desktop whose tray tells nothing has its status items, most likely: in the corner of its bar.
    static QRect likelyItem(const QRect& screen, const QRect& room, bool rightToLeft);

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

  private:
    void fit();
    void leave();
    void watchPresses();

    PopoverModel& model_;
    Look look_;
    std::shared_ptr<platform::Clock> clock_;
    std::shared_ptr<platform::Compositor> compositor_;
    std::shared_ptr<platform::PointerWatcher> pointer_;
    std::unique_ptr<platform::PointerWatch> presses_;  // while a popover is open
    std::optional<QRect> statusItem_;
    QPoint wanted_;           // of a popover
    bool corrected_ = false;  // since it was opened
    bool blended_ = false;
    double lostFocusAt_;
};

}  // namespace cobaltreel
