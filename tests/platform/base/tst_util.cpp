#include "base/storedvalue.h"
#include "base/util.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

class TestUtil : public QObject
{
    Q_OBJECT

    static void write(const QString &path)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write("x"), 1);
    }

private Q_SLOTS:
    void emojiGames()
    {
        for (const QString &game : {u"🎲"_s, u"🎯"_s, u"🏀"_s, u"⚽"_s, u"⚽\ufe0f"_s, u"🎳"_s, u"🎰"_s})
            QVERIFY2(Util::isEmojiGame(game), qUtf8Printable(game));
        for (const QString &other : {u""_s, u"\ufe0f"_s, u"🎲🎲"_s, u"🎲 "_s, u"✊"_s, u"⚾"_s, u"a"_s})
            QVERIFY2(!Util::isEmojiGame(other), qUtf8Printable(other));
    }

    // A map from another device holds its numbers in any type.
    void storedNumbers()
    {
        using Limits = std::numeric_limits<qint64>;
        const QList<std::pair<QVariant, qint64>> numbers{
            {true, 1},
            {u"12"_s, 12},
            {u"1.5"_s, 0},
            {1.9, 1},
            {-1.9f, -1},
            {std::numeric_limits<double>::quiet_NaN(), 0},
            {0x1p63, Limits::max()},
            {1e300, Limits::max()},
            {-1e300, Limits::min()},
            {std::numeric_limits<quint64>::max(), Limits::max()},
            {QVariant::fromValue(std::numeric_limits<unsigned long>::max()),
             sizeof(long) == 8 ? Limits::max() : qint64(std::numeric_limits<quint32>::max())},
            {QVariantList{1}, 0},
            {QVariant(), 0},
        };
        for (const auto &[stored, number] : numbers) {
            QCOMPARE(StoredValue::toInt64(stored), number);
            QCOMPARE(StoredValue::toInt32(stored),
                     qint32(std::clamp<qint64>(number, std::numeric_limits<qint32>::min(),
                                               std::numeric_limits<qint32>::max())));
        }
    }

    void textsFromUtf8()
    {
        const QString mark(QChar(0xfeff));
        for (const QString &text :
             {u""_s, u"a"_s, mark, mark + mark, mark + u"Grüße 🎉"_s, u"a"_s + mark})
            QCOMPARE(Util::fromUtf8(text.toUtf8()), text);
        // Damaged bytes are replaced, with and without a mark before them.
        QCOMPARE(Util::fromUtf8("a\xF0\x9F"), QString::fromUtf8("a\xF0\x9F"));
        QCOMPARE(Util::fromUtf8("\xEF\xBB\xBF\xF0\x9F"), mark + QString::fromUtf8("\xF0\x9F"));
    }

    void directories()
    {
        const QString data = Util::defaultCacheDataDir();
        QVERIFY(data.endsWith(Util::separator()) && !data.endsWith(u"//"));
        QVERIFY(!QDir(data).exists());
        QVERIFY(Util::mkpath(data) && Util::mkpath(data));
        QVERIFY(QDir(data).exists());

        const QTemporaryDir dir;
        write(dir.filePath(u"file"_s));
        for (const QString &path :
             {dir.filePath(u"file/x"_s), dir.filePath(u"file"_s), QString()}) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Cannot make directory"_s));
            QVERIFY(!Util::mkpath(path));
        }
    }

    void syncsFolders()
    {
        const QTemporaryDir dir;
        QVERIFY(Util::mkpath(dir.filePath(u"a/b"_s)));
        write(dir.filePath(u"a/b/c"_s));
        QVERIFY(QFile::setPermissions(dir.filePath(u"a/b/c"_s), QFile::ReadOwner));
        QVERIFY(Util::syncFolder(dir.filePath(u"a/"_s)));
        QVERIFY(!Util::syncFolder(dir.filePath(u"missing"_s)));
        QVERIFY(!Util::syncFolder(dir.filePath(u"a/b/c"_s)));
    }

    void removesFoldersAndLeavesTheRest()
    {
        const QTemporaryDir dir;
        const QString folder = dir.filePath(u"folder"_s);
        const QString kept = dir.filePath(u"kept"_s);
        QVERIFY(Util::mkpath(folder + u"/a/b"_s) && Util::mkpath(kept));
        write(folder + u"/a/.hidden"_s);
        write(folder + u"/a/b/file"_s);
        write(kept + u"/file"_s);
        QVERIFY(QFile::link(kept, folder + u"/a/link"_s));
        QVERIFY(QFile::link(dir.filePath(u"nowhere"_s), folder + u"/dangling"_s));

        QVERIFY(Util::removeLocalFolder(folder));
        QVERIFY(!QFileInfo::exists(folder));
        QVERIFY(Util::removeLocalFolder(folder));
        QVERIFY(QFile::exists(kept + u"/file"_s));

        for (const QString &slash : {u""_s, u"/"_s}) {
            const QString link = dir.filePath(u"link"_s);
            QVERIFY(QFile::link(kept, link));
            QVERIFY(Util::removeLocalFolder(link + slash));
            QVERIFY(!QFileInfo(link).isSymbolicLink());
            QVERIFY(QFile::exists(kept + u"/file"_s));
        }

        for (const QString &path : {kept + u"/file"_s, u"/"_s, QString()}) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"removed?"_s));
            QVERIFY(!Util::removeLocalFolder(path));
        }
        QVERIFY(QFile::exists(kept + u"/file"_s));
    }

    void localFiles()
    {
        QCOMPARE(Util::toLocalFile(u"/a b/c%20d#e?f"_s), u"/a b/c%20d#e?f"_s);
        QCOMPARE(Util::toLocalFile(u"file:///a%20b/%D0%B6%23.png"_s), u"/a b/ж#.png"_s);
        QCOMPARE(Util::toLocalFile(u"FILE:/a"_s), u"/a"_s);
        QCOMPARE(Util::toLocalFile(QUrl::fromLocalFile(u"/a b/#?%.ж"_s).toString()),
                 u"/a b/#?%.ж"_s);
        QCOMPARE(Util::toLocalFile(u"files/x"_s), u"files/x"_s);
        QCOMPARE(Util::toLocalFile({}), QString());
    }

    void sizes()
    {
        for (const auto &[bytes, text] : {std::pair{0LL, u"0 B"_s},
                                          {-1LL, u"0 B"_s},
                                          {1023LL, u"1023 B"_s},
                                          {1024LL, u"1.0 KB"_s},
                                          {1536LL, u"1.5 KB"_s},
                                          {1024 * 1024 - 1LL, u"1.0 MB"_s},
                                          {12'897'485LL, u"12.3 MB"_s},
                                          {std::numeric_limits<qint64>::max(), u"8.0 EB"_s}})
            QCOMPARE(Util::intToSizeStr(bytes), text);
    }
};

QTEST_GUILESS_MAIN(TestUtil)
#include "tst_util.moc"
