// Reading and writing stored maps and lists: always the same as QJsonDocument.

#include "base/json.h"
#include "support/fuzzing.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using fuzzing::check;

namespace
{

/// Also distinguishes types, which the comparison of variants does not.
QString dump(const QVariant &value)
{
    QString text;
    QDebug(&text) << value;
    return text;
}

/// QJsonDocument's output, except for texts that begin with U+FEFF: it cannot read back its own
/// output for those.
QByteArray writtenByQt(const QVariant &container, const QByteArray &ours)
{
    return ours.contains("\\ufeff")
        ? ours
        : QJsonDocument::fromVariant(container).toJson(QJsonDocument::Compact);
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const QByteArray json = input.toByteArray();
    const QVariantMap map = jsonToMap(json);
    const QVariantList list = jsonToList(json);
    check(map.isEmpty() || list.isEmpty(), "no text is both a map and a list");
    // Unlike Qt, we keep numbers that are too small, and U+FEFF.
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isNull() && !json.contains("\xEF\xBB\xBF")) {
        check(dump(map) == dump(document.object().toVariantMap()),
              "maps are read as Qt reads them");
        check(dump(list) == dump(document.array().toVariantList()),
              "lists are read as Qt reads them");
    }

    const QByteArray writtenMap = mapToJson(map);
    check(writtenMap == writtenByQt(map, writtenMap), "maps are written as Qt writes them");
    check(jsonToMap(writtenMap) == map, "a map comes back");

    const QByteArray writtenList = listToJson(list);
    check(writtenList == writtenByQt(list, writtenList), "lists are written as Qt writes them");
    check(jsonToList(writtenList) == list, "a list comes back");
}
