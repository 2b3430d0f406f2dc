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
        const auto info = fromText<im::PollInfo>(
            "poll_id: 'p' quiz_mode: true options_count: 2 result { count: [1, 0] last_updated: 10 "
            "voted_options: 0 with_voted_options: true }");
        SignalLog log{{poll.data()}};
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(poll->votersTotal(), 1);
        QCOMPARE(poll->answer(), PollItem::UnknownAnswer);
        QVERIFY(poll->options().at(0).voted);
        QCOMPARE(log.take(),
                 u"optionsChanged pollIdChanged quizModeChanged votersTotalChanged "
                 "votedOptionsChanged answerChanged"_s);
        // A notice to everybody knows nothing of this user's votes; and two are of one moment. Late
        // and foreign results are left out, and settings that are held already.
        const std::tuple<const char *, bool, QString> results[] = {
            {"count: [1, 4] last_updated: 11", true, u"optionsChanged votersTotalChanged"_s},
            {"count: [2, 4] last_updated: 11", true, u"optionsChanged"_s},
            {"count: [9, 9] last_updated: 10", false, {}},
            {"count: [9, 9] last_updated: 99 poll_id: 'q'", false, {}}};
        for (const auto &[text, isTaken, told] : results) {
            QCOMPARE(poll->updateResult(fromText<im::PollResult>(text)), isTaken);
            QCOMPARE(log.take(), told);
        }
        QCOMPARE(poll->votedOptions(), QList<int>{0});
        QVERIFY(poll->setPollInfo(info));
        QCOMPARE(log.take(), QString());

        auto last = fromText<im::PollResult>(
            "count: [1, 5] last_updated: 12 ended: true expected_answers: 1");
        QVERIFY(poll->updateResult(last));
        QCOMPARE(poll->answer(), PollItem::WrongAnswer);
        QVERIFY(poll->options().at(1).right);
        // Whoever has voted knows the right answers, in whichever order.
        last.MergeFrom(fromText<im::PollResult>(
            "last_updated: 13 expected_answers: 0 with_voted_options: true voted_options: [1, 0] "
            "voters { has_remaining: true }"));
        QVERIFY(poll->updateResult(last));
        QCOMPARE(poll->answer(), PollItem::RightAnswer);
        QVERIFY(poll->hasMoreVoters(0) && !poll->hasMoreVoters(1));

        for (const auto &again : {restored(poll), copyContent(poll).objectCast<PollItem>()}) {
            im::PollInfo held;
            im::PollInfo reread;
            poll->pollInfo(&held);
            again->pollInfo(&reread);
            QCOMPARE(reread.SerializeAsString(), held.SerializeAsString());
            QCOMPARE(again->options().at(1).count, 5);
        }
    }

    void hostileResults()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b"}));
        auto record = fromText<im::PollResult>(
            "count: [-5, 7, 9, 9] last_updated: 1 voters_total: -1 with_voted_options: true "
            "voted_options: [-1, 2, 1, 1, 2147483647] expected_answers: [-1, 2, 1, 1] "
            "voters { users: 1 } voters { users: 2 } voters { users: 3 }");
        QTest::ignoreMessage(QtWarningMsg, "Results that the poll cannot have are left out.");
        QVERIFY(poll->updateResult(record));
        QCOMPARE(percents(*poll), (QList<int>{0, 100}));
        QCOMPARE(poll->votersTotal(), 7);
        QCOMPARE(poll->votedOptions(), QList<int>{1});
        QCOMPARE(poll->expectedAnswers(), QList<int>{1});
        QCOMPARE(poll->voters(1), QList<int>{2});
        QVERIFY(poll->voters(2).isEmpty() && poll->voters(-1).isEmpty());
        QVERIFY(!poll->hasMoreVoters(INT_MAX));
        poll->setPollInfo(
            fromText<im::PollInfo>("options_count: -3 expected_answers: -2147483648"));
        QCOMPARE(poll->optionCount(), 2);
        QCOMPARE(poll->expectedAnswers(), QList<int>{1});
        // Fewer options than the results speak of.
        poll->setContent(pollBody({"a"}));
        QCOMPARE(percents(*poll), QList<int>{0});

        // Of a poll whose options are unknown, however many it is said to have.
        PollItem bare(1, nullptr);
        bare.setPollInfo(fromText<im::PollInfo>(
            "options_count: 2147483647 expected_answers: [999, 1000, 2000000000]"));
        QCOMPARE(bare.expectedAnswers(), QList<int>{999});
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
        QVERIFY(poll->setPollInfo(
            fromText<im::PollInfo>("poll_id: 'p' options_count: 3 expected_answers: 2")));
        const auto other = make<PollItem>(pollBody({"d"}));
        QVERIFY(other->setPollInfo(fromText<im::PollInfo>("poll_id: 'q' options_count: 3")));

        // Neither its map nor its record changes anything; a record that names none is this one's.
        const auto before = storedMap(*poll);
        SignalLog log{{poll.data()}};
        poll->deserialize(storedMap(*other));
        QCOMPARE(log.take(), QString());
        QCOMPARE(storedMap(*poll), before);
        QVERIFY(poll->setPollInfo(fromText<im::PollInfo>("options_count: 3")));
        QCOMPARE(poll->pollId(), u"p"_s);

        // Answers that are offered no more.
        const auto options = poll->innerItems();
        QTest::ignoreMessage(QtWarningMsg,
                             "Right answers that the poll does not offer are left out.");
        poll->setOptionItems({options.at(1), options.at(2)});
        QCOMPARE(poll->expectedAnswers(), QList<int>());
        poll->setOptionItems({});
        QCOMPARE(poll->optionCount(), 0);

        LotteryItem lottery(1, nullptr);
        LotteryItem foreign(1, nullptr);
        QVERIFY(lottery.setLottery(fromText<im::Lottery>("id: 'l' total: 3")));
        QVERIFY(foreign.setLottery(fromText<im::Lottery>("id: 'm' total: 3")));
        foreign.setOptionItems({options.at(1)});
        lottery.deserialize(storedMap(foreign));
        QVERIFY(lottery.options().isEmpty());
        QCOMPARE(lottery.lotteryId(), u"l"_s);
    }

    /// Options that stay are the same items; a copy has its own.
    void updatesKeepWhatIsEqual()
    {
        const auto poll = make<PollItem>(pollBody({"a", "b"}));
        const auto first = poll->options().at(0).content.toStrongRef();
        poll->setContent(pollBody({"a", "c", "d"}));
        poll->deserialize(storedMap(*poll));
        QCOMPARE(poll->options().at(0).contentItem(), first.data());
        QCOMPARE(poll->getKeyword(), u"Which one?\na\nc\nd"_s);
        const auto copy = copyContent(poll).objectCast<PollItem>();
        copy->options().at(0).contentItem()->setContent(u"changed"_s, {});
        QCOMPARE(first->content(), u"a"_s);
    }

    /// Nobody who is mentioned is left out, in whichever option.
    void mentionsInside()
    {
        const auto body = fromText<Content>(
            "poll { options { text { text: '@a' textEntity { type: MENTION_NAME length: 2 "
            "mention_user_id: 5 } } } options { text { text: '@b @c' textEntity { type: "
            "MENTION_NAME length: 2 mention_user_id: 7 } textEntity { type: MENTION_NAME offset: 3 "
            "length: 2 mention_user_id: 8 } } } options { text { text: '@all' textEntity { type: "
            "MENTION_NAME length: 4 } } } desc { text { textEntity { type: CUSTOM_EMOJI "
            "custom_emoji_id: 6 } } } }");
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

        const auto packet =
            make<LotteryItem>(fromText<Content>("lottery { title { text { text: 'New year' } } }"));
        const auto lottery = fromText<im::Lottery>(
            "id: 'l' total: 3 red_packet { amount: 9007199254740993 drawn_count: 2 "
            "my_share { amount: 9223372036854775807 } results { amount: 9223372036854775807 } }");
        SignalLog log{{packet.data()}};
        QVERIFY(packet->setLottery(lottery));
        QCOMPARE(log.take(), u"lotteryChanged"_s);
        QVERIFY(packet->setLottery(lottery));
        QCOMPARE(log.take(), QString());
        const auto again = restored(packet);
        QCOMPARE(again->amountText(2), u"90071992547409.93"_s);
        QCOMPARE(again->myShare().amount, INT64_MAX);
        QCOMPARE(again->remaining(), 1);
        QCOMPARE(again->title(), u"New year"_s);

        // Shares come in pages, which may overlap; their sum does not overflow.
        im::Lottery page = lottery;
        page.MergeFrom(fromText<im::Lottery>("red_packet { results { user_id: 7 amount: 1 } }"));
        QVERIFY(again->addShares(page) && again->addShares(page));
        QCOMPARE(again->shares().size(), 2);
        QCOMPARE(again->sharesText(0), QString::number(INT64_MAX));

        page.set_id("other");
        QVERIFY(!again->addShares(page) && !again->setLottery(page));
        QVERIFY(again->setLottery(fromText<im::Lottery>(
            "total: -1 red_packet { amount: -1 drawn_count: 9 results { amount: -5 } }")));
        QCOMPARE(again->amountText(2), u"0.00"_s);
        QCOMPARE(again->sharesText(2), u"0.00"_s);
        QVERIFY(again->total() >= 0 && again->drawn() >= 0 && again->remaining() >= 0);
        QCOMPARE(again->lotteryId(), u"l"_s);
    }

    void prizes()
    {
        const auto draw =
            make<LotteryItem>(fromText<Content>("lottery { prizes { text { text: 'Bicycle' } } "
                                                "prizes { text { text: 'Apple' } } }"));
        auto lottery = fromText<im::Lottery>(
            "total: 4 prize { quantity: [1, 3, 9] remaining_prize: 2 results { prize_index: 1 } "
            "results { prize_index: 1 } results { prize_index: 5 } results { prize_index: -9 } }");
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
        QCOMPARE(draw->shares().at(0).prizeIndex, -1);
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
