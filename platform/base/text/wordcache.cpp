#include "base/text/wordcache_p.h"

#include "base/text/layoutcharacter_p.h"

#include <QGuiApplication>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <utility>

namespace
{

using Fixed = WordCache::Fixed;

constexpr double wideEnough = 1 << 20;

/// Fonts in a cache before it starts over.
constexpr size_t mostFonts = 32;

Fixed toFixed(double pixels)
{
    return int(std::lround(pixels * 64));
}

/// How often the fonts of the application have changed.
int fontGeneration()
{
    static std::atomic<int> generation = 0;
    static std::atomic<QObject *> followed = nullptr;
    QObject *application = QCoreApplication::instance();
    if (application != nullptr && application != followed
        && followed.exchange(application) != application) {
        ++generation;
        if (auto *fonts = qobject_cast<QGuiApplication *>(application))
            QObject::connect(
                fonts, &QGuiApplication::fontDatabaseChanged, fonts, [] { ++generation; },
                Qt::DirectConnection);
        QObject::connect(application, &QObject::destroyed, [] { followed = nullptr; });
    }
    return generation;
}

/// Whether lines do not break between letters or digits of the script.
bool isWrittenWithSpaces(QChar::Script script)
{
    switch (script) {
    case QChar::Script_Common: // its other characters are checked one by one
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Bopomofo:
        return false;
    default:
        return true;
    }
}

/// Whether a line cannot break inside the word.
bool isOneSegment(QStringView word)
{
    for (qsizetype at = 0; at < word.size();) {
        const LayoutCharacter c = nextCharacter(word, at);
        if (!(c.isLetter || c.isMark) || !isWrittenWithSpaces(c.script))
            return false;
    }
    return true;
}

Fixed advanceOf(const std::vector<WordCache::Part> &parts)
{
    Fixed sum = 0;
    for (const WordCache::Part &part : parts)
        sum += part.advance;
    return sum;
}

size_t bytesOf(const WordCache::Entry &entry)
{
    const auto &[key, word] = entry;
    return sizeof(entry) + 4 * sizeof(void *) + 2 * key.text.capacity()
        + sizeof(WordCache::Part) * (word.segments.capacity() + word.clusters.capacity());
}

QTextOption optionFor(const WordCache::Context &context, QTextOption::WrapMode mode)
{
    QTextOption option(Qt::AlignLeft);
    option.setTextDirection(context.isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    option.setWrapMode(mode);
    return option;
}

QTextLine nextLine(QTextLayout &layout)
{
    QTextLine line = layout.createLine();
    line.setLineWidth(wideEnough);
    return line;
}

} // namespace

size_t WordCache::Hash::operator()(const KeyView &key) const noexcept
{
    const Context &context = key.context;
    const size_t number = size_t(context.font) << 24 | size_t(context.format) << 16
        | size_t(context.script) << 8 | size_t(context.isRightToLeft) << 1
        | size_t(context.isSpaceNext);
    return std::hash<std::u16string_view>()(key.text) ^ number * 0x9E3779B97F4A7C15;
}

void WordCache::beginText()
{
    const int generation = fontGeneration();
    if (m_fontGeneration != generation || m_fonts.size() > mostFonts
        || m_formats.size() > mostFormats) {
        clear();
        m_fontGeneration = generation;
    }
    // A word that is seen again moves to the recent ones, so the older ones are the least recently
    // used. One text may exceed either half a little.
    if (m_recentBytes > maxBytes / 4) {
        m_older = std::exchange(m_recent, {});
        m_olderBytes = std::exchange(m_recentBytes, 0);
    }
}

uint8_t WordCache::indexOf(const QFont &font)
{
    const auto known = std::find(m_fonts.begin(), m_fonts.end(), font);
    if (known != m_fonts.end())
        return uint8_t(known - m_fonts.begin());
    m_fonts.push_back(font);
    return uint8_t(m_fonts.size() - 1);
}

uint8_t WordCache::indexOf(const QTextCharFormat &format)
{
    const auto known = std::find(m_formats.begin(), m_formats.end(), format);
    if (known != m_formats.end())
        return uint8_t(known - m_formats.begin());
    m_formats.push_back(format);
    return uint8_t(m_formats.size() - 1);
}

WordCache::Entry &WordCache::find(const KeyView &key)
{
    if (const auto known = m_recent.find(key); known != m_recent.end())
        return *known;
    if (const auto known = m_older.find(key); known != m_older.end()) {
        const size_t bytes = bytesOf(*known);
        m_olderBytes -= bytes;
        m_recentBytes += bytes;
        return *m_recent.insert(m_older.extract(known)).position;
    }
    Entry &entry = *m_recent.emplace(Key{std::u16string(key.text), key.context}, Word{}).first;
    m_recentBytes += bytesOf(entry);
    return entry;
}

/// Makes a layout of a word in its context. `from` is the word's position there.
QTextLayout &WordCache::layOut(const Entry &entry, std::optional<QTextLayout> &layout,
                               qsizetype &from) const
{
    const auto &[text, context] = entry.first;
    const auto script = QChar::Script(context.script);
    bool hasScript = script == QChar::Script_Common;
    for (qsizetype at = 0; at < qsizetype(text.size()) && !hasScript;)
        hasScript = nextCharacter(text, at).script == script;
    QString all;
    if (!hasScript)
        all.append(QChar(letterOf(script))).append(QChar::LineSeparator);
    from = all.size();
    all += QStringView(text);
    if (context.isSpaceNext)
        all += u' ';
    // The width of a finished line includes the bearing of its last word, whatever spaces follow.
    if (!QChar(text.back()).isSpace())
        all += QChar(QChar::LineSeparator);
    layout.emplace(all, m_fonts[context.font]);
    const QTextCharFormat &format = m_formats[context.format];
    if (!format.isEmpty())
        layout->setFormats({{0, int(all.size()), format}});
    return *layout;
}

/// The parts of a word: the lines that it forms without any room.
std::vector<WordCache::Part> WordCache::partsOf(QTextLayout &layout, const Entry &entry,
                                                QTextOption::WrapMode mode, qsizetype from)
{
    layout.setTextOption(optionFor(entry.first.context, mode));
    layout.clearLayout();
    layout.beginLayout();
    std::vector<Part> parts;
    const int begin = int(from) + entry.second.spaceCount;
    const int end = int(from + qsizetype(entry.first.text.size()));
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(0);
        const int start = line.textStart();
        if (start >= end)
            break;
        if (start < begin)
            continue;
        const Fixed advance = toFixed(line.horizontalAdvance());
        parts.push_back({std::min(start + line.textLength(), end) - start, advance,
                         toFixed(line.naturalTextWidth()) - advance});
    }
    return parts;
}

