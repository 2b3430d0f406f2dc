#pragma once

#include "base/usertextblock.h"
#include "content/messagebase.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QEnableSharedFromThis>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QSharedPointer>
#include <QSize>
#include <QVariant>

#include <memory>
#include <type_traits>

class AccountBase;
class FileData;

namespace im
{
class Message;
namespace content
{
class Content;
class Text;
class TextEntity;
} // namespace content
} // namespace im

/// The content of a message: its text with entities, and the size it is shown at. Plain text is a
/// ContentItem itself, every other kind of content a subclass, whose text is its caption.
///
/// Ownership: always held by QSharedPointer<ContentItem>, never deleted by QML. What was received
/// or stored is made by the functions of contentfactory.h; what is to be sent by
/// QSharedPointer<Kind>::create(1, account) and its setters (files: content/items/outgoingfile.h),
/// and serialize() writes the body. Thread: an item belongs to the thread it lives on.
///
/// Sizes are in pixels and saturate at 32,767. Every change signal fires on a change only, after
/// the value is in place.
class MODELBASE_EXPORT ContentItem : public QObject, public QEnableSharedFromThis<ContentItem>
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 type READ type NOTIFY typeChanged)
    Q_PROPERTY(QString content READ content NOTIFY contentChanged)
    Q_PROPERTY(QVariant textEntity READ textEntityVariant NOTIFY textEntityChanged)
    Q_PROPERTY(qint16 emojiCount READ emojiCount NOTIFY emojiCountChanged)
    Q_PROPERTY(qint16 lineCount READ lineCount NOTIFY lineCountChanged)
    Q_PROPERTY(bool isGame READ isGame NOTIFY isGameChanged)
    Q_PROPERTY(qint16 contentHeight READ contentHeight NOTIFY contentHeightChanged)
    Q_PROPERTY(qint16 contentWidth READ contentWidth NOTIFY contentWidthChanged)
    Q_PROPERTY(QVariantList spoilers READ spoilers NOTIFY spoilersChanged)
    Q_PROPERTY(qint16 contentHeightInThread READ contentHeightInThread WRITE
                   setContentHeightInThread NOTIFY contentHeightInThreadChanged)
    Q_PROPERTY(qint16 contentWidthInThread READ contentWidthInThread WRITE setContentWidthInThread
                   NOTIFY contentWidthInThreadChanged)
    Q_PROPERTY(qint32 effect READ effect NOTIFY effectChanged)
    Q_PROPERTY(QVariantList buttons READ buttons NOTIFY buttonsChanged)

