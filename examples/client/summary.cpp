#include "client/summary.h"

#include "client/describe.h"
#include "client/listing.h"
#include "client/terminaltext.h"
#include "content/contentitem.h"

#include <unicode/uscript.h>

#include <algorithm>
#include <numeric>

namespace
{

/// The names of the scripts of a text.
QSet<QString> scripts(const QString &text)
{
    QSet<QString> names;
    for (const char32_t character : text.toUcs4()) {
        UErrorCode error = U_ZERO_ERROR;
        const UScriptCode script = uscript_getScript(UChar32(character), &error);
        if (U_SUCCESS(error) && script > USCRIPT_INHERITED && script != USCRIPT_UNKNOWN)
            names.insert(QString::fromLatin1(uscript_getName(script)));
    }
    return names;
}

/// "62: bold 7, url 3", the most frequent first.
QString ranked(int total, QList<std::pair<QString, int>> counts)
{
    std::stable_sort(counts.begin(), counts.end(),
                     [](const auto &a, const auto &b) { return a.second > b.second; });
    QString text = QStringLiteral("%1:").arg(total);
    for (const auto &[name, count] : counts)
        text += QStringLiteral(" %1\u00a0%2,").arg(name).arg(count); // no line break in between
    return text.chopped(1);
}

QString duration(qint64 nanoseconds)
{
    return nanoseconds < 1'000'000 ? QStringLiteral("%1 µs").arg(nanoseconds / 1000)
                                   : QStringLiteral("%1 ms").arg(nanoseconds / 1e6, 0, 'f', 1);
}

QString row(const char *name, const QString &text)
{
    constexpr int indent = 11;
    const QString words = QString::fromLatin1(name).leftJustified(indent - 1) + u' ' + text;
    return wrapped(words, listing::lineWidth, indent) + u'\n';
}

} // namespace

void Summary::add(const ContentItem *item, qint64 nanoseconds)
{
    ++m_messages;
    if (!item)
        return;
    m_nanoseconds.append(nanoseconds);
    ++m_kinds[describe::kind(*item)];
    for (const QString &script : scripts(item->content()))
        ++m_scripts[script];
    const QMap<int, int> counts = listing::entityCounts(*item);
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        m_entities[count.key()] += *count;
}

void Summary::addGroup(const ContentItem &group)
{
    ++m_kinds[describe::kind(group)];
}

QString Summary::text(qint64 resizing, const QString &files) const
{
    const auto counts = [](const QMap<QString, int> &map) {
        QList<std::pair<QString, int>> list;
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            list.append({entry.key(), *entry});
        return list;
    };
    QList<std::pair<QString, int>> entities;
    for (auto entity = m_entities.cbegin(); entity != m_entities.cend(); ++entity)
        entities.append({listing::entityName(entity.key()), *entity});

    QList<qint64> times = m_nanoseconds;
    std::sort(times.begin(), times.end());
    const int entityCount = std::accumulate(m_entities.cbegin(), m_entities.cend(), 0);
    const QString measuring =
        QStringLiteral("%1 a message the first time, loading fonts (median; slowest %2); "
                       "%3 again, at another width (mean)")
            .arg(duration(times.value(times.size() / 2)), duration(times.value(times.size() - 1)),
                 duration(resizing / std::max<qsizetype>(times.size(), 1)));
    return row("messages", QString::number(m_messages))
        + row("kinds", ranked(int(m_kinds.size()), counts(m_kinds)))
        + row("scripts", ranked(int(m_scripts.size()), counts(m_scripts))) + row("files", files)
        + row("entities", ranked(entityCount, entities)) + row("measuring", measuring);
}
