#include "storage/database_p.h"
#include "storage/keystorage.h"
#include "storage/keystorage_p.h"

#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace storage;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

QList<int> versions(const QList<KeyInfo> &infos)
{
    QList<int> all;
    for (const KeyInfo &info : infos)
        all.append(info.version);
    return all;
}

} // namespace

class TestKeyStorage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rows();
    void ranges();
    void whileClosed();

private:
    const QString chat = QStringLiteral("chat");
    const QString secure = QStringLiteral("secure");
    const QString id = QStringLiteral("C-3-5");
};

void TestKeyStorage::rows()
{
    const QTemporaryDir directory;
    const QByteArray bytes = QByteArray::fromHex("00ff00610a");
    for (const bool reopened : {false, true}) {
        const auto database = std::make_shared<Database>(SchemaSteps{keySchema});
        QVERIFY(database->open(directory.filePath(QStringLiteral("account.db"))));
        KeyStorage keys(database);
        if (!reopened) {
            QCOMPARE(keys.allInfos().value().size(), 0);
            QVERIFY(keys.save({chat, id, 1, "old"}));
            QVERIFY(keys.save({chat, id, 1, bytes}));
            QVERIFY(keys.saveIfAbsent({chat, id, 1, "too late"}));
            QVERIFY(keys.saveIfAbsent({secure, id, 1, {}}));
            QVERIFY(keys.save({chat, id + id, least, "other"}));
        }
        QCOMPARE(keys.allInfos().value().size(), 3);
        QCOMPARE(keys.value(chat, id, 1), bytes);
        QCOMPARE(keys.value(secure, id, 1), QByteArray());
        QCOMPARE(keys.value(chat, id + id, least), QByteArray("other"));
        QVERIFY(!keys.value(secure, id, 2));
        QVERIFY(!keys.contains(chat, id.toLower(), 1));
        if (reopened) {
            QVERIFY(keys.remove(chat, id, 1));
            QVERIFY(!keys.contains(chat, id, 1));
            QVERIFY(keys.contains(secure, id, 1));
            QVERIFY(keys.removeAll());
            QCOMPARE(keys.allInfos().value().size(), 0);
        }
    }
}

void TestKeyStorage::ranges()
{
    const QTemporaryDir directory;
    const auto database = std::make_shared<Database>(SchemaSteps{keySchema});
    QVERIFY(database->open(directory.filePath(QStringLiteral("account.db"))));
    KeyStorage keys(database);
    for (const int version : {10, most, 2, -1, least, 1})
        QVERIFY(keys.save({chat, id, version, QByteArray::number(version)}));
    QVERIFY(keys.save({secure, id, 3, "another kind"}));
    QVERIFY(keys.save({chat, id + id, 3, "another id"}));

    QCOMPARE(versions(keys.infos(chat, id, 1, 10)), QList<int>({1, 2, 10}));
    QCOMPARE(versions(keys.infos(chat, id, least, most)), QList<int>({least, -1, 1, 2, 10, most}));
    QVERIFY(keys.infos(chat, id, 10, 1).isEmpty());
    QVERIFY(keys.infos(chat, id, 3, 9).isEmpty());
    const KeyInfo info = keys.infos(chat, id, 2, 2).constFirst();
    QCOMPARE(info.kind, chat);
    QCOMPARE(info.id, id);
    QCOMPARE(info.value, QByteArray("2"));
}

void TestKeyStorage::whileClosed()
{
    const auto database = std::make_shared<Database>(SchemaSteps{keySchema});
    KeyStorage keys(database);
    QVERIFY(!keys.save({chat, id, 1, "key"}));
    QVERIFY(!keys.saveIfAbsent({chat, id, 1, "key"}));
    QVERIFY(!keys.remove(chat, id, 1));
    QVERIFY(!keys.removeAll());
    QVERIFY(!keys.contains(chat, id, 1));
    QVERIFY(keys.infos(chat, id, least, most).isEmpty());
    QVERIFY(!keys.allInfos());
}

QTEST_GUILESS_MAIN(TestKeyStorage)
#include "tst_keystorage.moc"
