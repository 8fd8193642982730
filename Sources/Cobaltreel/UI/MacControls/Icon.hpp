#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// One of the pictures of IconArt, sharp at every density.
class Icon : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged REQUIRED FINAL)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)

  public:
    explicit Icon(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    QString name() const { return name_; }
    void setName(const QString& name);
    QColor color() const { return color_; }
    void setColor(const QColor& color);
    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void nameChanged();
    void colorChanged();

  private:
    QString name_;
    QColor color_ = Qt::white;
};

}  // namespace cobaltreel
