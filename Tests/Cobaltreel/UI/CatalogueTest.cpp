// Walks the whole catalogue through the views' eyes.
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <QGlyphRun>
#include <QGuiApplication>
#include <QRawFont>
#include <QTextLayout>
#include <algorithm>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

TEST(CatalogueTest, EveryTextHasItsGlyphsAndEveryHebrewOneRunsFromRightToLeft) {
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
