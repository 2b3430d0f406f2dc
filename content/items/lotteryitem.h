#pragma once

#include "content/items/withoptionsitem.h"

namespace im
{
class Lottery;
} // namespace im

/// What one person drew.
struct MODELBASE_EXPORT LotteryShare {
    Q_GADGET
    QML_VALUE_TYPE(lotteryShare)
    Q_PROPERTY(int userId MEMBER userId)
    Q_PROPERTY(qint64 amount MEMBER amount)
    Q_PROPERTY(int prizeIndex MEMBER prizeIndex)
    Q_PROPERTY(qint64 createTime MEMBER createTime)

public:
    int userId = 0;
    qint64 amount = 0;     ///< of a red packet, in its smallest unit; beyond 2^53 QML rounds it
    int prizeIndex = -1;   ///< of a prize draw, from 0; -1: none
    qint64 createTime = 0; ///< when it was drawn, as the server tells it

    /// The exact amount for people; see LotteryItem::toText().
    Q_INVOKABLE QString amountText(int decimals) const;
    bool operator==(const LotteryShare &) const = default;
};

/// One prize of a draw.
struct MODELBASE_EXPORT LotteryPrize {
    Q_GADGET
    QML_VALUE_TYPE(lotteryPrize)
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(ContentItem *content READ contentItem)
    Q_PROPERTY(int quantity MEMBER quantity)
    Q_PROPERTY(int drawn MEMBER drawn)

public:
    QString text() const { return contentItem() ? contentItem()->content() : QString(); }
    ContentItem *contentItem() const { return content.toStrongRef().data(); }

    /// The lottery's own, and gone with it: what QML keeps of this value keeps no content. Null for
    /// a kind of content that this version cannot show.
    QWeakPointer<ContentItem> content;
    int quantity = 0; ///< how often it can be drawn
    int drawn = 0;    ///< how often it was, among the shares that are known

    bool operator==(const LotteryPrize &) const = default;
};

/// A red packet (money that is shared out) or a prize draw. The body has title and prizes, which
/// are the item's options; how it goes comes beside it, as im.Lottery.
///
/// Amounts are whole numbers of the currency's smallest unit, exact over all 64 bits, also in their
/// text and stored forms. Of what comes from outside, negative amounts and numbers count as 0, and
/// prizes that do not exist as none, with a log line.
///
/// Stored keys: those of WithOptionsItem, then "lottery" (Base64 of the im.Lottery).
class MODELBASE_EXPORT LotteryItem : public WithOptionsItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(Kind kind READ kind NOTIFY lotteryChanged)
    Q_PROPERTY(QString lotteryId READ lotteryId NOTIFY lotteryChanged)
    Q_PROPERTY(qint32 ownerUid READ ownerUid NOTIFY lotteryChanged)
    Q_PROPERTY(int total READ total NOTIFY lotteryChanged)
    Q_PROPERTY(int drawn READ drawn NOTIFY lotteryChanged)
    Q_PROPERTY(int remaining READ remaining NOTIFY lotteryChanged)
    Q_PROPERTY(qint64 createTime READ createTime NOTIFY lotteryChanged)
    Q_PROPERTY(qint64 finishTime READ finishTime NOTIFY lotteryChanged)
    Q_PROPERTY(qint64 ttl READ ttl NOTIFY lotteryChanged)
    Q_PROPERTY(qint64 amount READ amount NOTIFY lotteryChanged)
    Q_PROPERTY(bool random READ isRandom NOTIFY lotteryChanged)
    Q_PROPERTY(bool hasMyShare READ hasMyShare NOTIFY lotteryChanged)
    Q_PROPERTY(LotteryShare myShare READ myShare NOTIFY lotteryChanged)
    /// Lists of LotteryShare and LotteryPrize.
    Q_PROPERTY(QVariantList shares READ shareVariants NOTIFY lotteryChanged)
    Q_PROPERTY(QVariantList prizes READ prizeVariants NOTIFY prizesChanged)

public:
    enum Kind { UnknownKind, RedPacket, PrizeDraw };
    Q_ENUM(Kind)

    LotteryItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    LotteryItem(const im::content::Content &content, int source, AccountBase *account);
    LotteryItem(int source, AccountBase *account);
    explicit LotteryItem(const LotteryItem *other);
    ~LotteryItem() override;

    /// Unknown until setLottery().
    Kind kind() const;
    QString lotteryId() const;
    /// The user who started it; 0 for a group or channel.
    qint32 ownerUid() const;
    /// How many shares there are, and how many of them are drawn and left.
    int total() const;
    int drawn() const;
    int remaining() const;
    /// Times and duration as the server tells them; a finish time of 0: still running.
    qint64 createTime() const;
    qint64 finishTime() const;
    qint64 ttl() const;
    /// What a red packet holds in all; 0 for a prize draw.
    qint64 amount() const;
    /// True for a red packet whose shares are drawn by lot, and not all the same.
    bool isRandom() const;
    bool hasMyShare() const;
    /// What this user drew; see hasMyShare().
    LotteryShare myShare() const;
    /// What was drawn, as far as it is known, in the server's order.
    QList<LotteryShare> shares() const;
    QList<LotteryPrize> prizes() const;
    /// The sum of the shares that are known; the greatest number where they add up to more.
    Q_INVOKABLE QString sharesText(int decimals) const;
    Q_INVOKABLE QString amountText(int decimals) const;
    /// An amount with `decimals` digits (0 to 18) after the point: 1234 with 2 is "12.34".
    static QString toText(qint64 amount, int decimals);

    /// Takes over how it goes, as far as it speaks of prizes that there are: those are set before.
    /// False, and no change, for the record of another lottery.
    bool setLottery(const im::Lottery &lottery);
    /// Adds the shares of a further page of them; those that are known are not added twice. False,
    /// and no change, for the page of another lottery or of another kind of lottery.
    bool addShares(const im::Lottery &page);
    /// Writes the record held, checked.
    void lottery(im::Lottery *record) const;

    void setOptionItems(const QList<QSharedPointer<ContentItem>> &options) override;

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    using ContentItem::setContent;

    /// A picture, the title, a row each prize, and a line for the state.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void lotteryChanged();
    void prizesChanged();

private:
    template <typename>
    friend struct Fields;

    QVariantList shareVariants() const;
    QVariantList prizeVariants() const;
    void read(const im::content::Content &content);
    /// False, and no change, for the map of another lottery.
    bool read(const QMap<QString, QVariant> &map);
    bool adopt(const im::Lottery &lottery);
    /// Leaves what can be true of a lottery with these prizes.
    void cleanDetails();
    bool isOther(const im::Lottery &lottery) const;

    std::unique_ptr<im::Lottery> m_lottery;
};
