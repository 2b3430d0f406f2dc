#pragma once

#include "feeds/mediafolder.h"

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

    /// "12 files with 80.5 KB, 3 were here already".
    QString summary() const;

private:
    void fetch(FileData &file, const QString &directory);
    void transfer(FileData &file, const QString &from, const QString &to);

    const AccountBase *const m_account;
    const MediaFolder m_server;
    int m_fetched = 0;
    qint64 m_bytes = 0;
    int m_kept = 0;
    int m_missing = 0;
};