void WordCache::measure(Entry &entry)
{
    const QStringView text(entry.first.text);
    Word &word = entry.second;
    word.state = Word::Measured;
    const auto isSpace = [](QChar c) { return layoutCharacter(c.unicode()).isSpace; };
    word.spaceCount = int(std::find_if_not(text.begin(), text.end(), isSpace) - text.begin());

    std::optional<QTextLayout> made;
    qsizetype from = 0;
    QTextLayout &layout = layOut(entry, made, from);
    layout.setTextOption(optionFor(entry.first.context, QTextOption::WordWrap));
    layout.beginLayout();
    QTextLine line = nextLine(layout);
    if (from > 0)
        line = nextLine(layout); // after the letter that gives it its script
    const Fixed advance = toFixed(line.horizontalAdvance());
    const Fixed bearing = toFixed(line.naturalTextWidth()) - advance;
    word.metrics = {toFixed(line.ascent()), toFixed(line.descent()), toFixed(line.leading())};

    if (word.spaceCount == text.size()) {
        word.spaceAdvance = advance;
        return;
    }
    if (word.spaceCount > 0)
        word.spaceAdvance = std::abs(toFixed(line.cursorToX(int(from) + word.spaceCount))
                                     - toFixed(line.cursorToX(int(from))));
    const QStringView letters = text.sliced(word.spaceCount);
    if (isOneSegment(letters)) {
        word.segments = {{int(letters.size()), advance - word.spaceAdvance, bearing}};
    } else {
        word.segments = partsOf(layout, entry, QTextOption::WordWrap, from);
        if (word.segments.empty() || advanceOf(word.segments) != advance - word.spaceAdvance)
            word.state = Word::Unusable;
        else
            word.segments.back().bearing = bearing;
    }
    m_recentBytes += word.segments.capacity() * sizeof(Part);
}

void WordCache::measureClusters(Entry &entry)
{
    Word &word = entry.second;
    if (word.segments.size() == 1 && word.segments.front().length == 1) {
        word.clusters = word.segments;
    } else {
        std::optional<QTextLayout> made;
        qsizetype from = 0;
        QTextLayout &layout = layOut(entry, made, from);
        word.clusters = partsOf(layout, entry, QTextOption::WrapAnywhere, from);
        if (advanceOf(word.clusters) != advanceOf(word.segments)) {
            word.state = Word::Unusable;
            word.clusters = {};
            return;
        }
        word.clusters.back().bearing = word.segments.back().bearing;
    }
    m_recentBytes += word.clusters.capacity() * sizeof(Part);
}

void WordCache::clear()
{
    m_fonts.clear();
    m_formats = {QTextCharFormat()};
    m_recent.clear();
    m_older.clear();
    m_recentBytes = m_olderBytes = 0;
}
