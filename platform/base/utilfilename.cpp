#include "base/util.h"

#include "base/basefile.h"

#include <QTextBoundaryFinder>

#include <algorithm>

// File names that are safe on every system: the characters and names reserved by Windows ("Naming
// Files, Paths, and Namespaces" in its documentation), the separators of POSIX, its limit of 255
// bytes (NAME_MAX), and the characters that make one name look like another (Unicode Technical
// Report 36, bidirectional text spoofing).

namespace
{

constexpr qsizetype maxBytes = 255;

bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
        || c.category() == QChar::Separator_Paragraph;
}

bool isReserved(QChar c)
{
    return isControl(c) || c.isNonCharacter() || QStringView(u"<>:\"/\\|?*").contains(c);
}

/// Marks, embeddings, overrides and isolates (UAX #9), and the byte order mark.
bool isInvisible(QChar c)
{
    const char16_t code = c.unicode();
    return code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e)
        || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

QString replaced(const QString &name)
{
    QString result;
    result.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name[i];
        if (c.isHighSurrogate() && i + 1 < name.size() && name[i + 1].isLowSurrogate()) {
            result += c;
            result += name[++i];
        } else if (c.isSurrogate() || isReserved(c)) {
            result += u'_';
        } else if (!isInvisible(c)) {
            result += c;
        }
    }
    return result;
}

/// Windows drops spaces and dots at the end: "a.exe." would become "a.exe".
void chopEnd(QString &name)
{
    qsizetype size = name.size();
    while (size > 0 && (name[size - 1] == u'.' || name[size - 1].isSpace()))
        --size;
    name.truncate(size);
}

/// Windows treats these as devices in any folder, whatever follows the first dot.
bool isDevice(const QString &name)
{
    const QStringView stem = QStringView(name).left(name.indexOf(u'.')).trimmed();
    const auto is = [stem](QStringView device) {
        return stem.compare(device, Qt::CaseInsensitive) == 0;
    };
    if (is(u"CON") || is(u"PRN") || is(u"AUX") || is(u"NUL") || is(u"CONIN$") || is(u"CONOUT$"))
        return true;
    return stem.size() == 4 && QStringView(u"0123456789\u00b9\u00b2\u00b3").contains(stem[3])
        && (stem.startsWith(u"COM", Qt::CaseInsensitive)
            || stem.startsWith(u"LPT", Qt::CaseInsensitive));
}

/// The longest prefix of `text` of at most `bytes` bytes that ends between two visible characters.
/// If even the first one is longer (a letter with many accents), it is cut between two code points.
QString cut(const QString &text, qsizetype bytes)
{
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() <= bytes)
        return text;
    while (bytes > 0 && (uchar(utf8[bytes]) & 0xc0) == 0x80)
        --bytes;
    const QString result = QString::fromUtf8(utf8.first(bytes));
    QTextBoundaryFinder boundary(QTextBoundaryFinder::Grapheme, text);
    boundary.setPosition(result.size());
    if (boundary.isAtBoundary())
        return result;
    const qsizetype last = boundary.toPreviousBoundary();
    return last > 0 ? result.first(last) : result;
}

QString shortened(const QString &name)
{
    const QString extension = BaseFile::extensionOf(name);
    const QString tail = extension.isEmpty() ? QString() : u'.' + extension;
    QString stem = cut(name.chopped(tail.size()), maxBytes - tail.toUtf8().size());
    chopEnd(stem);
    return stem + tail;
}

QString withoutDevice(const QString &name)
{
    return isDevice(name) ? u'_' + name : name;
}

} // namespace

QString Util::safeFileName(const QString &name)
{
    QString safe = replaced(name).trimmed();
    chopEnd(safe);
    safe = withoutDevice(safe);
    if (safe.toUtf8().size() > maxBytes)
        safe = withoutDevice(shortened(safe)); // may have become a device: "CON      x"
    return safe.isEmpty() ? QStringLiteral("_") : safe;
}

QString Util::shownFileName(const QString &name)
{
    const auto isHidden = [](QChar c) { return isControl(c) || isInvisible(c); };
    if (std::none_of(name.cbegin(), name.cend(), isHidden))
        return name;
    QString shown = name;
    return shown.removeIf(isHidden);
}

QString Util::numberedFileName(const QString &name, int number)
{
    if (number == 0)
        return name;
    const QString extension = BaseFile::extensionOf(name);
    QString tail = QStringLiteral(" (%1)").arg(number);
    if (!extension.isEmpty())
        tail += u'.' + extension;
    const QString stem = extension.isEmpty() ? name : name.chopped(extension.size() + 1);
    return cut(stem, maxBytes - tail.toUtf8().size()) + tail;
}
