#pragma once

#include <QJsonArray>
#include <QString>

/// Which log categories are on: a JSON array of {"uri": "im.base", "enable": true}.
class ConsoleOptions
{
public:
    /// All on: the default when nothing is stored.
    static QString defaultText();
    /// @param stored the stored text; missing categories are added as in defaultText()
    explicit ConsoleOptions(const QString &stored);

    QString text() const;
    /// Switches a category. A new one is added, and applied once the text is read again.
    void change(const QString &uri, bool enabled);
    /// Applies them as the rules of QLoggingCategory: disabled categories write no debug lines.
    void apply() const;

private:
    QJsonArray m_options;
    qsizetype m_inForce; // the number of options that apply() uses, from the first
};
