// Walks the whole catalogue through the views' eyes.
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/MacControls/TextDirection.hpp"
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Cobaltreel/UI/Windows/Texts.hpp"

#include <QGlyphRun>
#include <QGuiApplication>
#include <QRawFont>
#include <QTextLayout>
#include <algorithm>

namespace cobaltreel {
namespace {

class CatalogueTest : public LocalisedTest {};

TEST_F(CatalogueTest, TheViewsReadEveryEntryInBothLanguages) {
    Texts texts(AppSettings::shared());
    int changes = 0;
    QObject::connect(&texts, &Texts::languageChanged, [&] { ++changes; });
    for (const Language language : {Language::he, Language::en}) {
        AppSettings::shared().setLanguage(language);
        for (const S::Entry& entry : S::catalogue()) {
            const QVariant shown = texts.property(std::string(entry.name).c_str());
            EXPECT_EQ(shown.toString(), (language == Language::he ? entry.hebrew : entry.english).toString())
                << std::string(entry.name);
        }
    }
    EXPECT_EQ(changes, 2);
}

TEST_F(CatalogueTest, EveryTextHasItsGlyphsAndEveryHebrewOneRunsFromRightToLeft) {
    for (const S::Entry& entry : S::catalogue()) {
        for (const bool rightToLeft : {false, true}) {
            SCOPED_TRACE(std::string(entry.name) + (rightToLeft ? " he" : " en"));
            const QString text = (rightToLeft ? entry.hebrew : entry.english).toString();
            const bool isHebrew =
                std::any_of(text.begin(), text.end(), [](QChar c) { return c.direction() == QChar::DirR; });
            QTextLayout layout(TextDirection::laidOut(text, rightToLeft), QGuiApplication::font());
            layout.beginLayout();
            QTextLine line = layout.createLine();
            line.setLineWidth(2000);
            layout.endLayout();
            for (const QGlyphRun& run : layout.glyphRuns())
                for (const quint32 glyph : run.glyphIndexes())
                    EXPECT_NE(glyph, 0U) << "no font has a letter of " << text.toStdString();
            if (rightToLeft && isHebrew) {
                // The beginning of the line stands right of its end.
                EXPECT_GT(line.cursorToX(0), line.cursorToX(int(layout.text().size()))) << text.toStdString();
            }
        }
    }
}

}  // namespace
}  // namespace cobaltreel
