#include "content/items/pollitem.h"

#include "base/define.h"
#include "content/fields_p.h"
#include "content/items/innercontent_p.h"
#include "content/items/mediabox_p.h"
#include "cryptobase/cryptoaes.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace
{

/// More options than that no list of results is read for.
constexpr int maxOptions = 1000;

// Layout, in pixels.
constexpr int leastWidth = 200;

using Numbers = google::protobuf::RepeatedField<google::protobuf::int32>;

QList<int> toList(const Numbers &numbers)
{
    return {numbers.begin(), numbers.end()};
}

/// Leaves distinct numbers of options that exist. True when it had to.
bool cleanOptions(Numbers *numbers, int optionCount)
{
    Numbers clean;
    for (const int number : *numbers) {
        if (number >= 0 && number < optionCount
            && std::find(clean.begin(), clean.end(), number) == clean.end())
            clean.Add(number);
    }
    const bool changed = clean.size() != numbers->size();
    numbers->Swap(&clean);
    return changed;
}

/// Leaves what can be true of a poll with so many options. True when it had to.
bool clean(im::PollResult *result, int optionCount)
{
    bool changed = false;
    if (result->count_size() > optionCount) {
        result->mutable_count()->Truncate(optionCount);
        changed = true;
    }
    int most = 0;
    for (auto &count : *result->mutable_count()) {
        changed |= count < 0;
        count = std::max(0, count);
        most = std::max(most, count);
    }
    if (result->voters_size() > optionCount) {
        result->mutable_voters()->DeleteSubrange(optionCount, result->voters_size() - optionCount);
        changed = true;
    }
    // Each vote for one option is another person's.
    if (result->voters_total() < most) {
        changed |= result->voters_total() < 0;
        result->set_voters_total(most);
    }
    changed |= cleanOptions(result->mutable_voted_options(), optionCount);
    changed |= cleanOptions(result->mutable_expected_answers(), optionCount);
    return changed;
}

/// The shares of `counts` in their sum in whole percent, by the largest remainder method.
QList<int> percentages(const QList<int> &counts)
{
    const qint64 sum = std::accumulate(counts.begin(), counts.end(), qint64(0));
    QList<int> percents(counts.size(), 0);
    if (sum == 0)
        return percents;
    int missing = 100;
    for (qsizetype i = 0; i < counts.size(); ++i) {
        percents[i] = int(qint64(counts.at(i)) * 100 / sum);
        missing -= percents.at(i);
    }
    QList<qsizetype> order(counts.size());
    std::iota(order.begin(), order.end(), 0);
    const auto remainder = [&](qsizetype i) { return qint64(counts.at(i)) * 100 % sum; };
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype a, qsizetype b) { return remainder(a) > remainder(b); });
    for (int i = 0; i < missing; ++i)
        ++percents[order.at(i)];
    return percents;
}

} // namespace

template <>
struct Fields<PollItem> : KindOf<ContentItem, &im::content::Content::has_poll,
                                 &im::content::Content::poll, &im::content::Content::mutable_poll> {
    static constexpr std::tuple table{
        derived<&PollItem::titleItem, &PollItem::titleChanged>,
        derived<&PollItem::options, &PollItem::optionsChanged>,
        derived<&PollItem::optionCount, &PollItem::optionCountChanged>,
        derived<&PollItem::pollId, &PollItem::pollIdChanged>,
        derived<&PollItem::ownerUid, &PollItem::ownerUidChanged>,
        derived<&PollItem::anonymous, &PollItem::anonymousChanged>,
        derived<&PollItem::multiple, &PollItem::multipleChanged>,
        derived<&PollItem::isPublic, &PollItem::isPublicChanged>,
        derived<&PollItem::quizMode, &PollItem::quizModeChanged>,
        derived<&PollItem::comment, &PollItem::commentChanged>,
        derived<&PollItem::expectedAnswers, &PollItem::expectedAnswersChanged>,
        derived<&PollItem::ended, &PollItem::endedChanged>,
        derived<&PollItem::deleted, &PollItem::deletedChanged>,
        derived<&PollItem::votersTotal, &PollItem::votersTotalChanged>,
        derived<&PollItem::votedOptions, &PollItem::votedOptionsChanged>,
        derived<&PollItem::latestVoters, &PollItem::latestVotersChanged>,
        derived<&PollItem::answer, &PollItem::answerChanged>,
        sizedBy<&PollItem::innerItems>,
    };
};

PollItem::PollItem(int source, AccountBase *account)
    : ContentItem(source, account), m_options(std::make_unique<TitledOptions>(source, account)),
      m_info(std::make_unique<im::PollInfo>())
{
    ItemFields::setType(*this, Poll);
}

