#include "dialog/dialogbase.h"
#include "support/comparison.h"

#include <QDataStream>
#include <QIODevice>

#include <map>

namespace
{

constexpr int idCount = 1'000'000;

/// A minimal dialog.
class Dialog : public DialogBase
{
public:
    using DialogBase::getMentionIdData;

    AccountBase *account() const override { return nullptr; }
    void jumpToMessage(qint64, MessageModelBase *) override { }
    void mentionsConfirmed(const QList<qint64> &, bool) override { }
    void reactionsConfirmed(const QList<qint64> &, bool) override { }
    void dialogChanged() override { }
};

/// Realistic message ids: ascending, with gaps.
QList<qint64> mentionIds()
{
    QList<qint64> ids(idCount);
    for (int i = 0; i < idCount; ++i)
        ids[i] = 3 * qint64(i) + 1;
    return ids;
}

void packAndUnpack(benchmark::State &state)
{
    Dialog dialog;
    dialog.addAtMeMessages(mentionIds());
    for (auto _ : state) {
        Dialog restored;
        restored.setMentionIdData(dialog.getMentionIdData());
        benchmark::DoNotOptimize(restored.atMeMessageCount());
    }
}

void streamOfAList(benchmark::State &state)
{
    const QList<qint64> ids = mentionIds();
    for (auto _ : state) {
        QByteArray data;
        QDataStream out(&data, QIODevice::WriteOnly);
        out << ids;
        QList<qint64> restored;
        QDataStream in(data);
        in >> restored;
        benchmark::DoNotOptimize(restored.size());
    }
}

void addAscending(benchmark::State &state)
{
    const QList<qint64> ids = mentionIds();
    for (auto _ : state) {
        Dialog dialog;
        for (qint64 id : ids)
            dialog.addReactedMessage(id);
        benchmark::DoNotOptimize(dialog.reactedMessageCount());
    }
}

void addToAMap(benchmark::State &state)
{
    const QList<qint64> ids = mentionIds();
    for (auto _ : state) {
        std::map<qint64, bool> map;
        for (qint64 id : ids)
            map.emplace_hint(map.end(), id, true);
        benchmark::DoNotOptimize(map.size());
    }
}

void addRows()
{
    comparison::add("packing and unpacking 1,000,000 mention ids", 0.15, packAndUnpack,
                    streamOfAList);
    comparison::add("adding 1,000,000 reactions in ascending order", 1.0, addAscending, addToAMap);
}

} // namespace

COMPARISON_MAIN(addRows)
