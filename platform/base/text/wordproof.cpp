#include "base/text/wordproof_p.h"

#include "imlog/imlog.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QRawFont>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

namespace
{

Q_LOGGING_CATEGORY(lcWords, "im.base")

// One for each way in which words differ: spaces, line breaks, kerning and ligatures, and words
// that must break inside. Latin letters only: for each further script Qt asks the system for fonts,
// which takes as long as all of this.
constexpr const char16_t *probes[] = {
    u"Is it here?",        u"  two  spaces ",
    u"well-known (10:30)", u"Fjord, ÇA VA",
    u"10 000,50",          u"Donaudampfschiff",
    u"naïve café",         u"a/b http://x.org",
    u"\"Yes\" – no…",      u"one, two; three: four",
    u"AV Ta To fi fl ff",  u"x",
    u"Über-Größe",         u"Łódź și București",
    u"50% of $3.20 (+1)",  u"I'll e-mail A&B",
    u"WWWWWWWW",           u"now",
    u"12:30-13:45",        u"@name #tag",
};

constexpr double wide = 1000;
constexpr double narrow = 48;

bool canShow(const QRawFont &font, const QString &text)
{
    const QList<uint> characters = text.toUcs4();
    return std::ranges::all_of(characters,
                               [&](uint c) { return c == u' ' || font.supportsCharacter(c); });
}

/// A word is measured when it is seen again.
const WordProof::Lines *decided(WordLayout &words, const QString &text, const QFont &font,
                                double width)
{
    const WordProof::Lines *lines = nullptr;
    for (int meeting = 0; !lines && meeting < 3; ++meeting)
        lines = words.breakLines(text, font, {}, width);
    return lines;
}

bool isSame(const WordLayout::Line &a, const WordLayout::Line &b)
{
    return a.width == b.width && a.height == b.height;
}

} // namespace

WordProof::Lines WordProof::fullLayout(const QString &paragraph, const QFont &font, double width)
{
    QTextLayout layout(paragraph, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    Lines lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
        lines.push_back({line.naturalTextWidth(), line.height()});
    }
    layout.endLayout();
    return lines;
}

bool WordProof::holds(const std::function<Lines(const QString &, const QFont &, double)> &full)
{
    const QFont font = QGuiApplication::font();
    const QRawFont raw = QRawFont::fromFont(font);
    WordLayout words;
    int count = 0;
    for (const char16_t *probe : probes) {
        const QString text = QString::fromUtf16(probe);
        if (!canShow(raw, text))
            continue;
        for (const double width : {wide, narrow}) {
            const Lines *known = decided(words, text, font, width);
            if (!known)
                continue;
            ++count;
            const Lines truth = full(text, font, width);
            if (std::ranges::equal(*known, truth, isSame))
                continue;
            ImLog::error(lcWords(),
                         QStringLiteral("Cannot lay out texts word by word: Qt %1 lays out \"%2\" "
                                        "in %3 pixels differently")
                             .arg(QLatin1StringView(qVersion()), text)
                             .arg(width));
            return false;
        }
    }
    if (count == 0)
        ImLog::error(lcWords(),
                     QStringLiteral("Cannot lay out texts word by word: no word was measured"));
    return count > 0;
}
