#pragma once

#include "feeds/mediafolder.h"

#include <QSet>
#include <QSharedPointer>
#include <QString>

class AccountBase;
class ContentItem;
class FileData;

/// Fetches the files of messages into the account's media directory. The folder beside the feed
/// takes the place of a server.
class Downloads
{
public:
    /// @param account must outlive this
    /// @param folder  of the files that can be fetched; empty: none can
    Downloads(const AccountBase *account, const QString &folder);

    /// Fetches the files of an item that are not here yet; their records show the progress. Throws
    /// a ClientError when a file cannot be written.
    void fetch(ContentItem &item);

    /// "12 fetched, 80.5 KB together; already here: 3".
    QString summary() const;

private:
    void fetch(FileData &file, const QString &directory);
    void transfer(FileData &file, const QString &from, const QString &to);

    const AccountBase *const m_account;
    const MediaFolder m_server;
    // By ids: several messages may have the same file.
    QSet<QString> m_fetched;
    QSet<QString> m_kept;
    QSet<QString> m_missing;
    qint64 m_bytes = 0;
};