PollItem::PollItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account),
      m_options(std::make_unique<TitledOptions>(source, account)),
      m_info(std::make_unique<im::PollInfo>())
{
    read(map);
}

PollItem::PollItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account),
      m_options(std::make_unique<TitledOptions>(source, account)),
      m_info(std::make_unique<im::PollInfo>())
{
    read(content);
}

PollItem::PollItem(const PollItem *other)
    : ContentItem(other), m_options(std::make_unique<TitledOptions>(other->m_options->copy())),
      m_info(std::make_unique<im::PollInfo>(*other->m_info)), m_comment(other->m_comment),
      m_key(other->m_key)
{
}

PollItem::~PollItem() = default;

// Question and options

QString PollItem::title() const
{
    return m_options->title.text();
}

QSharedPointer<ContentItem> PollItem::titleItem() const
{
    return m_options->title.item();
}

QList<PollOption> PollItem::options() const
{
    const im::PollResult &result = m_info->result();
    const QList<int> voted = votedOptions();
    const QList<int> expected = expectedAnswers();
    QList<int> counts(m_options->options.size(), 0);
    std::copy_n(result.count().begin(), std::min<qsizetype>(result.count_size(), counts.size()),
                counts.begin());
    const QList<int> percents = percentages(counts);

    QList<PollOption> list;
    list.reserve(counts.size());
    for (int i = 0; i < counts.size(); ++i) {
        list.append({m_options->options.at(i).item(), counts.at(i), percents.at(i),
                     voted.contains(i), expected.contains(i)});
    }
    return list;
}

QVariantList PollItem::optionVariants() const
{
    return Inner::toVariants(options());
}

int PollItem::optionCount() const
{
    const auto options = m_options->options.size();
    return options > 0 ? int(options) : m_info->options_count();
}

int PollItem::optionLimit() const
{
    return std::min(optionCount(), maxOptions);
}

void PollItem::setTitleItem(const QSharedPointer<ContentItem> &title)
{
    const Changes changes(this);
    m_options->title.set(title);
}

void PollItem::setOptionItems(const QList<QSharedPointer<ContentItem>> &options)
{
    const Changes changes(this);
    m_options->setOptions(options);
    m_info->set_options_count(int(options.size()));
    cleanAnswers();
}

// Settings

QString PollItem::pollId() const
{
    return Util::fromUtf8(m_info->poll_id());
}

qint32 PollItem::ownerUid() const
{
    return m_info->owner_uid();
}

bool PollItem::anonymous() const
{
    return m_info->anonymous();
}

bool PollItem::multiple() const
{
    return m_info->multiple();
}

bool PollItem::isPublic() const
{
    return m_info->is_public();
}

bool PollItem::quizMode() const
{
    return m_info->quiz_mode();
}

QList<int> PollItem::expectedAnswers() const
{
    return toList(m_info->expected_answers());
}

void PollItem::setAnonymous(bool anonymous)
{
    const Changes changes(this);
    m_info->set_anonymous(anonymous);
}

void PollItem::setMultiple(bool multiple)
{
    const Changes changes(this);
    m_info->set_multiple(multiple);
}

void PollItem::setIsPublic(bool isPublic)
{
    const Changes changes(this);
    m_info->set_is_public(isPublic);
}

void PollItem::setQuizMode(bool quizMode)
{
    const Changes changes(this);
    m_info->set_quiz_mode(quizMode);
}

void PollItem::setComment(const QString &comment)
{
    if (comment == m_comment)
        return;
    const Changes changes(this);
    m_comment = comment;
    // The encrypted comment that was held is out of date.
    m_info->clear_comment();
    if (m_info->has_result())
        m_info->mutable_result()->clear_comment();
}

void PollItem::setExpectedAnswers(const QList<int> &answers)
{
    const Changes changes(this);
    m_info->mutable_expected_answers()->Assign(answers.begin(), answers.end());
    cleanAnswers();
}

void PollItem::cleanAnswers()
{
    if (cleanOptions(m_info->mutable_expected_answers(), optionLimit()))
        ImLog::error(lcModel(),
                     QStringLiteral("Right answers that the poll does not offer are left out."));
}

void PollItem::setAesKey(const QByteArray &key)
{
    const Changes changes(this);
    m_key = key;
    adoptComment();
}

// Results

bool PollItem::ended() const
{
    return m_info->result().ended();
}

bool PollItem::deleted() const
{
    return m_info->result().deleted();
}

int PollItem::votersTotal() const
{
    return m_info->result().voters_total();
}

QList<int> PollItem::votedOptions() const
{
    return toList(m_info->result().voted_options());
}

