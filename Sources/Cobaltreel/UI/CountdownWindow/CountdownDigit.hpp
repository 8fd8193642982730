#pragma once

#include <QFont>
#include <QQuickPaintedItem>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The large white digit with its soft shadow. Its size is that of the digit and the shadow around it.
class CountdownDigit : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int digit READ digit WRITE setDigit NOTIFY digitChanged REQUIRED FINAL)

  public:
    explicit CountdownDigit(QQuickItem* parent = nullptr);

    int digit() const { return digit_; }
    void setDigit(int digit);
    void paint(QPainter* painter) override;

    /// 160 points, bold, of a rounded family where one is installed.
    static QFont font();

  Q_SIGNALS:
    void digitChanged();

  private:
    int digit_ = 0;
};

}  // namespace cobaltreel
