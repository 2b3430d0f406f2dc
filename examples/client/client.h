#pragma once

#include "client/clienterror.h"
#include "client/contents.h"
#include "client/messagegroup.h"
#include "client/messagestore.h"
#include "client/summary.h"

#include <QSharedPointer>
#include <QStringList>
#include <QTextStream>

#include <string>

class ClientAccount;
class ContentItem;
struct Frame;
namespace google::protobuf
{
class Message;
}
namespace im
{
class Message;
}

/// The messages of an account: shows the kept ones, plays a feed, and keeps its messages.
class Client
{
public:
    /// @param account the messages are beside its store; must outlive the client
    /// @param width the maximum width of a message, in pixels
    /// @param media the folder of the messages' files; empty: they cannot be fetched
    Client(ClientAccount *account, int width, const QString &media);

    /// Lists the messages kept by earlier runs, and checks that their sizes are unchanged. Success
    /// or SizesDiffer.
    ExitCode showKept();
    /// Lists and keeps the messages of a feed. A damaged feed is shown up to the damage.
    void play(const QString &feed);
    void showSummary();

private:
    struct Shown {
        QSharedPointer<ContentItem> item; ///< null for a content that cannot be made
        qint64 nanoseconds = 0;           ///< duration of the measuring
    };
    Shown measure(KeptMessage &message);
    static void keepStoredForm(KeptMessage &message, const QSharedPointer<ContentItem> &item);
    void receive(const Frame &frame);
    void receive(const im::Message &record);
    void list(const KeptMessage &message, const Shown &shown);
    void listGroup();
    void list(int notification, const google::protobuf::Message *record);
    void add(const QString &line);
    void add(const QStringList &lines);
    void endNotifications();
    bool rename(const QString &id, const std::string &name);
    void flush();

    ClientAccount *const m_account;
    Contents m_contents;
    MessageStore m_store;
    const Measure m_measure;
    QHash<QString, QString> m_names;
    qint64 m_lastNumber = 0;
    int m_repeated = 0;                         // frames without anything new
    QList<QSharedPointer<ContentItem>> m_items; // all listed ones
    Summary m_summary;
    QTextStream m_out;

    // Received messages that are not on the disk yet, with the lines that report them.
    MessageStore::Batch m_batch;
    QStringList m_lines;
    MessageGroup m_group;       // of the messages listed last
    QString m_heading;          // of the dialog and day listed last
    int m_lastNotification = 0; // type of the notification listed last, if any
    int m_notifications = 0;    // consecutive ones of this type
};
