#include "account/accountmanager.h"
#include "base/define.h"
#include "content/items/lotteryitem.h"
#include "content/items/pollitem.h"
#include "cryptobase/cryptoaes.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"
#include "support/contents.h"
#include "support/loglines.h"
#include "support/signallog.h"

#include <QTest>

#include <numeric>

using namespace Qt::StringLiterals;
using im::content::Content;

namespace
{

constexpr qint64 beyondDouble = (qint64(1) << 53) + 1;

Content textBody(const std::string &text)
{
    Content content;
    content.mutable_text()->set_text(text);
    return content;
}

Content pollBody(const std::vector<std::string> &options, const std::string &key = {})
{
    Content content;
    *content.mutable_poll()->mutable_desc() = textBody("Which one?");
    for (const std::string &option : options)
        *content.mutable_poll()->add_options() = textBody(option);
    content.mutable_poll()->set_key(key);
    return content;
}

QList<int> percents(const PollItem &poll)
{
    QList<int> list;
    for (const PollOption &option : poll.options())
        list.append(option.percent);
    return list;
}

im::PollResult result(std::initializer_list<int> counts, qint64 time)
{
    im::PollResult record;
    for (const int count : counts)
        record.add_count(count);
    record.set_last_updated(time);
    return record;
}

} // namespace

