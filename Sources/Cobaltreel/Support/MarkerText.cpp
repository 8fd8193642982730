#include "Cobaltreel/Support/MarkerText.hpp"

#include <QTextBoundaryFinder>

namespace cobaltreel::MarkerText {

namespace {

/// Embeddings, overrides and isolates: left open, they would turn what is shown beside the text.
bool turnsDirection(QChar character) {
    const char16_t code = character.unicode();
    return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
}

QString shortened(const QString& text) {
    if (text.size() <= maxLength) return text;
    const QString head = text.left(maxLength);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, head);
    finder.setPosition(maxLength - 1);
    if (!finder.isAtBoundary()) finder.toPreviousBoundary();
    qsizetype end = finder.position();
    // One character with an endless pile of marks.
    if (end <= 0) end = maxLength - 1;
    if (head[end - 1].isHighSurrogate()) --end;
    return head.left(end).trimmed() + QChar(u'…');
}

}  // namespace

QString cleaned(const QString& text) {
    QString line;
    // Only the beginning can matter: a longer text is cut anyway.
    for (const QChar character : QStringView(text).left(20 * maxLength)) {
        if (turnsDirection(character)) continue;
        line += character.category() == QChar::Other_Control || character.isSpace() ? QChar(u' ') : character;
    }
    return shortened(line.simplified());
}

}  // namespace cobaltreel::MarkerText
