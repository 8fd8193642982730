#pragma once

#include <QObject>
#include <QString>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// Which way a text runs.
class TextDirection : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

  public:
    /// The text as it is to be handed to the layout. By itself a text runs the way of its first letter; in a
    /// right-to-left interface one with any right-to-left letter runs from right to left as a whole, also
    /// when it begins with a number or a foreign name; the two numbers of a size stay in their order.
    Q_INVOKABLE static QString laidOut(const QString& text, bool rightToLeft);
};

}  // namespace cobaltreel
