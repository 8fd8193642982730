#pragma once

#include "CobaltreelCore/Models.hpp"

#include <QQuickItem>
#include <QQuickView>
#include <QString>

#include <gtest/gtest.h>

namespace cobaltreel {

/// A window with a view written in the test, its keyboard and its pointer.
class QmlScene {
  public:
    /// `body` stands inside an Item of 400 × 300 in which the kit and the texts are imported.
    explicit QmlScene(const QString& body, bool rightToLeft = false);

    QQuickItem* item(const char* objectName) const;
    QVariant get(const char* objectName, const char* property) const;
    QQuickWindow& window() { return view_; }

    /// Positions are in the named item, from its left and top edge.
    void click(const char* objectName, QPointF position);
    void clickCentre(const char* objectName);
    void doubleClick(const char* objectName);
    void drag(const char* objectName, QPointF from, QPointF to);
    void touchDrag(const char* objectName, QPointF from, QPointF to);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    bool hasFocus(const char* objectName) const { return item(objectName)->hasActiveFocus(); }

  private:
    QPoint inWindow(const char* objectName, QPointF position) const;

    QQuickView view_;
};

/// Starts in English with settings of its own; back in Hebrew, the start value, afterwards.
class LocalisedTest : public ::testing::Test {
  protected:
    LocalisedTest();
    ~LocalisedTest() override;
};

}  // namespace cobaltreel
