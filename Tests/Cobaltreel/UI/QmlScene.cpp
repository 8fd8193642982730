#include "Cobaltreel/UI/QmlScene.hpp"

#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <QPointingDevice>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>
#include <stdexcept>

namespace cobaltreel {

QmlScene::QmlScene(const QString& body, bool rightToLeft) : view_(&AppWindows::engine(), nullptr) {
    const QString source = QStringLiteral(
                               "import QtQuick\nimport Cobaltreel.Controls\nimport Cobaltreel.Windows\n"
                               "Item { width: 400; height: 300; focus: true\n"
                               "LayoutMirroring.enabled: %1; LayoutMirroring.childrenInherit: true\n%2\n}\n")
                               .arg(rightToLeft ? QStringLiteral("true") : QStringLiteral("false"), body);
    auto component = std::make_unique<QQmlComponent>(view_.engine());
    const QUrl url(QStringLiteral("scene.qml"));
    component->setData(source.toUtf8(), url);
    QObject* root = component->create();
    if (!root) throw std::runtime_error(component->errorString().toStdString());
    component->setParent(&view_);
    view_.setContent(url, component.release(), root);
    view_.show();
    view_.requestActivate();
    if (!QTest::qWaitForWindowActive(&view_)) throw std::runtime_error("the window does not become active");
}

QQuickItem* QmlScene::item(const char* objectName) const {
    auto* found = view_.rootObject()->findChild<QQuickItem*>(QLatin1String(objectName));
    if (!found) throw std::runtime_error(std::string("no item ") + objectName);
    return found;
}

QVariant QmlScene::get(const char* objectName, const char* property) const {
    return item(objectName)->property(property);
}

QPoint QmlScene::inWindow(const char* objectName, QPointF position) const {
    return item(objectName)->mapToScene(position).toPoint();
}

void QmlScene::click(const char* objectName, QPointF position) {
    QTest::mouseClick(&view_, Qt::LeftButton, Qt::NoModifier, inWindow(objectName, position));
}

void QmlScene::clickCentre(const char* objectName) {
    const QQuickItem* target = item(objectName);
    click(objectName, QPointF(target->width() / 2, target->height() / 2));
}

void QmlScene::doubleClick(const char* objectName) {
    const QQuickItem* target = item(objectName);
    QTest::mouseDClick(&view_, Qt::LeftButton, Qt::NoModifier,
                       inWindow(objectName, QPointF(target->width() / 2, target->height() / 2)));
}

void QmlScene::drag(const char* objectName, QPointF from, QPointF to) {
    QTest::mousePress(&view_, Qt::LeftButton, Qt::NoModifier, inWindow(objectName, from));
    for (const double share : {0.25, 0.5, 0.75, 1.0})
        QTest::mouseMove(&view_, inWindow(objectName, from + share * (to - from)));
    QTest::mouseRelease(&view_, Qt::LeftButton, Qt::NoModifier, inWindow(objectName, to));
}

void QmlScene::touchDrag(const char* objectName, QPointF from, QPointF to) {
    static QPointingDevice* const screen = QTest::createTouchDevice();
    QTest::touchEvent(&view_, screen).press(1, inWindow(objectName, from), &view_);
    for (const double share : {0.25, 0.5, 0.75, 1.0})
        QTest::touchEvent(&view_, screen).move(1, inWindow(objectName, from + share * (to - from)), &view_);
    QTest::touchEvent(&view_, screen).release(1, inWindow(objectName, to), &view_);
}

void QmlScene::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&view_, key, modifiers);
}

LocalisedTest::LocalisedTest() {
    static const auto defaults = std::make_shared<platform::InMemoryUserDefaults>();
    platform::UserDefaults::setStandard(defaults);
    AppSettings::shared().setLanguage(Language::en);
}

LocalisedTest::~LocalisedTest() { AppSettings::shared().setLanguage(Language::he); }

}  // namespace cobaltreel
