#pragma once

#include "client/messagestore.h"
#include "content/contentitem.h"
#include "dialog/messagemodelbase.h"

#include <QCache>
#include <QDateTime>
#include <QPointer>
#include <QSharedPointer>
#include <QTimer>

#include <vector>

class ClientDialog;
class Session;

/// What a view shows of a message. The model owns the content's item: if this value did, QML's
/// garbage collector would delete items, and the bindings of their views would run during the
/// collection.
class MessageRow
{
    Q_GADGET
    QML_VALUE_TYPE(messageRow)
    Q_PROPERTY(ContentItem *item READ contentItem CONSTANT)
    Q_PROPERTY(qint64 messageId MEMBER messageId CONSTANT)
    Q_PROPERTY(qint64 senderId MEMBER senderId CONSTANT)
    Q_PROPERTY(QString senderName MEMBER senderName CONSTANT)
    Q_PROPERTY(QDateTime time MEMBER time CONSTANT)
    Q_PROPERTY(bool valid MEMBER valid CONSTANT)
    Q_PROPERTY(bool outgoing MEMBER outgoing CONSTANT)
    Q_PROPERTY(bool showDay MEMBER showDay CONSTANT)
    Q_PROPERTY(bool showSender MEMBER showSender CONSTANT)
    Q_PROPERTY(bool mentionsMe MEMBER mentionsMe CONSTANT)
    Q_PROPERTY(QStringList reactions MEMBER reactions CONSTANT)

public:
    ContentItem *contentItem() const { return item; }

    QPointer<ContentItem> item; ///< null for a content that cannot be made
    qint64 messageId = 0;
    qint64 senderId = 0;
    QString senderName;
    QDateTime time;
    bool valid = false;
    bool outgoing = false;
    bool showDay = false;
    bool showSender = false;
    bool mentionsMe = false;
    QStringList reactions; ///< such as "👍 2"

    bool operator==(const MessageRow &) const = default;
};

/// The messages of the open dialog, the oldest first; messages that were sent together are one row.
///
/// Designed for long histories. The position of every row is known: its height follows from the
/// size stored with the message. The positions come from an index of the store, the newest when the
/// dialog is opened and the older ones in steps; a content is read, made and measured when its row
/// is requested, and the most recent items are cached. Sizes stored for another width or font are
/// measured again, those in view at once, the rest in the background.
class MessageListModel : public MessageModelBase
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by its session")
    Q_PROPERTY(double totalHeight READ totalHeight NOTIFY heightsChanged)
    Q_PROPERTY(int count READ count NOTIFY heightsChanged)

public:
    enum Role { MessageRole = Qt::UserRole + 1, HeightRole };
    /// The pixels of a row besides its content.
    enum Metrics {
        Gap = 6,            ///< between rows
        Padding = 10,       ///< of a bubble, on each side
        TimeHeight = 16,    ///< the line with the time, in each bubble
        SenderHeight = 20,  ///< the line with the sender's name
        DayHeight = 44,     ///< the line with the day, above its first message
        ReactionHeight = 30 ///< the line with the reactions
    };
    Q_ENUM(Metrics)

    explicit MessageListModel(Session *session);
    ~MessageListModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Null closes the dialog.
    void open(ClientDialog *dialog);
    ClientDialog *dialog() const;
    /// Adds a message that has just arrived; with its item, if there is one already.
    void append(const MessagePlace &place, const QSharedPointer<ContentItem> &item);
    /// Reads the reactions again.
    void updateReactions(int messageId);
    /// Measures everything again, after a change that all sizes depend on.
    void measureAgain();
    /// Asks views to show a message.
    void showMessage(qint64 messageId);
    /// Whether the positions of all messages are known.
    bool isComplete() const { return m_complete; }

    int count() const { return int(m_rows.size()); }
    /// The number of rows that were inserted before those present when the dialog was opened: a row
    /// number less this never changes.
    int prepended() const { return m_prepended; }
    /// The height of all rows in pixels.
    double totalHeight() const { return m_ends.empty() ? 0.0 : m_ends.back(); }

    /// An invalid row if the number is out of range.
    Q_INVOKABLE MessageRow at(int row);
    /// The pixels above a row.
    Q_INVOKABLE double offsetOf(int row) const;
    Q_INVOKABLE double heightOf(int row) const { return offsetOf(row + 1) - offsetOf(row); }
    /// The row at this y position; out of range, the first or the last one.
    int rowAt(double y) const;
    /// Marks the row's mentions and reactions as seen.
    void seen(int row);

    /// How many contents were made and measured so far.
    int itemsMade() const { return m_itemsMade; }

Q_SIGNALS:
    void heightsChanged();
    /// Rows up to and including this one have grown by this many pixels in total.
    void grown(int row, double pixels);
    void jumpRequested(int row);

private:
    struct Row : MessagePlace {
        qint64 last = 0; ///< number of the last message of the group
        qint64 day = 0;  ///< when it was sent, in the user's time zone
    };

    static Row rowOf(const MessagePlace &place);
    bool loadOlder(int count);
    void addUp(int from);
    int rowHeight(int row) const;
    bool startsDay(int row) const;
    bool startsRun(int row) const;
    bool isStale(const Row &row) const;
    QSharedPointer<ContentItem> make(const Row &row);
    ContentItem *item(int row);
    void retireAll();
    void retire(qint64 number);
    void hold(qint64 number, const QSharedPointer<ContentItem> &item);
    void resize(qint64 number, const ContentItem *item);
    void applySizes();
    void measureStale();
    int find(qint64 number) const;

    Session *const m_session;
    QPointer<ClientDialog> m_dialog;
    std::vector<Row> m_rows;
    std::vector<double> m_ends; // y position of the end of each row
    bool m_complete = true;     // all positions are known
    int m_prepended = 0;
    int m_itemsMade = 0;
    QHash<int, QStringList> m_reactions;
    QHash<qint64, QSize> m_newSizes;                     // by number; not applied yet
    QCache<qint64, QSharedPointer<ContentItem>> m_items; // by number
    QList<QSharedPointer<ContentItem>> m_leaving;        // kept until views show others
    QTimer m_farewell;
    QTimer m_background;
    int m_nextStale = -1; // rows up to this one may be stale
    Measure m_measure;    // of the rows that are not stale
};