QList<int> PollItem::latestVoters() const
{
    return toList(m_info->result().latest_voters());
}

PollItem::Answer PollItem::answer() const
{
    QList<int> voted = votedOptions();
    if (!quizMode() || voted.isEmpty())
        return NoAnswer;
    QList<int> expected = expectedAnswers();
    if (expected.isEmpty())
        return UnknownAnswer;
    std::sort(voted.begin(), voted.end());
    std::sort(expected.begin(), expected.end());
    return voted == expected ? RightAnswer : WrongAnswer;
}

QList<int> PollItem::voters(int option) const
{
    const im::PollResult &result = m_info->result();
    return option >= 0 && option < result.voters_size() ? toList(result.voters(option).users())
                                                        : QList<int>();
}

bool PollItem::hasMoreVoters(int option) const
{
    const im::PollResult &result = m_info->result();
    return option >= 0 && option < result.voters_size() && result.voters(option).has_remaining();
}

qint64 PollItem::lastUpdated() const
{
    return m_info->result().last_updated();
}

bool PollItem::setPollInfo(const im::PollInfo &info)
{
    const Changes changes(this);
    return adopt(info);
}

bool PollItem::updateResult(const im::PollResult &result)
{
    const Changes changes(this);
    return adopt(result);
}

bool PollItem::isOther(const std::string &pollId) const
{
    if (pollId.empty() || m_info->poll_id().empty() || pollId == m_info->poll_id())
        return false;
    ImLog::error(lcModel(), QStringLiteral("The record of another poll does not change this one."));
    return true;
}

bool PollItem::adopt(const im::PollInfo &info)
{
    if (isOther(info.poll_id()))
        return false;
    im::PollInfo held = info;
    held.clear_result();
    std::swap(*m_info, held);
    m_info->set_options_count(std::max(0, m_info->options_count()));
    if (m_info->poll_id().empty())
        m_info->set_poll_id(held.poll_id());
    cleanAnswers();
    // The settings of who has not voted yet have no answers and no comment.
    if (m_info->expected_answers().empty()) {
        m_info->mutable_expected_answers()->Swap(held.mutable_expected_answers());
        cleanAnswers();
    }
    if (m_info->comment().empty())
        m_info->set_comment(held.comment());
    if (held.has_result())
        m_info->mutable_result()->Swap(held.mutable_result());
    if (info.has_result())
        adopt(info.result());
    adoptComment();
    return true;
}

bool PollItem::adopt(const im::PollResult &result)
{
    if (isOther(result.poll_id()))
        return false;
    const im::PollResult &held = m_info->result();
    if (result.last_updated() < held.last_updated()) {
        qCDebug(lcModel, "Results of a poll that are older than those held are left out.");
        return false;
    }
    im::PollResult next = result;
    if (clean(&next, optionLimit()))
        ImLog::error(lcModel(), QStringLiteral("Results that the poll cannot have are left out."));
    if (!next.with_voted_options()) {
        *next.mutable_voted_options() = held.voted_options();
        next.set_with_voted_options(held.with_voted_options());
    }
    if (next.expected_answers().empty())
        *next.mutable_expected_answers() = held.expected_answers();
    if (next.comment().empty())
        next.set_comment(held.comment());

    if (!next.expected_answers().empty())
        *m_info->mutable_expected_answers() = next.expected_answers();
    if (m_info->comment().empty())
        m_info->set_comment(next.comment());
    m_info->mutable_result()->Swap(&next);
    adoptComment();
    return true;
}

void PollItem::pollInfo(im::PollInfo *info) const
{
    *info = *m_info;
    info->set_options_count(optionCount());
    if (const QByteArray cipher = encryptComment(); !cipher.isEmpty())
        info->set_comment(cipher.toStdString());
}

// The comment

QByteArray PollItem::encryptComment() const
{
    if (m_comment.isEmpty())
        return {};
    return CryptoAES(CryptoAES::deterministic).encrypt(m_comment.toUtf8(), m_key, Define::comIV());
}

void PollItem::decryptComment(const QByteArray &cipher)
{
    if (!m_comment.isEmpty())
        return;
    const Changes changes(this);
    m_comment = decrypted(cipher.toStdString());
}

QString PollItem::decrypted(const std::string &cipher) const
{
    return Util::fromUtf8(CryptoAES(CryptoAES::deterministic)
                              .decrypt(QByteArray::fromStdString(cipher), m_key, Define::comIV()));
}

void PollItem::adoptComment()
{
    if (!m_comment.isEmpty() || m_key.isEmpty() || m_info->comment().empty())
        return;
    // Every update comes by here: what a key does not open is tried, and logged, once.
    if (m_undecrypted == std::pair(m_key, m_info->comment()))
        return;
    m_comment = decrypted(m_info->comment());
    if (m_comment.isEmpty())
        m_undecrypted = {m_key, m_info->comment()};
}

