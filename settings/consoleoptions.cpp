#include "settings/consoleoptions_p.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace
{

const char defaults[] = "[{\"uri\": \"im.base\", \"enable\": true}, "
                        "{\"uri\": \"im.component\", \"enable\": true}, "
                        "{\"uri\": \"im.contacts\", \"enable\": true}, "
                        "{\"uri\": \"im.multimedia\", \"enable\": true}, "
                        "{\"uri\": \"im.devicemessage\", \"enable\": true}, "
                        "{\"uri\": \"im.emoji\", \"enable\": true}, "
                        "{\"uri\": \"im.filemanager\", \"enable\": true}, "
                        "{\"uri\": \"im.mediamodel\", \"enable\": true}, "
                        "{\"uri\": \"im.meeting\", \"enable\": true}, "
                        "{\"uri\": \"im.model\", \"enable\": true}, "
                        "{\"uri\": \"im.modelbase\", \"enable\": true}, "
                        "{\"uri\": \"im.network\", \"enable\": true}, "
                        "{\"uri\": \"im.notebook\", \"enable\": true}, "
                        "{\"uri\": \"im.search\", \"enable\": true}, "
                        "{\"uri\": \"im.storage\", \"enable\": true}, "
                        "{\"uri\": \"im.screencapture\", \"enable\": true}, "
                        "{\"uri\": \"im.ui\", \"enable\": true}, "
                        "{\"uri\": \"im.webrtc\", \"enable\": true}, "
                        "{\"uri\": \"im.settingmodel\", \"enable\": true}]";

// Members of one console option.
QString uriOf(const QJsonObject &option)
{
    return option.value(QStringLiteral("uri")).toString();
}
bool isEnabled(const QJsonObject &option)
{
    return option.value(QStringLiteral("enable")).toBool();
}

QString filterRule(const QJsonObject &option)
{
    return QStringLiteral("%1.debug=%2")
        .arg(uriOf(option), isEnabled(option) ? QStringLiteral("true") : QStringLiteral("false"));
}

} // namespace

QString ConsoleOptions::defaultText()
{
    return QString::fromLatin1(defaults);
}

ConsoleOptions::ConsoleOptions(const QString &stored)
    : m_options(QJsonDocument::fromJson(stored.toUtf8()).array())
{
    const QJsonArray known = m_options;
    const QJsonArray all = QJsonDocument::fromJson(defaults).array();
    for (const QJsonValue &option : all) {
        const QString uri = uriOf(option.toObject());
        if (std::none_of(known.begin(), known.end(),
                         [&](const QJsonValue &other) { return uriOf(other.toObject()) == uri; }))
            m_options.append(option);
    }
    m_inForce = m_options.size();
}

QString ConsoleOptions::text() const
{
    return QString::fromUtf8(QJsonDocument(m_options).toJson(QJsonDocument::Compact));
}

void ConsoleOptions::change(const QString &uri, bool enabled)
{
    bool known = false;
    for (QJsonArray::iterator it = m_options.begin(); it != m_options.end(); ++it) {
        QJsonObject option = QJsonValue(*it).toObject();
        if (uriOf(option) != uri)
            continue;
        known = true;
        option.insert(QStringLiteral("enable"), enabled);
        *it = option;
    }
    if (!known) {
        m_options.append(
            QJsonObject{{QStringLiteral("uri"), uri}, {QStringLiteral("enable"), enabled}});
    }
}

void ConsoleOptions::apply() const
{
    QStringList rules;
    for (qsizetype i = 0; i < m_inForce; ++i)
        rules.append(filterRule(m_options.at(i).toObject()));
    QLoggingCategory::setFilterRules(rules.join(QLatin1Char('\n')));
}
