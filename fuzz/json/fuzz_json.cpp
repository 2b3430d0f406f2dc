// Reading and writing stored maps and lists: never different from what QJsonDocument does.

#include "base/json.h"
#include "support/fuzzing.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using fuzzing::check;

void fuzzOne(QByteArrayView input)
{
    const QByteArray json = input.toByteArray();
    const QJsonDocument document = QJsonDocument::fromJson(json);

    const QVariantMap map = jsonToMap(json);
    check(map == document.object().toVariantMap(), "maps are read as QJsonDocument reads them");
    const QByteArray writtenMap = mapToJson(map);
    check(writtenMap
              == QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact),
          "maps are written as QJsonDocument writes them");
    check(jsonToMap(writtenMap) == map, "a map comes back");

    const QVariantList list = jsonToList(json);
    check(list == document.array().toVariantList(), "lists are read as QJsonDocument reads them");
    const QByteArray writtenList = listToJson(list);
    check(writtenList
              == QJsonDocument(QJsonArray::fromVariantList(list)).toJson(QJsonDocument::Compact),
          "lists are written as QJsonDocument writes them");
    check(jsonToList(writtenList) == list, "a list comes back");
}
