#include "Cobaltreel/Support/Paths.hpp"

#include "Cobaltreel/Support/Strings.hpp"
#include "Platform/Foundation/DurableFiles.hpp"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QStandardPaths>
#include <QString>
#include <QTextBoundaryFinder>
#include <string>
#include <system_error>

namespace cobaltreel::Paths {

namespace {

using std::filesystem::path;

constexpr char product[] = "Cobaltreel";
constexpr qsizetype longestFileName = 255;  // bytes; the limit of Linux file systems

path fromQt(const QString& text) { return QFile::encodeName(text).toStdString(); }

/// What a file name can be made of, without the extension; never empty.
QString cleaned(std::string_view baseName) {
    QString name = QString::fromUtf8(baseName.data(), static_cast<qsizetype>(baseName.size())).trimmed();
    for (QChar& character : name) {
        const bool control = character.category() == QChar::Other_Control;
        if (control || character == u'/' || character == u':') character = u'-';
    }
    while (name.startsWith(u'.')) name.remove(0, 1);
    return name.isEmpty() ? QString::fromLatin1(product) : name;
}

/// The longest beginning of `name` of at most `limit` bytes that splits no visible character, such as
/// a letter and its vowel points.
QString shortened(const QString& name, qsizetype limit) {
    if (name.toUtf8().size() <= limit) return name;
    // Every character is a byte at least: what lies beyond `limit` + 1 characters cannot matter.
    const QString head = name.left(limit + 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, head);
    qsizetype end = 0;
    for (qsizetype next = finder.toNextBoundary(); next > 0; next = finder.toNextBoundary()) {
        if (head.left(next).toUtf8().size() > limit) break;
        end = next;
    }
    if (end > 0) return head.left(end);
    // One character with an endless pile of marks: keep as many of them as fit.
    while (end < head.size()) {
        const qsizetype next = end + (head[end].isHighSurrogate() ? 2 : 1);
        if (head.left(next).toUtf8().size() > limit) break;
        end = next;
    }
    return head.left(end);
}

/// True also for a link that leads nowhere: writing through it would surprise; and while an export is on its
/// way there.
bool isTaken(const path& file) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(file, ignored)) ||
           platform::PendingFile::isPending(file);
}

}  // namespace

path sessionsRoot() {
    return fromQt(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)) / product /
           "sessions";
}

path newSessionDir(std::chrono::system_clock::time_point now) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(now.time_since_epoch()).count();
    // This form of toString knows no locale: Gregorian calendar, ASCII digits.
    const QString name = QDateTime::fromMSecsSinceEpoch(milliseconds).toString(u"yyyyMMdd-HHmmss");
    const path dir = sessionsRoot() / fromQt(name);
    platform::makePrivateFolders(dir);
    return dir;
}

path exportsFolder() {
    const QString fromEnvironment = qEnvironmentVariable("XDG_VIDEOS_DIR");
    const QString movies = QDir::isAbsolutePath(fromEnvironment)
                               ? fromEnvironment
                               : QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return fromQt(movies) / product;
}

QString defaultExportName() {
    const QDateTime now = QDateTime::currentDateTime();
    const QLocale plain = QLocale::c();
    return S::filenameDefault(plain.toString(now, u"yyyy-MM-dd"), plain.toString(now, u"HH.mm"));
}

path uniqueOutputURL(std::string_view baseName, std::string_view extension) {
    const path folder = exportsFolder();
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);

    const QString name = cleaned(baseName);
    const auto candidate = [&](const QString& ending) {
        return folder / fromQt(shortened(name, longestFileName - ending.size()) + ending);
    };
    const QString ending = QString::fromUtf8(extension.data(), static_cast<qsizetype>(extension.size()));
    path file = candidate(ending);
    for (int n = 2; isTaken(file); ++n) file = candidate(QStringLiteral("-%1").arg(n) + ending);
    return file;
}

}  // namespace cobaltreel::Paths
