#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

class ContentItem;

/// What the client says at its end about the messages it has shown.
class Summary
{
public:
    /// @param nanoseconds what measuring the item took
    void add(const ContentItem *item, qint64 nanoseconds);
    /// A group of messages that were added already.
    void addGroup(const ContentItem &group);
    /// @param resizing nanoseconds that measuring all of them for another width took
    /// @param files    what became of the files
    QString text(qint64 resizing, const QString &files) const;

private:
    int m_messages = 0;
    QMap<QString, int> m_kinds;
    QMap<QString, int> m_scripts; // messages by script
    QMap<int, int> m_entities;    // by type
    QList<qint64> m_nanoseconds;
};