public:
    /// Content type codes. Those up to 14 are the numbers of the protocol's kinds of body.
    enum Type : qint32 {
        Text = 1,
        Image = 2,
        Voice = 3,
        Music = 4,
        Video = 5,
        File = 6,
        Sticker = 7,
        Card = 8,
        Location = 9,
        System = 10,
        Call = 11,
        Meeting = 12,
        Poll = 13,
        Lottery = 14,
        Combined = 15,
        Folder = 500,
        MediaGroup = 501,
        FileGroup = 502,
        LargeEmojiText = 503, ///< in memory only: a text of few emoji, shown large
        EmojiGame = 504,      ///< in memory only: a text of one game emoji
        InvalidLottery = 2008,
        InvalidPoll = 2009,
    };
    Q_ENUM(Type)

    /// Why a size is asked for again.
    enum CalcSizeReason {
        CONTENT_CHANGED = 1,
        MAX_WIDTH_CHANGED = 2,
        FONT_SIZE_CHANGED = 4,
        PLAIN_MODE_CHANGED = 8,
        LARGE_EMOJI_CHANGED = 16,
        MAX_ROW_COUNT_CHANGED = 32,
    };
    Q_ENUM(CalcSizeReason)

    /// Of what others wrote, a text keeps so many entities, the first ones; the others are dropped,
    /// with one log line. As many options does a poll or lottery keep.
    static constexpr int mostEntities = 10'000;

    /// From the stored form. `source` is the model source type that the content belongs to (1 for
    /// chat messages, see ModelBaseUtil::getModelSourceTypeString()); kinds with files choose their
    /// directory by it.
    ContentItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    /// From the protocol.
    ContentItem(const im::content::Content &content, int source, AccountBase *account);
    /// An empty text.
    ContentItem(int source, AccountBase *account);
    /// A copy of type, text, entities, buttons and what else the record carried; not of the effect
    /// and of what was measured. Its source is 1.
    explicit ContentItem(const ContentItem *other);
    ~ContentItem() override;

    /// A Type. Measuring changes that of a text among Text, LargeEmojiText and EmojiGame.
    qint32 type() const { return m_type; }
    /// The text, or of other kinds the caption.
    const QString &content() const { return m_content; }
    const UserTextBlocks &textEntity() const;

    // What the last measuring found; 0 and false before.

    /// Of a text that consists of emoji only how many there are, else 0.
    qint16 emojiCount() const { return m_emojiCount; }
    qint16 lineCount() const { return m_lineCount; }
    /// True for a text of one emoji that starts a game (Util::isEmojiGame).
    bool isGame() const;
    /// True when the last measuring left lines out because of its row count.
    bool isElided() const;
    qint16 contentHeight() const { return m_contentHeight; }
    qint16 contentWidth() const { return m_contentWidth; }
    /// In the narrower view of a thread, likewise.
    qint16 contentHeightInThread() const;
    qint16 contentWidthInThread() const;

    /// The effect that the message is sent with, im.content.Text.effect; 0: none.
    qint32 effect() const;
    int source() const { return m_source; }
    /// The rows of buttons below a message: lists of maps {"id", "text"} with "url" (a link to
    /// open) or "callbackData" (bytes to send back when it is pressed).
    QVariantList buttons() const;
    /// The hidden ranges of the text: maps {"from": int, "len": int}, clamped to the text.
    QVariantList spoilers() const;

    Q_INVOKABLE void setEmojiCount(qint16 emojiCount);
    /// Whether the content brings the bytes of a small picture along, see FileItem::thumbNail().
    Q_INVOKABLE virtual bool hasThumbBytes() const { return false; }
    /// Take over a size that was measured earlier and kept with the message. Null changes nothing.
    Q_INVOKABLE void setContentHeight(MessageBase *msgItem);
    Q_INVOKABLE void setContentWidth(MessageBase *msgItem);
    Q_INVOKABLE void setContentHeightInThread(qint16 newContentHeightInThread);
    Q_INVOKABLE void setContentWidthInThread(qint16 newContentWidthInThread);
    /// Folds or unfolds a code or quote block, by its index in textEntity(); other blocks and
    /// indexes are left alone. A change asks for a new size by needRecalcSize().
    Q_INVOKABLE void setCollapsed(int index, bool collapsed);

    /// Appends the item's stored form, or for a group those of its members, to `list`.
    virtual void serializes(QList<QVariant> &list) const;
    /// Writes the stored form into `map`.
    virtual void serialize(QMap<QString, QVariant> &map) const;
    /// Writes the body for sending, with the fields and entities that this version does not know.
    /// Replaces what the record held. Its bytes are sent as im.Message.content with
    /// content_format_ver 2.
    virtual void serialize(im::content::Content *content) const;
    /// Updates from the stored form. Reads the entities from "entity" (a list of maps) only, where
    /// serialize() writes "dbEntity" (their JSON): an item of a map as it was stored is made anew,
    /// by the factory. A key that is missing counts as empty.
    virtual void deserialize(const QMap<QString, QVariant> &map);
    /// Updates from the protocol. A record of another kind changes nothing.
    virtual void setContent(const im::content::Content &content);
    /// Sets text or caption. The blocks are what recognisers and formatting found; nothing is
    /// looked for in the text.
    void setContent(const QString &content, const UserTextBlocks &blocks);

    // Parts of these, for kinds of content and for those who store texts of their own.
    // deserializeText() signals nothing.

    UserTextBlocks deserializeEnities(const QList<QVariant> &list) const;
    UserTextBlock deserializeEntity(const im::content::TextEntity &entity) const;
    void deserializeText(const im::content::Text &text);
    /// Keeps what the record carries beside the item's own fields, for serialize() to give back.
    /// Called by setContent(), and by the factory and sticker providers for items made of records.
    void keepRemainder(const im::content::Content &content);
    QList<QVariant> serializeEntities() const;
    /// A mention or custom emoji whose id the protocol cannot carry is written as UNKNOWN, without
    /// an id.
    void serializeEntity(im::content::TextEntity *entity, const UserTextBlock &block) const;
    void serializeText(im::content::Text *text) const;
    /// Adds the mentioned users to the message that is sent, those whose ids it can carry; a
    /// mention of everybody sets its mention_all.
    void serializeMetions(im::Message &message) const;

    /// The contents that this one holds: question and options, members. What it mentions, its files
    /// and its keyword are also theirs. A text has none.
    virtual QList<QSharedPointer<ContentItem>> innerItems() const { return {}; }

    /// {"atAll": 1} when everybody is mentioned, {"atUsers": [ids]} when somebody is.
    virtual QMap<QString, QVariant> mentionUsers() const;
    /// The mentioned users' ids in the text's order, with repetitions.
    virtual QList<qint64> mentionUserIds() const;
    /// The links to `host` (compared exactly, in its encoded form) that have a path and want a
    /// preview, in the text's order.
    QList<QString> previewUrls(const QString &host) const;
    /// Whether there is a link or an e-mail address.
    bool hasUrl() const;
    bool hasEntity() const { return !textEntity().isEmpty(); }
    /// Adds the custom emoji of the text to `emoji`, emoji ids by pack id; true when there are any.
    bool hasCustomEmoji(QHash<int, QSet<int>> &emoji) const;
    /// Whether this is a plain text, however it is shown.
    bool isTextMsg() const;
    /// What a search looks at: the text, and what the contents inside give, a line each.
    virtual QString getKeyword() const;

    /// Measures the content, within the bounds of DrawableTextBase, for a view when one of
    /// `reasons` (CalcSizeReason flags) concerns it, and stores the size. Texts need a
    /// QGuiApplication, and the fonts and settings of now. A view calls it for a new item with
    /// CONTENT_CHANGED, and again on needRecalcSize().
    /// @param maxWidth    pixels the view can give; 0 or less: no limit, of other kinds than text
    ///                    AccountManager::maxMsgItemWidth()
    /// @param rowLimit    lines the view shows at most; 0 or less: all
    /// @param maxRowCount longer texts are elided to that many lines, but for a fifth more than
    ///                    that; 0 or less: never. An elided text has 20 pixels for the control that
    ///                    expands it.
    /// @param inThread    for the view of a thread: the size goes to contentHeightInThread() and
    ///                    contentWidthInThread()
    void calcSize(int maxWidth, int rowLimit, int maxRowCount, int reasons, bool inThread);
    /// The size of the content; each kind has its own. Updates what goes with it (line count, emoji
    /// count, type), but not the size. This one measures the text.
    virtual QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread);
    /// The size of the text, `extraHeight` included; never wider than `maxWidth`, unless that is 0
    /// or less. Without a QGuiApplication it is empty.
    QSize calcTextSize(int &lineCount, int maxWidth, int rowLimit, int maxRowCount,
                       int fontPixelSize, int extraHeight, bool plainText);
    /// Forgets the measured sizes and asks for new ones by needRecalcSize().
    void resetSize();

    /// See ImageItem and VideoItem; others have none.
    virtual bool spoiler() const { return false; }
    virtual void setSpoiler(bool) { }

    // The files of an item. Kinds with files override getFile() and getThumbFile(), the base asks
    // the contents inside; the other two go by getFile().

    /// Appends the records of all files of the item.
    virtual void getFile(QList<QSharedPointer<FileData>> &files);
    /// Appends the ids of the files of which there is a copy in the cache. Looks at the disk.
    virtual void getFileIdsByExistCache(QList<QString> &ids);
    /// The first thumbnail that there is; null when there is none.
    virtual QSharedPointer<FileData> getThumbFile();
    /// For content made of files that the cloud drive has already: there is nothing to upload, so
    /// files with an id that waited for it become Downloaded where they are on this device and
    /// NotDownloaded where they are not.
    virtual void initFileStateWithCloudDriveFile();

