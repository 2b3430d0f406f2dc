#include "content/items/lotteryitem.h"

#include "content/items/mediabox_p.h"
#include "content/items/withoptionsitem_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"

#include <algorithm>
#include <limits>
#include <set>
#include <tuple>

namespace
{

// Layout, in pixels.
constexpr int leastWidth = 220;

constexpr auto lotteryKey = [] { return QStringLiteral("lottery"); };

/// Makes negative numbers 0. True when it had to.
template <typename Number>
bool clean(Number value, auto set)
{
    if (value >= 0)
        return false;
    set(Number(0));
    return true;
}

bool clean(im::Lottery::RedPacket::Share *share)
{
    return clean(share->amount(), [&](auto amount) { share->set_amount(amount); });
}

bool clean(im::Lottery::Prize::Share *share, int prizes)
{
    if (share->prize_index() >= -1 && share->prize_index() < prizes)
        return false;
    share->set_prize_index(-1);
    return true;
}

/// Leaves what can be true of a lottery with so many prizes. True when it had to.
bool clean(im::Lottery *lottery, int prizes)
{
    bool changed = clean(lottery->total(), [&](auto total) { lottery->set_total(total); });
    if (lottery->has_red_packet()) {
        auto *packet = lottery->mutable_red_packet();
        changed |= clean(packet->amount(), [&](auto amount) { packet->set_amount(amount); });
        changed |=
            clean(packet->drawn_count(), [&](auto count) { packet->set_drawn_count(count); });
        if (packet->has_my_share())
            changed |= clean(packet->mutable_my_share());
        for (auto &share : *packet->mutable_results())
            changed |= clean(&share);
    } else if (lottery->has_prize()) {
        auto *prize = lottery->mutable_prize();
        changed |=
            clean(prize->remaining_prize(), [&](auto count) { prize->set_remaining_prize(count); });
        for (auto &quantity : *prize->mutable_quantity())
            changed |= clean(quantity, [&](auto value) { quantity = value; });
        if (prize->quantity_size() > prizes) {
            prize->mutable_quantity()->Truncate(prizes);
            changed = true;
        }
        if (prize->has_my_share())
            changed |= clean(prize->mutable_my_share(), prizes);
        for (auto &share : *prize->mutable_results())
            changed |= clean(&share, prizes);
    }
    return changed;
}

LotteryShare toShare(const im::Lottery::RedPacket::Share &share)
{
    return {share.user_id(), share.amount(), -1, share.create_time()};
}

LotteryShare toShare(const im::Lottery::Prize::Share &share)
{
    return {share.user_id(), 0, share.prize_index(), share.create_time()};
}

/// Appends to `held` what of `page` it does not have.
template <typename Shares>
void append(Shares *held, const Shares &page)
{
    const auto identity = [](const auto &share) {
        return std::tuple(share.user_id(), share.create_time());
    };
    std::set<std::tuple<int, qint64>> known;
    for (const auto &share : *held)
        known.insert(identity(share));
    for (const auto &share : page) {
        if (known.insert(identity(share)).second)
            *held->Add() = share;
    }
}

} // namespace

template <>
struct Fields<LotteryItem>
    : KindOf<WithOptionsItem, &im::content::Content::has_lottery, &im::content::Content::lottery,
             &im::content::Content::mutable_lottery> {
    static std::string details(const LotteryItem &item)
    {
        return item.m_lottery->SerializeAsString();
    }

    static constexpr std::tuple table{
        derived<&details, &LotteryItem::lotteryChanged>,
        derived<&LotteryItem::prizes, &LotteryItem::prizesChanged>,
    };
};

QString LotteryShare::amountText(int decimals) const
{
    return LotteryItem::toText(amount, decimals);
}

LotteryItem::LotteryItem(int source, AccountBase *account)
    : WithOptionsItem(source, account), m_lottery(std::make_unique<im::Lottery>())
{
    ItemFields::setType(*this, Lottery);
}

LotteryItem::LotteryItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : WithOptionsItem(map, source, account), m_lottery(std::make_unique<im::Lottery>())
{
    read(map);
}

LotteryItem::LotteryItem(const im::content::Content &content, int source, AccountBase *account)
    : WithOptionsItem(content, source, account), m_lottery(std::make_unique<im::Lottery>())
{
    read(content);
}

