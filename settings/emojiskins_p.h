#pragma once

#include <QJsonObject>
#include <QString>

/// The skin tones chosen for single emoji, stored as a JSON object. Caches the text that was parsed
/// last, since views ask for one emoji after another.
class EmojiSkins
{
public:
    /// -1 if none was chosen.
    int index(const QString &text, const QString &emoji);
    /// The text with another choice for the emoji; -1 removes it.
    QString changed(const QString &text, const QString &emoji, int index);

private:
    void parse(const QString &text);

    QString m_text;
    QJsonObject m_indexes;
};
