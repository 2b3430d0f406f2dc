// The ids of a dialog's mentions and reactions: any packed bytes, and changes in any order, against
// plain sets as a reference.

#include "support/fakedialog.h"
#include "support/fuzzing.h"

#include <algorithm>
#include <optional>
#include <set>

using fuzzing::check;

namespace
{

using Ids = std::set<qint64>;

struct Expected {
    Ids mentions;
    Ids reactions;
};

bool readIds(QDataStream &in, Ids *ids)
{
    qint32 count = -1;
    in >> count;
    for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        qint64 id = 0;
        in >> id;
        ids->insert(id);
    }
    return count >= 0 && in.status() == QDataStream::Ok;
}

std::optional<Expected> unpacked(const QByteArray &bytes)
{
    QDataStream in(bytes);
    Expected expected;
    if (!readIds(in, &expected.mentions) || !readIds(in, &expected.reactions))
        return std::nullopt;
    return expected;
}

/// Enough ids that they are not all stored together.
QList<qint64> anyIds(fuzzing::Pieces &data)
{
    const qint64 first = data.number();
    const qint64 step = data.number(-3, 3);
    QList<qint64> ids;
    for (int i = data.number(0, 1500); i >= 0; --i)
        ids.append(first + i * step);
    return ids;
}

void removeBelow(Ids *ids, qint64 upTo)
{
    const auto first = ids->lower_bound(upTo);
    ids->erase(ids->begin(), upTo > 0 && first != ids->end() ? first : ids->end());
}

/// Makes the same change to both.
void change(FakeDialog &dialog, Expected &expected, fuzzing::Pieces &data)
{
    switch (data.number(0, 4)) {
    case 0: {
        // Any bytes, or valid ones, which may be truncated or contain something unknown.
        QByteArray bytes = data.bytes(data.number(0, 100)).toByteArray();
        if (data.flag()) {
            const QList<qint64> mentions = anyIds(data);
            bytes.prepend(packedIds(mentions, anyIds(data)));
        }
        bytes.chop(data.number(0, 40));
        dialog.setMentionIdData(bytes);
        if (auto all = unpacked(bytes))
            expected = *std::move(all);
        break;
    }
    case 1: {
        const QList<qint64> ids = anyIds(data);
        dialog.addAtMeMessages(ids);
        expected.mentions.insert(ids.begin(), ids.end());
        break;
    }
    case 2:
        for (const QList<qint64> ids = anyIds(data); qint64 id : ids) {
            dialog.addReactedMessage(id);
            expected.reactions.insert(id);
        }
        break;
    case 3:
        for (const QList<qint64> ids = anyIds(data); qint64 id : ids) {
            dialog.removeAtMeMessages({id});
            expected.mentions.erase(id);
        }
        break;
    case 4: {
        const bool isInside = data.flag() && !expected.mentions.empty();
        const qint64 upTo =
            isInside ? *expected.mentions.rbegin() - data.number(0, 200) : data.number();
        dialog.removeAllMentions(upTo, true);
        removeBelow(&expected.mentions, upTo);
        removeBelow(&expected.reactions, upTo);
        break;
    }
    }
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    FakeDialog dialog;
    Expected expected;
    for (int i = 0; i < 12 && !data.isEmpty(); ++i) {
        change(dialog, expected, data);
        check(std::ranges::equal(dialog.atMeMessages(), expected.mentions), "the mentions");
        check(std::ranges::equal(dialog.reactedMessages(), expected.reactions), "the reactions");
        check(dialog.atMeMessageCount() == int(expected.mentions.size())
                  && dialog.reactedMessageCount() == int(expected.reactions.size()),
              "their number");
    }
    FakeDialog other;
    other.setMentionIdData(dialog.getMentionIdData());
    check(other.atMeMessages() == dialog.atMeMessages()
              && other.reactedMessages() == dialog.reactedMessages(),
          "what was packed comes back");
}
