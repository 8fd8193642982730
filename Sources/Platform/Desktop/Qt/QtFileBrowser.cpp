#include "Platform/Desktop/Qt/QtFileBrowser.hpp"

#include "Platform/Desktop/Qt/ChildSignals.hpp"
#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <string>
#include <utility>

namespace platform {
namespace {

constexpr int answerMilliseconds = 3000;
/// A helper that still runs after this long shows the folder itself.
constexpr int openerMilliseconds = 3000;

QString text(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }

PlatformError failure(const std::filesystem::path& file, const std::string& reason) {
    return {"FileBrowser", 1, "the folder of " + file.string() + " cannot be shown: " + reason};
}

}  // namespace

// A connection of its own: its end does not touch what else the program does on the bus.
QtFileBrowser::QtFileBrowser()
    : connectionName_(QStringLiteral("cobaltreel.files.%1").arg(reinterpret_cast<quintptr>(this))) {}

QtFileBrowser::~QtFileBrowser() { QDBusConnection::disconnectFromBus(connectionName_); }

void QtFileBrowser::reveal(const std::filesystem::path& file, Outcome done) {
    if (!hasSessionBus()) {
        openFolder(file, done);
        return;
    }
    auto bus = QDBusConnection(connectionName_);
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(connectionName_);
        bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_);
    }
    if (!bus.isConnected()) {
        openFolder(file, done);
        return;
    }
    auto request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    request << QStringList{QUrl::fromLocalFile(text(file)).toString(QUrl::FullyEncoded)} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(request, answerMilliseconds), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, file, done = std::move(done)] {
        watcher->deleteLater();
        if (QDBusPendingReply<>(*watcher).isError())
            openFolder(file, done);
        else
            done(std::nullopt);
    });
}

void QtFileBrowser::openFolder(const std::filesystem::path& file, const Outcome& done) {
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (opener.isEmpty()) {
        QTimer::singleShot(0, this, [file, done] {
            done(failure(file, "no file manager answers and there is no xdg-open; install xdg-utils"));
        });
        return;
    }
    auto* process = new QProcess(this);
    auto* patience = new QTimer(process);
    // Settled once, whichever comes first: its end, its failing to start, or the end of the patience.
    const auto settle = [process, patience, done, settled = std::make_shared<bool>(false)](
                            const std::optional<PlatformError>& error, bool hasEnded) {
        if (hasEnded) process->deleteLater();
        if (std::exchange(*settled, true)) return;
        patience->stop();
        done(error);
    };
    connect(process, &QProcess::finished, this, [file, settle](int code, QProcess::ExitStatus status) {
        if (status == QProcess::NormalExit && code == 0)
            settle(std::nullopt, true);
        else
            settle(failure(file, "no program opens folders; install a file manager"), true);
    });
    connect(process, &QProcess::errorOccurred, this, [file, settle, process](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            settle(failure(file, process->errorString().toStdString()), true);
    });
    connect(patience, &QTimer::timeout, this, [settle] { settle(std::nullopt, false); });
    patience->setSingleShot(true);
    patience->start(openerMilliseconds);
    process->setChildProcessModifier(&unblockSignals);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(opener, {text(file.parent_path())});
}

}  // namespace platform
