#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

class ContentItem;

/// The client's final summary of the messages that it has shown.
class Summary
{
public:
    /// @param nanoseconds duration of measuring the item
    void add(const ContentItem *item, qint64 nanoseconds);
    /// A group of messages that were already added.
    void addGroup(const ContentItem &group);
    /// @param resizing nanoseconds for measuring all of them at another width
    /// @param files    the results of the downloads
    QString text(qint64 resizing, const QString &files) const;

private:
    int m_messages = 0;
    QMap<QString, int> m_kinds;
    QMap<QString, int> m_scripts; // messages by script
    QMap<int, int> m_entities;    // by type
    QList<qint64> m_nanoseconds;
};
