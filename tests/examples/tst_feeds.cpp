#include "feeds/feed.h"
#include "feeds/markup.h"
#include "support/facts.h"
#include "support/files.h"

#include <google/protobuf/text_format.h>

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFeeds : public QObject
{
    Q_OBJECT

    QTemporaryDir m_directory;

    QList<Frame> read(const QByteArray &bytes, QString &error)
    {
        const QString path = m_directory.filePath(u"x.feed"_s);
        if (!write(path, bytes))
            qFatal("cannot write");
        FeedReader reader(path);
        QList<Frame> frames;
        while (const auto frame = reader.next())
            frames.append(*frame);
        error = reader.error();
        return frames;
    }

private Q_SLOTS:
    void damagedFeeds()
    {
        FeedWriter writer;
        const QList<Frame> sent{
            {62, QByteArray("one")}, {41, QByteArray()}, {99999, QByteArray(300, 'x')}};
        QList<qsizetype> ends{8}; // where each frame ends; the first one: where they begin
        for (const Frame &frame : sent) {
            writer.append(frame);
            ends.append(ends.last() + 8 + frame.record.size() + 2);
        }
        const QByteArray whole = writer.finished();
        const auto isBeginning = [&](const QList<Frame> &frames) {
            for (qsizetype i = 0; i < frames.size(); ++i) {
                if (frames[i].type != sent[i].type || frames[i].record != sent[i].record)
                    return false;
            }
            return true;
        };
        QString error;
        QCOMPARE(read(whole, error).size(), 3);
        QCOMPARE(error, QString());

        // A length that nobody means must not be allocated.
        QVERIFY(read(whole.first(8) + QByteArray::fromHex("0000003effffffff"), error).isEmpty());
        QVERIFY(error.contains(u"4294967295"));

        // Cut off, or with a wrong bit: the frames before that, and the number of the next.
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray flipped = whole;
            flipped[at] = char(flipped[at] ^ (1 << (at % 8)));
            const auto before =
                std::upper_bound(ends.cbegin(), ends.cend(), at) - ends.cbegin() - 1; // -1: no feed
            for (const QByteArray &bytes : {whole.first(at), flipped}) {
                const QList<Frame> frames = read(bytes, error);
                QCOMPARE(frames.size(), std::max<qsizetype>(before, 0));
                QVERIFY(isBeginning(frames));
                QVERIFY(!error.isEmpty());
                if (before >= 0)
                    QVERIFY2(error.startsWith(u"frame %1 is "_s.arg(before + 1)),
                             qPrintable(error));
            }
        }
    }

    void markup()
    {
        for (const QString &line : facts(u"markup.txt"_s)) {
            im::content::Text expected;
            QVERIFY(google::protobuf::TextFormat::ParseFromString(
                line.section(u'\t', 1).toStdString(), &expected));
            QCOMPARE(readMarkup(line.section(u'\t', 0, 0), 99).DebugString(),
                     expected.DebugString());
        }
    }
};

QTEST_APPLESS_MAIN(TestFeeds)
#include "tst_feeds.moc"
