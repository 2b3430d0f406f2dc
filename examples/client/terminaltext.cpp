#include "client/terminaltext.h"

#include <unicode/uchar.h>

#include <QList>
#include <QRegularExpression>
#include <QStringView>
#include <QTextBoundaryFinder>

namespace
{

/// The columns of one visible character. An emoji sequence is one picture; in other characters
/// every code point except zero-width marks takes its own columns.
int columnsOf(QStringView character)
{
    const QList<uint> points = character.toUcs4();
    if (u_hasBinaryProperty(UChar32(points.first()), UCHAR_EMOJI_PRESENTATION)
        || points.contains(0xfe0fu))
        return 2;
    int columns = 0;
    for (const uint point : points) {
        if (U_MASK(u_charType(UChar32(point))) & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK))
            continue;
        const int width = u_getIntPropertyValue(UChar32(point), UCHAR_EAST_ASIAN_WIDTH);
        columns += width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
    }
    return columns;
}

/// The length of the longest prefix of `text` that fits, and its columns.
struct Fit {
    qsizetype length = 0;
    int columns = 0;
};
Fit fit(const QString &text, int columns)
{
    Fit result;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype next; (next = finder.toNextBoundary()) > 0; result.length = next) {
        const int width = columnsOf(QStringView(text).sliced(result.length, next - result.length));
        if (result.columns + width > columns)
            break;
        result.columns += width;
    }
    return result;
}

} // namespace

QString shortened(const QString &text, int columns)
{
    QString shown = text;
    // Text from strangers must not control the terminal, nor reverse the text after it.
    static const QRegularExpression controls(
        QStringLiteral("[\\p{Cc}\\x{2028}\\x{2029}\\x{202a}-\\x{202e}\\x{2066}-\\x{2069}]"));
    shown.replace(controls, QString(QChar::ReplacementCharacter));
    if (fit(shown, columns).length == shown.size())
        return shown;
    return shown.first(fit(shown, columns - 1).length) + QChar(0x2026);
}

QString padded(const QString &text, int columns)
{
    const QString shown = shortened(text, columns);
    return shown + QString(columns - fit(shown, columns).columns, u' ');
}

QString wrapped(const QString &text, int columns, int indent)
{
    QString result = text;
    for (qsizetype start = 0; result.size() - start > columns;) {
        const qsizetype blank = result.lastIndexOf(u' ', start + columns);
        if (blank <= start + indent)
            break; // one long word
        result.replace(blank, 1, u'\n' + QString(indent, u' '));
        start = blank + 1;
    }
    return result;
}
