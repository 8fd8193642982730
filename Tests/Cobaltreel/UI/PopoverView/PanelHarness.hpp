#pragma once

#include "Cobaltreel/Capture/CoordinatorHarness.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Cobaltreel/UI/PopoverView/PanelWindow.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Rig/QtEventually.hpp"

#include <QAccessible>
#include <QTest>
#include <utility>

namespace cobaltreel {

/// The panel of a scripted coordinator on a real X server, driven by its keyboard and pointer.
class PanelHarness : public CoordinatorTest {
  protected:
    PanelHarness() {
        QAccessible::setActive(true);
        platform::UserDefaults::setStandard(defaults);
        AppSettings::shared().setLanguage(Language::en);
    }
    ~PanelHarness() override {
        panel.reset();
        model.reset();
        AppSettings::shared().setLanguage(Language::he);
    }

    /// Waits with the events of the screen and the virtual time's work going on.
    template <typename Condition>
    bool eventually(Condition condition) {
        return platform::eventually(condition, [this] {
            runQtEvents();
            time->drain();
        });
    }
    void open(std::optional<QRect> at, PanelWindow::Look look = PanelWindow::Look::popover) {
        panel = std::make_unique<PanelWindow>(*model, look, time, compositor, pointer);
        panel->open(at);
        EXPECT_TRUE(QTest::qWaitForWindowActive(panel.get(), 10000)) << "the panel has the keyboard";
    }
    /// The control of this name that a person can see, as assistive technology finds it.
    QAccessibleInterface* control(const QString& name, QAccessible::Role role = QAccessible::NoRole) {
        return find(QAccessible::queryAccessibleInterface(panel.get()), name, role);
    }
    void click(const QString& name, QAccessible::Role role = QAccessible::NoRole) {
        QRect place;
        const auto isAtRest = [&] {
            QTest::qWait(10);
            // A window manager that is busy shows it later than the toolkit believes.
            if (!panel->isExposed() || !panel->isActive()) return false;
            QAccessibleInterface* found = control(name, role);
            const QRect before = std::exchange(place, found ? found->rect() : QRect());
            return !place.isEmpty() && place == before;
        };
        ASSERT_TRUE(eventually(isAtRest)) << name.toStdString();
        input.click(place.center());
    }
    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::XcbPointerWatcher> pointer =
        std::make_shared<platform::XcbPointerWatcher>(loop);
    std::shared_ptr<platform::XcbCompositor> compositor = std::make_shared<platform::XcbCompositor>();
    std::unique_ptr<PopoverModel> model = std::make_unique<PopoverModel>(*coordinator, time, time);
    std::unique_ptr<PanelWindow> panel;
    DesktopInput input;

  private:
    static QAccessibleInterface* find(QAccessibleInterface* in, const QString& name, QAccessible::Role role) {
        if (!in) return nullptr;
        if (in->text(QAccessible::Name) == name && !in->state().invisible &&
            in->role() != QAccessible::Window && (role == QAccessible::NoRole || in->role() == role))
            return in;
        for (int i = 0; i < in->childCount(); ++i)
            if (QAccessibleInterface* found = find(in->child(i), name, role)) return found;
        return nullptr;
    }
};

}  // namespace cobaltreel
