#pragma once

#include "feeds/mediafolder.h"

#include <QSet>
#include <QSharedPointer>
#include <QString>

class AccountBase;
class ContentItem;
class FileData;

/// Brings the files of messages to this machine, into the account's media directory. Instead of a
/// server it has the folder beside the feed.
class Downloads
{
public:
    /// @param account outlives this
    /// @param folder  of the files that can be fetched; empty: none can
    Downloads(const AccountBase *account, const QString &folder);

    /// Fetches the files of an item that are not here yet; their records tell how it goes. Throws a
    /// ClientError when a file cannot be written.
    void fetch(ContentItem &item);

    /// "12 fetched, 80.5 KB together; already here: 3".
    QString summary() const;

private:
    void fetch(FileData &file, const QString &directory);
    void transfer(FileData &file, const QString &from, const QString &to);

    const AccountBase *const m_account;
    const MediaFolder m_server;
    // By their ids: several messages may carry one file.
    QSet<QString> m_fetched;
    QSet<QString> m_kept;
    QSet<QString> m_missing;
    qint64 m_bytes = 0;
};
