#pragma once

#include "client/clientaccount.h"
#include "client/contents.h"
#include "client/messagestore.h"
#include "client/window/dialoglistmodel.h"
#include "client/window/messagelistmodel.h"

#include <QTimer>

struct Frame;
namespace im
{
class Message;
class MessageReaction;
} // namespace im

/// What an account shows while it is signed in: its dialogs, the messages of the open one, the
/// names of people. It receives the server's notifications, and keeps them.
class Session : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("one for each account that is signed in")
    Q_PROPERTY(AccountBase *account READ baseAccount CONSTANT)
    Q_PROPERTY(QString name READ ownName CONSTANT)
    Q_PROPERTY(DialogListModel *dialogs READ dialogs CONSTANT)
    Q_PROPERTY(MessageListModel *messages READ messages CONSTANT)
    Q_PROPERTY(ClientDialog *dialog READ dialog WRITE open NOTIFY dialogOpened)

public:
    /// @param account must outlive the session
    /// @param media   the folder of the messages' files
    Session(ClientAccount *account, const QString &media);
    ~Session() override;

    ClientAccount *account() const { return m_account; }
    AccountBase *baseAccount() const { return m_account; }
    DialogListModel *dialogs() { return &m_dialogs; }
    MessageListModel *messages() { return &m_messages; }
    ClientDialog *dialog() const { return m_messages.dialog(); }
    void open(ClientDialog *dialog);
    /// Whether the user looks at it: then new messages of the open dialog count as read.
    Q_INVOKABLE void setActive(bool active);

    /// A notification. Types that this program does not use are ignored.
    void receive(const Frame &frame);
    /// Sends a text in light markup to the open dialog.
    Q_INVOKABLE void send(const QString &markup);

    // For the user: empty, or an error text.
    Q_INVOKABLE QString fetchDevices();
    Q_INVOKABLE QString unlinkDevice(int deviceId);

    /// The name of a user ("U-<id>") or a group (the dialog's id).
    QString name(const QString &id) const { return m_names.value(id); }
    QString userName(qint64 id) const;
    const QString &ownName() const { return m_account->name(); }
    const MessageStore &store() const { return m_store; }
    /// What sizes depend on at present.
    static Measure measure();
    /// The measured item of messages that are shown as one.
    QSharedPointer<ContentItem> make(const QList<KeptMessage> &messages);
    /// The size of a content in pixels; null stands for one that cannot be made.
    static QSize sizeOf(const ContentItem *item);
    bool mentionsMe(const ContentItem *item) const;
    /// Writes it soon.
    void keepSize(const MessagePlace &place);
    /// Writes pending changes.
    void flush();

Q_SIGNALS:
    void dialogOpened();
    /// The user has sent a message.
    void sent(const QString &dialogId, int messageId);

private:
    void receive(const im::Message &record);
    void receive(const im::MessageReaction &record);
    ClientDialog *dialogOf(const QString &id);
    bool concerns(const QString &dialogId) const;
    void rename(const QString &id, const std::string &name);
    void countUnread();

    ClientAccount *const m_account;
    MessageStore m_store;
    Contents m_contents;
    QHash<QString, QString> m_names;
    DialogListModel m_dialogs;
    MessageListModel m_messages;
    MessageStore::Batch m_batch;
    QTimer m_flush;
    qint64 m_lastNumber = 0;
    bool m_active = false;
};