// Stored form and protocol

void PollItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    QVariantList answers;
    for (const int answer : m_info->expected_answers())
        answers.append(answer);
    map.insert(QStringLiteral("optionCount"), optionCount());
    map.insert(QStringLiteral("anonymous"), anonymous());
    map.insert(QStringLiteral("multiple"), multiple());
    map.insert(QStringLiteral("quizMode"), quizMode());
    map.insert(QStringLiteral("comment"), m_comment);
    map.insert(QStringLiteral("expectedAnswers"), answers);
    map.insert(QStringLiteral("aesKey"), StoredValue::fromBytes(m_key));
    m_options->write(map);

    im::PollInfo rest = *m_info;
    rest.clear_options_count();
    rest.clear_anonymous();
    rest.clear_multiple();
    rest.clear_quiz_mode();
    rest.clear_expected_answers();
    if (rest.ByteSizeLong() > 0)
        map.insert(QStringLiteral("pollInfo"),
                   StoredValue::fromBytes(QByteArray::fromStdString(rest.SerializeAsString())));
}

void PollItem::deserialize(const QMap<QString, QVariant> &map)
{
    const Changes changes(this);
    if (read(map))
        ContentItem::deserialize(map);
}

bool PollItem::read(const QMap<QString, QVariant> &map)
{
    const auto bytes = [&](const QString &key) {
        return StoredValue::toBytes(map.value(key), key);
    };
    im::PollInfo info;
    if (const QByteArray results = bytes(QStringLiteral("pollInfo"));
        !info.ParseFromArray(results.constData(), int(results.size()))) {
        ImLog::error(lcModel(), QStringLiteral("The stored results of a poll are damaged."));
        info.Clear();
    }
    if (isOther(info.poll_id()))
        return false;
    m_options->read(map);
    m_comment = map.value(QStringLiteral("comment")).toString();
    m_key = bytes(QStringLiteral("aesKey"));
    info.set_options_count(fromStoredCount(map.value(QStringLiteral("optionCount"))));
    info.set_anonymous(map.value(QStringLiteral("anonymous")).toBool());
    info.set_multiple(map.value(QStringLiteral("multiple")).toBool());
    info.set_quiz_mode(map.value(QStringLiteral("quizMode")).toBool());
    const QVariantList answers = map.value(QStringLiteral("expectedAnswers")).toList();
    for (const QVariant &answer : answers) {
        bool isNumber = false;
        const qint64 number = answer.toLongLong(&isNumber);
        info.add_expected_answers(isNumber && number >= 0 && number <= INT_MAX ? int(number) : -1);
    }
    return adopt(info);
}

void PollItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Poll *poll = content->mutable_poll();
    if (m_options->title.exists())
        m_options->title.write(poll->mutable_desc());
    m_options->write(poll->mutable_options());
    poll->set_key(m_key.toStdString());
}

void PollItem::setContent(const im::content::Content &content)
{
    if (!ItemFields::isOwn(*this, content))
        return;
    const Changes changes(this);
    read(content);
    keepRemainder(content);
}

void PollItem::read(const im::content::Content &content)
{
    const im::content::Poll &poll = content.poll();
    m_options->read(poll.has_desc() ? &poll.desc() : nullptr, poll.options());
    m_key = QByteArray::fromStdString(poll.key());
    cleanAnswers();
    adoptComment();
}

QList<QSharedPointer<ContentItem>> PollItem::innerItems() const
{
    return m_options->items();
}

// Layout

QSize PollItem::calcContentSize(int &lineCount, int maxWidth, int, bool inThread)
{
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    const QSize title = Inner::rowSize(titleItem(), lineCount, limit, inThread);
    int width = std::max(leastWidth, title.width());
    int height = title.height() + ContentMetrics::PollKindHeight + ContentMetrics::PollFooterHeight;

    const int textWidth = std::max(1, limit - ContentMetrics::PollPercentWidth);
    for (const InnerContent &option : std::as_const(m_options->options)) {
        int lines = 0;
        const QSize text = Inner::rowSize(option.item(), lines, textWidth, inThread);
        width = std::max(width, text.width() + ContentMetrics::PollPercentWidth);
        height += ContentMetrics::PollOptionSpacing
            + std::max(MediaBox::leastSide,
                       text.height() + ContentMetrics::PollBarSpacing
                           + ContentMetrics::PollBarHeight);
        lineCount += lines;
    }
    setLineCount(lineCount);
    return {std::min(width, limit), height};
}
