#pragma once

#include "Cobaltreel/Support/StringsCatalogue.hpp"
#include "CobaltreelCore/Models.hpp"

#include <QString>
#include <QStringView>
#include <span>
#include <string_view>

namespace cobaltreel {

/// The language of every text lookup. Main thread only; written by AppSettings alone.
struct L {
    static inline Language current = Language::he;
};

/// The text catalogue: each entry yields its Hebrew or its English form by `L::current` at the moment
/// of the call. Main thread; the returned texts are plain values.
struct S {
    S() = delete;

#define COBALTREEL_DECLARE(name, hebrew, english) static QString name();
    COBALTREEL_TEXTS(COBALTREEL_DECLARE)
#undef COBALTREEL_DECLARE

    /// The name of a language in that language itself, whatever the interface speaks.
    static QString languageName(Language language);
    /// The default name of an export; the caller formats both parts.
    static QString filenameDefault(const QString& date, const QString& time);
    /// The name of a display that has none; `index` counts from one, the size is in points.
    static QString displayFallback(int index, int width, int height);
    /// How long something still takes; `time` as minutes and seconds.
    static QString timeLeft(const QString& time);

    /// A marker, with so many others at all but the same place.
    static QString markerAndOthers(const QString& marker, int others);

    struct Entry {
        std::string_view name;
        QStringView hebrew;
        QStringView english;
    };
    /// Every fixed text in the order of the list.
    static std::span<const Entry> catalogue();
};

}  // namespace cobaltreel
