#pragma once

#include <QJsonArray>
#include <QString>

/// Which log categories are on: a JSON array of {"uri": "im.base", "enable": true}.
class ConsoleOptions
{
public:
    /// All on: what is in force where nothing is stored.
    static QString defaultText();
    /// @param stored the stored text; what it lacks is added as in defaultText()
    explicit ConsoleOptions(const QString &stored);

    QString text() const;
    /// Switches a category. One that is not known yet is added, and comes into force once the text is
    /// read again.
    void change(const QString &uri, bool enabled);
    /// Makes them the rules of QLoggingCategory: debug lines of what is off are not written.
    void apply() const;

private:
    QJsonArray m_options;
    qsizetype m_inForce; // the first ones
};