class TestPolls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void percentagesAddUp()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b", "c"}));
        QCOMPARE(percents(*poll), (QList<int>{0, 0, 0}));
        const auto after = [&](std::initializer_list<int> counts) {
            poll->updateResult(result(counts, poll->lastUpdated() + 1));
            return percents(*poll);
        };
        QCOMPARE(after({1, 1, 1}), (QList<int>{34, 33, 33}));
        QCOMPARE(after({2, 3, 1}), (QList<int>{33, 50, 17}));
        QCOMPARE(after({0, 0, 5}), (QList<int>{0, 0, 100}));
        QCOMPARE(after({1}), (QList<int>{100, 0, 0}));
        // Sums beyond 32 bits.
        QCOMPARE(after({INT_MAX, INT_MAX, INT_MAX}), (QList<int>{34, 33, 33}));
        for (int i = 1; i < 300; ++i) {
            const QList<int> shares = after({i, i * i % 97, 1000 % i});
            QCOMPARE(std::accumulate(shares.begin(), shares.end(), 0), 100);
        }
    }

    void resultsAreMerged()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b"}));
        im::PollInfo info;
        info.set_poll_id("p");
        info.set_quiz_mode(true);
        info.set_options_count(2);
        *info.mutable_result() = result({1, 0}, 10);
        info.mutable_result()->add_voted_options(0);
        info.mutable_result()->set_with_voted_options(true);
        SignalLog log{{poll.data()}};
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(poll->votersTotal(), 1);
        QCOMPARE(poll->answer(), PollItem::UnknownAnswer);
        QVERIFY(poll->options().at(0).voted);
        QCOMPARE(log.take(),
                 u"optionsChanged pollIdChanged quizModeChanged votersTotalChanged "
                 "votedOptionsChanged answerChanged"_s);
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(log.take(), QString());

        // A notice to everybody knows nothing of this user's votes.
        QVERIFY(poll->updateResult(result({1, 4}, 11)));
        QCOMPARE(log.take(), u"optionsChanged votersTotalChanged"_s);
        QCOMPARE(poll->votedOptions(), QList<int>{0});
        // Two votes of the same moment.
        QVERIFY(poll->updateResult(result({2, 4}, 11)));
        QCOMPARE(log.take(), u"optionsChanged"_s);
        // Late and foreign results.
        QVERIFY(!poll->updateResult(result({9, 9}, 10)));
        im::PollResult other = result({9, 9}, 99);
        other.set_poll_id("q");
        QVERIFY(!poll->updateResult(other));
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(log.take(), QString());

        im::PollResult last = result({1, 5}, 12);
        last.set_ended(true);
        last.add_expected_answers(1);
        QVERIFY(poll->updateResult(last));
        QCOMPARE(poll->answer(), PollItem::WrongAnswer);
        QVERIFY(poll->options().at(1).right);

        // Whoever has voted knows the right answers, in whichever order.
        last.set_last_updated(13);
        last.add_expected_answers(0);
        last.set_with_voted_options(true);
        last.add_voted_options(1);
        last.add_voted_options(0);
        last.add_voters()->set_has_remaining(true);
        QVERIFY(poll->updateResult(last));
        QCOMPARE(poll->answer(), PollItem::RightAnswer);
        QVERIFY(poll->hasMoreVoters(0) && !poll->hasMoreVoters(1));

        const auto again = restored(poll);
        im::PollInfo held;
        im::PollInfo reread;
        poll->pollInfo(&held);
        again->pollInfo(&reread);
        QCOMPARE(reread.SerializeAsString(), held.SerializeAsString());
        QCOMPARE(again->options().at(1).count, 5);
        QCOMPARE(copyContent(poll).objectCast<PollItem>()->answer(), PollItem::RightAnswer);
    }

    void hostileResults()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b"}));
        im::PollResult record = result({-5, 7, 9, 9}, 1);
        record.set_voters_total(-1);
        record.set_with_voted_options(true);
        for (const int number : {-1, 2, 1, 1, INT_MAX}) {
            record.add_voted_options(number);
            record.add_expected_answers(number);
        }
        for (int i = 0; i < 5; ++i)
            record.add_voters()->add_users(i + 1);
        QTest::ignoreMessage(QtWarningMsg, "Results that the poll cannot have are left out.");
        QVERIFY(poll->updateResult(record));
        QCOMPARE(percents(*poll), (QList<int>{0, 100}));
        QCOMPARE(poll->votersTotal(), 7);
        QCOMPARE(poll->votedOptions(), QList<int>{1});
        QCOMPARE(poll->expectedAnswers(), QList<int>{1});
        QCOMPARE(poll->voters(1), QList<int>{2});
        QVERIFY(poll->voters(2).isEmpty() && poll->voters(-1).isEmpty());
        QVERIFY(!poll->hasMoreVoters(INT_MAX));

        im::PollInfo info;
        info.set_options_count(-3);
        info.add_expected_answers(INT_MIN);
        poll->setPollInfo(info);
        QCOMPARE(poll->optionCount(), 2);
        QCOMPARE(poll->expectedAnswers(), QList<int>{1});

        // Fewer options than the results speak of.
        poll->setContent(pollBody({"a"}));
        QCOMPARE(percents(*poll), QList<int>{0});
    }

    void commentIsEncrypted()
    {
        const QByteArray key(32, 'k');
        const QByteArray cipher = CryptoAES(2).encrypt("because"_ba, key, Define::comIV());
        const auto poll = make<PollItem>(pollBody({"a"}, key.toStdString()));
        QCOMPARE(poll->encryptComment(), QByteArray());
        SignalLog log{{poll.data()}};
        poll->decryptComment("rubbish"_ba);
        poll->decryptComment({});
        QCOMPARE(log.take(), QString());
        poll->decryptComment(cipher);
        QCOMPARE(log.take(), u"commentChanged"_s);
        QCOMPARE(poll->comment(), u"because"_s);
        QCOMPARE(poll->encryptComment(), cipher);
        poll->decryptComment(CryptoAES(2).encrypt("other"_ba, key, Define::comIV()));
        QCOMPARE(poll->comment(), u"because"_s);
        QCOMPARE(restored(poll)->encryptComment(), cipher);

        // One that its author has taken back is neither sent nor read from what was held.
        im::PollInfo said;
        said.set_comment(cipher.toStdString());
        poll->setPollInfo(said);
        poll->setComment({});
        poll->pollInfo(&said);
        QCOMPARE(said.comment(), std::string());
        QCOMPARE(restored(poll)->comment(), QString());

        // The comment may come before the key. Until then it is given back as it came.
        const auto late = make<PollItem>(pollBody({"a"}));
        im::PollInfo info;
        info.set_comment(cipher.toStdString());
        late->setPollInfo(info);
        QCOMPARE(late->comment(), QString());
        late->pollInfo(&info);
        QCOMPARE(QByteArray::fromStdString(info.comment()), cipher);
        // Settings of who has not voted say nothing of it.
        late->setPollInfo(im::PollInfo());
        const auto set = copyContent(late).objectCast<PollItem>();
        late->setContent(pollBody({"a"}, key.toStdString()));
        QCOMPARE(late->comment(), u"because"_s);

        // However the key comes; with another one there is one line, not one an update.
        SignalLog told{{set.data()}};
        {
            LogLines lines;
            for (int i = 0; i < 3; ++i) {
                set->setAesKey(QByteArray(32, 'x'));
                set->updateResult(result({i}, i + 1));
                set->setPollInfo(info);
            }
            QCOMPARE(lines.take(), 1);
        }
        QVERIFY(!told.take().contains(u"commentChanged"));
        set->setAesKey(key);
        QCOMPARE(told.take(), u"commentChanged"_s);
        QCOMPARE(set->comment(), u"because"_s);
    }

    void otherPolls()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b", "c"}));
        im::PollInfo info;
        info.set_poll_id("p");
        info.set_options_count(3);
        info.add_expected_answers(2);
        QVERIFY(poll->setPollInfo(info));
        const auto other = make<PollItem>(pollBody({"d"}));
        info.set_poll_id("q");
        info.clear_expected_answers();
        QVERIFY(other->setPollInfo(info));

        // Neither its map nor its record changes anything; a record that names none is this one's.
        const auto before = storedMap(*poll);
        SignalLog log{{poll.data()}};
        poll->deserialize(storedMap(*other));
        QCOMPARE(log.take(), QString());
        QCOMPARE(storedMap(*poll), before);
        info.clear_poll_id();
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(poll->pollId(), u"p"_s);

        // Answers that are offered no more.
        const auto options = poll->innerItems();
        QTest::ignoreMessage(QtWarningMsg,
                             "Right answers that the poll does not offer are left out.");
        poll->setOptionItems({options.at(1), options.at(2)});
        QCOMPARE(poll->expectedAnswers(), QList<int>());

        poll->setOptionItems({});
        QCOMPARE(poll->optionCount(), 0);

        const auto lottery = QSharedPointer<LotteryItem>::create(1, nullptr);
        im::Lottery record;
        record.set_id("l");
        record.set_total(3);
        QVERIFY(lottery->setLottery(record));
        const auto foreign = QSharedPointer<LotteryItem>::create(1, nullptr);
        record.set_id("m");
        QVERIFY(foreign->setLottery(record));
        foreign->setOptionItems({options.at(1)});
        lottery->deserialize(storedMap(*foreign));
        QVERIFY(lottery->options().isEmpty());
        QCOMPARE(lottery->lotteryId(), u"l"_s);
    }

    void updatesKeepWhatIsEqual()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b"}));
        const auto first = poll->options().at(0).content.toStrongRef();
        SignalLog log{{poll.data()}};
        poll->setContent(pollBody({"a", "b"}));
        poll->deserialize(storedMap(*poll));
        QCOMPARE(log.take(), QString());
        poll->setContent(pollBody({"a", "c", "d"}));
        QCOMPARE(log.take(), u"optionsChanged optionCountChanged needRecalcSize"_s);
        QCOMPARE(poll->options().at(0).contentItem(), first.data());
        QCOMPARE(poll->getKeyword(), u"Which one?\na\nc\nd"_s);
        poll->setContent(textBody("no poll"));
        QCOMPARE(log.take(), QString());

        // A copy has options of its own.
        const auto copy = copyContent(poll).objectCast<PollItem>();
        copy->options().at(0).contentItem()->setContent(u"changed"_s, {});
        QCOMPARE(first->content(), u"a"_s);
    }

    /// Nobody who is mentioned is left out, in whichever option.
    void mentionsInside()
    {
        Content body = pollBody({"@a", "@b @c", "@all"});
        for (const auto &[option, from, user] :
             {std::tuple{0, 0, 5}, {1, 0, 7}, {1, 3, 8}, {2, 0, 0}}) {
            auto *mention =
                body.mutable_poll()->mutable_options(option)->mutable_text()->add_textentity();
            mention->set_type(im::content::TextEntity::MENTION_NAME);
            mention->set_offset(from);
            mention->set_length(2);
            mention->set_mention_user_id(user);
        }
        auto *emoji = body.mutable_poll()->mutable_desc()->mutable_text()->add_textentity();
        emoji->set_type(im::content::TextEntity::CUSTOM_EMOJI);
        emoji->set_custom_emoji_id(6);
        const auto poll = make<PollItem>(body);
        QHash<int, QSet<int>> packs;
        QVERIFY(poll->hasCustomEmoji(packs) && packs[0].contains(6));
        QCOMPARE(poll->mentionUserIds(), (QList<qint64>{5, 7, 8}));
        QCOMPARE(poll->mentionUsers(),
                 (QVariantMap{{u"atAll"_s, 1}, {u"atUsers"_s, QVariantList{5, 7, 8}}}));
    }

    /// A poll whose option is a poll whose option is a poll ...
    void nestingIsLimited()
    {
        Content body = textBody("core");
        for (int i = 0; i < 45; ++i) {
            Content outer;
            *outer.mutable_poll()->add_options() = body;
            body = outer;
        }
        const auto depth = [](QSharedPointer<ContentItem> item) {
            int levels = 0;
            while (const auto poll = item.objectCast<PollItem>()) {
                ++levels;
                item = poll->options().value(0).content.toStrongRef();
            }
            return levels;
        };
        const auto poll = make<PollItem>(body);
        QVERIFY(depth(poll) >= 2 && depth(poll) <= 8);
        // What is not shown is not lost.
        for (const auto &item : {poll, restored(poll)}) {
            Content written;
            item->serialize(&written);
            QCOMPARE(written.SerializeAsString(), body.SerializeAsString());
            QCOMPARE(depth(item), depth(poll));
        }

        QVariantMap map{{u"type"_s, u"text"_s}, {u"content"_s, u"core"_s}};
        for (int i = 0; i < 400; ++i)
            map = {{u"type"_s, u"poll"_s}, {u"options"_s, QVariantList{map}}};
        const auto fromMap =
            makeContentItem({{u"content"_s, QVariantList{map}}}, 1, nullptr).objectCast<PollItem>();
        QCOMPARE(depth(fromMap), depth(poll));
        QCOMPARE(storedMap(*fromMap).value(u"options"_s).toList().size(), 1);

        // However many there are, some are kept, fewer are shown, and there is one line.
        const auto wide = [](const Content &option) {
            Content content;
            for (int i = 0; i < 300'000; ++i)
                *content.mutable_poll()->add_options() = option;
            LogLines lines;
            const auto item = make<PollItem>(content);
            const auto again = restored(item);
            Content written;
            again->serialize(&written);
            return QList<qsizetype>{item->options().size(), again->options().size(),
                                    item->innerItems().size(), lines.take(),
                                    qsizetype(written.poll().options().rbegin()->ByteSizeLong())};
        };
        QCOMPARE(wide(textBody("x")), (QList<qsizetype>{10'000, 10'000, 2000, 2, 5}));
        QCOMPARE(wide(Content()), (QList<qsizetype>{10'000, 10'000, 0, 2, 0}));
    }

    void amountsAreExact()
    {
        QCOMPARE(LotteryItem::toText(beyondDouble, 2), u"90071992547409.93"_s);
        QCOMPARE(LotteryItem::toText(5, 2), u"0.05"_s);
        QCOMPARE(LotteryItem::toText(-5, 0), u"-5"_s);
        QCOMPARE(LotteryItem::toText(INT64_MIN, 18), u"-9.223372036854775808"_s);
        QCOMPARE(LotteryItem::toText(0, 99), u"0.000000000000000000"_s);

        Content body;
        *body.mutable_lottery()->mutable_title() = textBody("Happy new year");
        const auto packet = make<LotteryItem>(body);
        im::Lottery lottery;
        lottery.set_id("l");
        lottery.set_total(3);
        lottery.mutable_red_packet()->set_amount(beyondDouble);
        lottery.mutable_red_packet()->set_drawn_count(2);
        lottery.mutable_red_packet()->mutable_my_share()->set_amount(INT64_MAX);
        lottery.mutable_red_packet()->add_results()->set_amount(INT64_MAX);
        SignalLog log{{packet.data()}};
        QVERIFY(packet->setLottery(lottery));
        QCOMPARE(log.take(), u"lotteryChanged"_s);
        QVERIFY(packet->setLottery(lottery));
        QCOMPARE(log.take(), QString());
        const auto again = restored(packet);
        QCOMPARE(again->amountText(2), u"90071992547409.93"_s);
        QCOMPARE(again->myShare().amount, INT64_MAX);
        QCOMPARE(again->remaining(), 1);
        QCOMPARE(again->title(), u"Happy new year"_s);

        // Shares come in pages, which may overlap; their sum does not overflow.
        im::Lottery page = lottery;
        auto *share = page.mutable_red_packet()->add_results();
        share->set_user_id(7);
        share->set_amount(1);
        QVERIFY(again->addShares(page) && again->addShares(page));
        QCOMPARE(again->shares().size(), 2);
        QCOMPARE(again->sharesText(0), QString::number(INT64_MAX));

        page.set_id("other");
        QVERIFY(!again->addShares(page) && !again->setLottery(page));
        lottery.set_total(-1);
        lottery.mutable_red_packet()->set_amount(-1);
        lottery.mutable_red_packet()->mutable_results(0)->set_amount(INT64_MIN);
        QVERIFY(again->setLottery(lottery));
        QCOMPARE(again->amountText(2), u"0.00"_s);
        QCOMPARE(again->sharesText(2), u"0.00"_s);
        QVERIFY(again->total() >= 0 && again->drawn() >= 0 && again->remaining() >= 0);
    }

    void prizes()
    {
        Content body;
        *body.mutable_lottery()->add_prizes() = textBody("Bicycle");
        *body.mutable_lottery()->add_prizes() = textBody("Apple");
        const auto draw = make<LotteryItem>(body);
        im::Lottery lottery;
        lottery.set_total(4);
        for (const int quantity : {1, 3, 9})
            lottery.mutable_prize()->add_quantity(quantity);
        lottery.mutable_prize()->set_remaining_prize(2);
        for (const int index : {1, 1, 5, -9})
            lottery.mutable_prize()->add_results()->set_prize_index(index);
        SignalLog log{{draw.data()}};
        draw->setLottery(lottery);
        QCOMPARE(log.take(), u"lotteryChanged prizesChanged"_s);
        QCOMPARE(draw->kind(), LotteryItem::PrizeDraw);
        QCOMPARE(draw->prizes().size(), 2);
        QCOMPARE(draw->prizes().at(1).text(), u"Apple"_s);
        QCOMPARE(draw->prizes().at(1).quantity, 3);
        QCOMPARE(draw->prizes().at(1).drawn, 2);
        QCOMPARE(draw->shares().at(2).prizeIndex, -1);
        QCOMPARE(draw->drawn(), 2);
        QVERIFY(!draw->hasMyShare());
        lottery.mutable_prize()->mutable_my_share()->set_prize_index(1);
        draw->setLottery(lottery);
        QVERIFY(draw->hasMyShare());
        lottery.mutable_red_packet()->add_results();
        QVERIFY(!draw->addShares(lottery));
        log.take();
        draw->setOptionItems({draw->options().at(1).content.toStrongRef()});
        QCOMPARE(log.take(), u"optionsChanged lotteryChanged prizesChanged needRecalcSize"_s);
        QVERIFY(draw->shares().at(0).prizeIndex == -1);
    }

    void sizes()
    {
        const auto manager = AccountManager::getInstance();
        for (const int maxWidth : {-1, 0, 1, 120, 300, 100'000}) {
            for (const bool inThread : {false, true}) {
                int lines = 0;
                const auto small = make<PollItem>(pollBody({"a", "b"}));
                const auto large = make<PollItem>(pollBody({"a", "b", std::string(400, 'w'), "👍"}));
                const QSize one = small->calcContentSize(lines, maxWidth, 0, inThread);
                const QSize two = large->calcContentSize(lines, maxWidth, 0, inThread);
                const int most =
                    inThread ? manager->maxMsgItemWidthInThread() : manager->maxMsgItemWidth();
                QVERIFY(one.width() > 0 && two.width() <= most);
                QVERIFY(maxWidth < 44 || two.width() <= maxWidth);
                // Each option can be tapped; a long one takes its lines.
                QVERIFY(one.height() > 2 * 44);
                QVERIFY(two.height() > one.height() + 2 * 44);
                QVERIFY(lines > 4);
            }
        }
        QCOMPARE(make<PollItem>(pollBody({"👍"}))->options().at(0).contentItem()->type(), 1);
        AccountManager::releaseInstance();
    }
};

QTEST_MAIN(TestPolls)
#include "tst_polls.moc"
