#include "base/translated.h"

#include <QCoreApplication>

QString translated(const char *id, const char *english)
{
    const QString text = qtTrId(id);
    return text == QLatin1StringView(id) ? QString::fromUtf8(english) : text;
}

QString translated(const char *id, const char *one, const char *many, int count)
{
    const QString text = qtTrId(id, count);
    if (text != QLatin1StringView(id))
        return text;
    return QString::fromUtf8(count == 1 ? one : many)
        .replace(QLatin1StringView("%n"), QString::number(count));
}
