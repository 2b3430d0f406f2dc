#pragma once

#include "client/downloads.h"

#include <QSharedPointer>

class ClientAccount;
class ContentItem;
struct KeptMessage;

namespace im
{
class Message;
}

/// Makes the items of messages, with everything that belongs to them: the message's fields beside
/// the content, the server's answers, and the files.
class Contents
{
public:
    /// @param account must outlive this
    /// @param media   see Downloads
    Contents(ClientAccount *account, const QString &media);

    /// Null for a content that cannot be made. On return, the files are here; the item signals what
    /// is found in them later in the background (covers, thumbnails).
    QSharedPointer<ContentItem> make(const KeptMessage &message);
    /// Waits for that background work, for a program without views that follow the signals.
    static void settle();

    const Downloads &downloads() const { return m_downloads; }

private:
    void complete(ContentItem &item, const im::Message &record);
    void fetchFiles(ContentItem &item);

    ClientAccount *const m_account;
    Downloads m_downloads;
};
