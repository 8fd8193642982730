#include "Cobaltreel/Support/MarkerText.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

TEST(MarkerTextTest, IsOneShortLineThatTurnsNothingAround) {
    const QString longest(MarkerText::maxLength, u'x');
    const struct {
        QString text, kept;
    } cases[]{
        {"", ""},
        {"  two  words ", "two words"},
        {"a\tb\r\nc\x1b[31m", "a b c [31m"},
        {QStringLiteral(u"שלום \u200fעולם"), QStringLiteral(u"שלום \u200fעולם")},
        {QStringLiteral(u"a\u202eb\u2066c\u2069"), "abc"},
        {QStringLiteral(u"a\u2028b\u0085c"), "a b c"},
        {longest, longest},
        {longest + 'y', longest.chopped(1) + u'…'},
        {QString(10'000, u'x'), longest.chopped(1) + u'…'},
        {longest.chopped(2) + QStringLiteral(u"👩‍🎨 paints"), longest.chopped(2) + u'…'},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(MarkerText::cleaned(each.text), each.kept) << each.text.left(20).toStdString();
        EXPECT_EQ(MarkerText::cleaned(each.kept), each.kept) << "cleaned twice";
    }
    const QString piled = 'e' + QString(10'000, QChar(0x0301));
    EXPECT_EQ(MarkerText::cleaned(piled).size(), MarkerText::maxLength);
}

}  // namespace
}  // namespace cobaltreel
