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

/// The messages of an account: shows those that are kept, plays a feed, and keeps what it brings.
class Client
{
public:
    /// @param account whose store the messages lie beside; outlives the client
    /// @param width pixels that a message can take
    /// @param media the folder of the files that messages carry; empty: they cannot be fetched
    Client(ClientAccount *account, int width, const QString &media);

    /// Lists what earlier runs have kept, and checks that it measures what it measured then.
    /// Success or SizesDiffer.
    ExitCode showKept();
    /// Lists and keeps what a feed brings. A damaged feed is shown up to the damage.
    void play(const QString &feed);
    void showSummary();

private:
    struct Shown {
        QSharedPointer<ContentItem> item; ///< null for a content that cannot be made
        qint64 nanoseconds = 0;           ///< what measuring took
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
    int m_repeated = 0;                         // frames that brought nothing new
    QList<QSharedPointer<ContentItem>> m_items; // all that were listed
    Summary m_summary;
    QTextStream m_out;

    // What was received and is not on the disk yet, with the lines that will say so.
    MessageStore::Batch m_batch;
    QStringList m_lines;
    MessageGroup m_group;       // that the messages listed last belong to
    QString m_heading;          // of the dialog and day listed last
    int m_lastNotification = 0; // its type, if that is what was listed last
    int m_notifications = 0;    // how many of this type in a row
};