Q_SIGNALS:
    void typeChanged();
    void contentChanged(const QString &content);
    void textEntityChanged(const QVariant &textEntity);
    /// The argument is cut to 8 bits; the property is not.
    void emojiCountChanged(qint8 emojiCount);
    void lineCountChanged(qint16 lineCount);
    void isGameChanged(bool isGame);
    void contentHeightChanged(qint16 contentHeight);
    void contentWidthChanged(qint16 contentWidth);
    /// Something else than content() has changed what the item measures: calcSize() is due.
    void needRecalcSize();
    void spoilersChanged(); ///< also when other entities have changed
    void contentHeightInThreadChanged();
    void contentWidthInThreadChanged();
    void effectChanged();
    void buttonsChanged();

protected:
    void setType(qint32 type);
    void setLineCount(int lineCount);
    bool hasRemainder() const;
    /// Begins a record of the item: with what it kept of the record that it was made from. A kind
    /// then writes its fields over that.
    void startRecord(im::content::Content *content) const;
    /// Writes text and entities over what startRecord() left in a text or caption.
    void writeText(im::content::Text *text) const;
    /// Writes the text as the caption of a body, when there is any.
    template <typename Body>
    void writeCaption(Body *body) const
    {
        if (!m_content.isEmpty() || hasEntity() || effect() != 0 || body->has_caption())
            writeText(body->mutable_caption());
    }
    /// Updates text, entities and effect from a text or caption.
    void updateText(const im::content::Text &text);
    /// Measures the text as a caption: in the theme's font, whatever it consists of. Empty without
    /// text. Updates the line count.
    QSize calcCaptionSize(int &lineCount, int maxWidth, int maxRowCount);

private:
    friend class ItemFields;
    struct Extra;

    QVariant textEntityVariant() const { return QVariant::fromValue(textEntity()); }
    void setText(const QString &content, const UserTextBlocks &blocks, qint32 effect);
    void storeSize(QSize size, bool inThread);
    void replaceRemainder(std::unique_ptr<im::content::Content> remainder);
    UserTextBlocks entitiesOf(const im::content::Text &record) const;
    const Extra &extra() const;
    Extra &ownExtra();
    /// Sets what most items do not have. True when that changed it.
    template <typename Value>
    bool setExtra(Value Extra::*field, const std::type_identity_t<Value> &value);

    // In an order without gaps: there are a hundred thousand items.
    QString m_content;
    std::unique_ptr<Extra> m_extra; ///< null until there is something in it
    qint32 m_type = Text;
    int m_source;
    qint16 m_emojiCount = 0;
    qint16 m_lineCount = 0;
    qint16 m_contentHeight = 0;
    qint16 m_contentWidth = 0;
};