LotteryItem::LotteryItem(const LotteryItem *other)
    : WithOptionsItem(other), m_lottery(std::make_unique<im::Lottery>(*other->m_lottery))
{
}

LotteryItem::~LotteryItem() = default;

// How it goes

LotteryItem::Kind LotteryItem::kind() const
{
    return m_lottery->has_red_packet() ? RedPacket
        : m_lottery->has_prize()       ? PrizeDraw
                                       : UnknownKind;
}

QString LotteryItem::lotteryId() const
{
    return Util::fromUtf8(m_lottery->id());
}

qint32 LotteryItem::ownerUid() const
{
    return m_lottery->owner();
}

int LotteryItem::total() const
{
    return m_lottery->total();
}

int LotteryItem::drawn() const
{
    return m_lottery->has_prize() ? total() - remaining()
                                  : std::min(m_lottery->red_packet().drawn_count(), total());
}

int LotteryItem::remaining() const
{
    return m_lottery->has_prize() ? std::min(m_lottery->prize().remaining_prize(), total())
                                  : total() - drawn();
}

qint64 LotteryItem::createTime() const
{
    return m_lottery->create_time();
}

qint64 LotteryItem::finishTime() const
{
    return m_lottery->finish_time();
}

qint64 LotteryItem::ttl() const
{
    return m_lottery->ttl();
}

qint64 LotteryItem::amount() const
{
    return m_lottery->red_packet().amount();
}

bool LotteryItem::isRandom() const
{
    return m_lottery->red_packet().random();
}

bool LotteryItem::hasMyShare() const
{
    return m_lottery->red_packet().has_my_share() || m_lottery->prize().has_my_share();
}

LotteryShare LotteryItem::myShare() const
{
    if (m_lottery->prize().has_my_share())
        return toShare(m_lottery->prize().my_share());
    return m_lottery->red_packet().has_my_share() ? toShare(m_lottery->red_packet().my_share())
                                                  : LotteryShare();
}

QList<LotteryShare> LotteryItem::shares() const
{
    QList<LotteryShare> list;
    for (const auto &share : m_lottery->red_packet().results())
        list.append(toShare(share));
    for (const auto &share : m_lottery->prize().results())
        list.append(toShare(share));
    return list;
}

QVariantList LotteryItem::shareVariants() const
{
    return Inner::toVariants(shares());
}

QList<LotteryPrize> LotteryItem::prizes() const
{
    const im::Lottery::Prize &prize = m_lottery->prize();
    QList<LotteryPrize> list;
    for (const ContentOption &option : options()) {
        const int index = int(list.size());
        list.append({option.content, index < prize.quantity_size() ? prize.quantity(index) : 0, 0});
    }
    for (const auto &share : prize.results()) {
        if (share.prize_index() >= 0 && share.prize_index() < list.size())
            ++list[share.prize_index()].drawn;
    }
    return list;
}

QVariantList LotteryItem::prizeVariants() const
{
    return Inner::toVariants(prizes());
}

QString LotteryItem::amountText(int decimals) const
{
    return toText(amount(), decimals);
}

QString LotteryItem::sharesText(int decimals) const
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    qint64 sum = 0;
    for (const auto &share : m_lottery->red_packet().results())
        sum = share.amount() > most - sum ? most : sum + share.amount();
    return toText(sum, decimals);
}

QString LotteryItem::toText(qint64 amount, int decimals)
{
    decimals = std::clamp(decimals, 0, 18);
    QString digits = QString::number(amount);
    const bool isNegative = amount < 0;
    if (isNegative)
        digits.remove(0, 1);
    digits = digits.rightJustified(decimals + 1, u'0');
    if (decimals > 0)
        digits.insert(digits.size() - decimals, u'.');
    return isNegative ? u'-' + digits : digits;
}

bool LotteryItem::isOther(const im::Lottery &lottery) const
{
    if (lottery.id().empty() || m_lottery->id().empty() || lottery.id() == m_lottery->id())
        return false;
    ImLog::error(lcModel(),
                 QStringLiteral("The record of another lottery does not change this one."));
    return true;
}

