#include "settings/emojiskins_p.h"

#include <QJsonDocument>

int EmojiSkins::index(const QString &text, const QString &emoji)
{
    parse(text);
    return m_indexes.value(emoji).toInt(-1);
}

QString EmojiSkins::changed(const QString &text, const QString &emoji, int index)
{
    parse(text);
    if (index == -1)
        m_indexes.remove(emoji);
    else
        m_indexes.insert(emoji, index);
    m_text = QString::fromUtf8(QJsonDocument(m_indexes).toJson(QJsonDocument::Indented));
    return m_text;
}

void EmojiSkins::parse(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_indexes = QJsonDocument::fromJson(text.toUtf8()).object();
}
