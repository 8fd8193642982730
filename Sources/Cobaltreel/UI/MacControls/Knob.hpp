#pragma once

#include <QQuickPaintedItem>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// A white disc in the middle of the item, with a soft black shadow. The item is larger than the disc by
/// `margin` on every side, so that the shadow has room.
class Knob : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal diameter MEMBER diameter_ NOTIFY lookChanged REQUIRED FINAL)
    /// Grey instead of white.
    Q_PROPERTY(bool dimmed MEMBER dimmed_ NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal margin READ margin CONSTANT FINAL)
    Q_PROPERTY(qreal shadowOpacity MEMBER shadowOpacity_ NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal shadowRadius MEMBER shadowRadius_ NOTIFY lookChanged FINAL)
    /// Downward.
    Q_PROPERTY(qreal shadowOffset MEMBER shadowOffset_ NOTIFY lookChanged FINAL)

  public:
    explicit Knob(QQuickItem* parent = nullptr);

    qreal margin() const { return 3; }
    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void lookChanged();

  private:
    void onLookChanged();

    qreal diameter_ = 0;
    bool dimmed_ = false;
    qreal shadowOpacity_ = 0.3;
    qreal shadowRadius_ = 1;
    qreal shadowOffset_ = 0;
};

}  // namespace cobaltreel