bool LotteryItem::setLottery(const im::Lottery &lottery)
{
    const Changes changes(this);
    return adopt(lottery);
}

bool LotteryItem::addShares(const im::Lottery &page)
{
    if (page.content_case() != m_lottery->content_case()) {
        ImLog::error(lcModel(),
                     QStringLiteral("The shares of another kind of lottery are left out."));
        return false;
    }
    im::Lottery joined = *m_lottery;
    joined.set_id(page.id());
    if (page.has_red_packet()) {
        append(joined.mutable_red_packet()->mutable_results(), page.red_packet().results());
    } else if (page.has_prize()) {
        append(joined.mutable_prize()->mutable_results(), page.prize().results());
    }
    return setLottery(joined);
}

bool LotteryItem::adopt(const im::Lottery &lottery)
{
    if (isOther(lottery))
        return false;
    im::Lottery next = lottery;
    if (next.id().empty())
        next.set_id(m_lottery->id());
    m_lottery->Swap(&next);
    cleanDetails();
    return true;
}

void LotteryItem::cleanDetails()
{
    if (clean(m_lottery.get(), int(titledOptions().options.size())))
        ImLog::error(lcModel(),
                     QStringLiteral("Details that the lottery cannot have are left out."));
}

void LotteryItem::lottery(im::Lottery *record) const
{
    *record = *m_lottery;
}

// Stored form and protocol

void LotteryItem::serialize(QMap<QString, QVariant> &map) const
{
    WithOptionsItem::serialize(map);
    if (m_lottery->ByteSizeLong() > 0)
        map.insert(
            lotteryKey(),
            StoredValue::fromBytes(QByteArray::fromStdString(m_lottery->SerializeAsString())));
}

void LotteryItem::deserialize(const QMap<QString, QVariant> &map)
{
    const Changes changes(this);
    if (read(map))
        ContentItem::deserialize(map);
}

void LotteryItem::setOptionItems(const QList<QSharedPointer<ContentItem>> &options)
{
    const Changes changes(this);
    titledOptions().setOptions(options);
    cleanDetails();
}

bool LotteryItem::read(const QMap<QString, QVariant> &map)
{
    im::Lottery lottery;
    const auto bytes = StoredValue::readBytes(map.value(lotteryKey()), lotteryKey());
    const bool isWhole = bytes && lottery.ParseFromArray(bytes->constData(), int(bytes->size()));
    if (isWhole && isOther(lottery))
        return false;
    titledOptions().read(map);
    if (isWhole)
        adopt(lottery);
    else if (bytes)
        ImLog::error(lcModel(), QStringLiteral("The stored details of a lottery are damaged."));
    return true;
}

void LotteryItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Lottery *lottery = content->mutable_lottery();
    if (titledOptions().title.exists())
        titledOptions().title.write(lottery->mutable_title());
    titledOptions().write(lottery->mutable_prizes());
}

void LotteryItem::setContent(const im::content::Content &content)
{
    if (!ItemFields::isOwn(*this, content))
        return;
    const Changes changes(this);
    read(content);
    keepRemainder(content);
}

void LotteryItem::read(const im::content::Content &content)
{
    const im::content::Lottery &lottery = content.lottery();
    titledOptions().read(lottery.has_title() ? &lottery.title() : nullptr, lottery.prizes());
    cleanDetails();
}

// Layout

QSize LotteryItem::calcContentSize(int &lineCount, int maxWidth, int, bool inThread)
{
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    const QSize title = Inner::rowSize(titleItem(), lineCount, limit, inThread);
    int width = std::max(leastWidth, title.width());
    int height =
        ContentMetrics::LotteryPictureHeight + title.height() + ContentMetrics::LotteryFooterHeight;

    const int textWidth = std::max(1, limit - ContentMetrics::LotteryQuantityWidth);
    for (const ContentOption &prize : options()) {
        int lines = 0;
        const QSize text = Inner::rowSize(prize.content.toStrongRef(), lines, textWidth, inThread);
        width = std::max(width, text.width() + ContentMetrics::LotteryQuantityWidth);
        height +=
            ContentMetrics::LotteryPrizeSpacing + std::max(MediaBox::leastSide, text.height());
        lineCount += lines;
    }
    setLineCount(lineCount);
    return {std::min(width, limit), height};
}
