#include "Cobaltreel/Support/Strings.hpp"

namespace cobaltreel {
namespace {

bool isEnglish() { return L::current == Language::en; }

template <std::size_t HebrewSize, std::size_t EnglishSize>
QString choose(const char16_t (&hebrew)[HebrewSize], const char16_t (&english)[EnglishSize]) {
    return isEnglish() ? QString::fromUtf16(english, EnglishSize - 1)
                       : QString::fromUtf16(hebrew, HebrewSize - 1);
}

}  // namespace

#define COBALTREEL_DEFINE(name, hebrew, english) \
    QString S::name() { return choose(hebrew, english); }
COBALTREEL_TEXTS(COBALTREEL_DEFINE)
#undef COBALTREEL_DEFINE

QString S::languageName(Language language) {
    return language == Language::en ? QStringLiteral("English") : QStringLiteral(u"עברית");
}

QString S::filenameDefault(const QString& date, const QString& time) {
    return choose(u"הדרכה ", u"Tutorial ") + date + QLatin1Char(' ') + time;
}

QString S::displayFallback(int index, int width, int height) {
    return choose(u"מסך ", u"Display ") + QString::number(index) + QStringLiteral(u" — ") +
           QString::number(width) + QChar(u'×') + QString::number(height);
}

QString S::timeLeft(const QString& time) {
    return isEnglish() ? time + QStringLiteral(" left") : QStringLiteral(u"נותרו ") + time;
}

QString S::markerAndOthers(const QString& marker, int others) {
    if (others == 0) return marker;
    return choose(u"\u2068%1\u2069 ועוד %2", u"\u2068%1\u2069 and %2 more")
        .arg(marker, QString::number(others));
}

std::span<const S::Entry> S::catalogue() {
#define COBALTREEL_ENTRY(name, hebrew, english) Entry{#name, hebrew, english},
    static const Entry entries[]{COBALTREEL_TEXTS(COBALTREEL_ENTRY)};
#undef COBALTREEL_ENTRY
    return entries;
}

}  // namespace cobaltreel
