#include "base/json.h"
#include "support/comparison.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace
{

/// Stored messages as in the database, of realistic length.
QList<QByteArray> storedMessages()
{
    const QString texts[] = {
        QStringLiteral("ok"),
        QStringLiteral("See you at the station, platform 3 - bring the tickets \U0001F642"),
        QStringLiteral("Встречаемся завтра в семь у входа, не опаздывай, пожалуйста"),
        QStringLiteral("明天早上八点在车站见面，请带上护照和车票"),
        QStringLiteral("A longer one: \"quoted\", with line\nbreaks\n\nand a link, "
                       "https://example.org/some/where?with=query#and-more. ")
            .repeated(8),
    };
    QList<QByteArray> messages;
    for (const QString &text : texts) {
        const QVariantList entities{
            QVariantMap{{QStringLiteral("from"), 0},
                        {QStringLiteral("to"), 2},
                        {QStringLiteral("type"), 1},
                        {QStringLiteral("data"), QStringLiteral("https://example.org")}},
            QVariantMap{{QStringLiteral("from"), 5},
                        {QStringLiteral("to"), 9},
                        {QStringLiteral("type"), 3},
                        {QStringLiteral("data"), QStringLiteral("1234567890123")}},
        };
        const QVariantMap message{
            {QStringLiteral("type"), QStringLiteral("text")},
            {QStringLiteral("content"), text},
            {QStringLiteral("dbEntity"), QString::fromUtf8(listToJson(entities))},
            {QStringLiteral("effect"), 2}};
        messages.append(mapToJson(message));
    }
    return messages;
}

template <typename Input, typename Work>
comparison::Body forEach(const QList<Input> &inputs, Work work)
{
    return [=](benchmark::State &state) {
        for (auto _ : state) {
            for (const Input &input : inputs)
                benchmark::DoNotOptimize(work(input));
        }
    };
}

void addRows()
{
    const QList<QByteArray> messages = storedMessages();
    comparison::add("JSON of 5 stored messages to maps", 0.5, forEach(messages, jsonToMap),
                    forEach(messages, [](const QByteArray &json) {
                        return QJsonDocument::fromJson(json).object().toVariantMap();
                    }));

    QList<QVariantMap> maps;
    for (const QByteArray &json : messages)
        maps.append(jsonToMap(json));
    comparison::add("maps of 5 messages to JSON", 1.0, forEach(maps, mapToJson),
                    forEach(maps, [](const QVariantMap &map) {
                        return QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact);
                    }));
}

} // namespace

COMPARISON_MAIN(addRows)
