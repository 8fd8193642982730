#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <map>

namespace rig {

/// The compositor of the Wayland desktop (mutter): its streams and its pointer.
class Compositor final : public QObject {
    Q_OBJECT

  public:
    enum class Source { monitor, window };

    Compositor();

    /// Starts a stream of the monitor, or of the window that has the focus. `cursor`: 0 hidden, 1 embedded, 2
    /// as metadata. `started` gets the stream's node and what is known of its place. Returns the compositor's
    /// session, empty when it refuses.
    QString startCast(Source source, uint cursor, std::function<void(uint node, QVariantMap)> started);
    void stopCast(const QString& session);
    /// Told of a session that the compositor ended by itself.
    std::function<void(const QString& session)> castEnded;

    /// Pixels of the desktop, and a button by its number in linux/input-event-codes.h.
    void movePointer(double x, double y);
    void pressButton(int code, bool down);

  private:
    Q_SLOT void streamAdded(uint node);
    Q_SLOT void sessionClosed(const QDBusMessage& signal);
    void startPointer();

    QString pointerSession_, pointerStream_;
    std::map<QString, QString> sessionOfStream_;
    std::map<QString, std::function<void(uint, QVariantMap)>> waiting_;  // by stream
};

}  // namespace rig
