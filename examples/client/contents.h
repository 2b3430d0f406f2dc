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

/// Makes the items of messages, with all that belongs to them: what stands beside the content in
/// the message, what the server tells when it is asked, and the files.
class Contents
{
public:
    /// @param account outlives this
    /// @param media   see Downloads
    Contents(ClientAccount *account, const QString &media);

    /// Null for a content that cannot be made. When this returns, the files are here; what is found
    /// out from them in the background (covers, thumbnails), the item tells by its signals.
    QSharedPointer<ContentItem> make(const KeptMessage &message);
    /// Waits until all of that is found out, for a program without views that follow the signals.
    static void settle();

    const Downloads &downloads() const { return m_downloads; }

private:
    void complete(ContentItem &item, const im::Message &record);
    void fetchFiles(ContentItem &item);

    ClientAccount *const m_account;
    Downloads m_downloads;
};
