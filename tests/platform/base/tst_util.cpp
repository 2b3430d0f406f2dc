#include "base/basefile.h"
#include "base/define.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "support/facts.h"
#include "support/files.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <functional>
#include <limits>

using namespace Qt::StringLiterals;

class TestUtil : public QObject
{
    Q_OBJECT

    const QMap<QString, const QRegularExpression *> m_recognisers{
        {u"Url"_s, &Util::getRegularUrl()},
        {u"Email"_s, &Util::getRegularEmail()},
        {u"ImId"_s, &Util::getRegularImId()},
        {u"PhoneNumber"_s, &Util::getRegularPhoneNumber()},
        {u"HashTag"_s, &Util::getRegularHashTag()},
        {u"BotCmd"_s, &Util::getRegularBotCmd()},
        {u"Time"_s, &Util::getRegularTime()},
    };

    static QStringList allMatches(const QRegularExpression &expression, const QString &text)
    {
        QStringList found;
        for (auto it = expression.globalMatch(text); it.hasNext();)
            found.append(it.next().captured(0));
        return found;
    }

private Q_SLOTS:
    void texts()
    {
        const QMap<QString, std::function<QString(const QString &)>> functions{
            {u"game"_s,
             [](const QString &text) { return QVariant(Util::isEmojiGame(text)).toString(); }},
            {u"size"_s, [](const QString &text) { return Util::intToSizeStr(text.toLongLong()); }},
            {u"local"_s, [](const QString &text) { return Util::toLocalFile(text); }},
            {u"extension"_s, [](const QString &text) { return BaseFile::extensionOf(text); }},
        };
        for (const QString &line : facts(u"texts.txt"_s)) {
            const QStringList parts = line.split(u'\t');
            QCOMPARE(parts[0] + functions[parts[0]](parts[1]), parts[0] + parts[2]);
        }
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
        QVERIFY(write(dir.filePath(u"file"_s), "x"));
        QVERIFY(QFile::setPermissions(dir.filePath(u"file"_s), QFile::ReadOwner));
        QVERIFY(Util::syncFolder(dir.path() + u'/'));
        QVERIFY(!Util::syncFolder(dir.filePath(u"missing"_s)));
        QVERIFY(!Util::syncFolder(dir.filePath(u"file"_s)));
        for (const QString &path :
             {dir.filePath(u"file/x"_s), dir.filePath(u"file"_s), QString()}) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Cannot make directory"_s));
            QVERIFY(!Util::mkpath(path));
        }
    }

    void removesFoldersAndLeavesTheRest()
    {
        const QTemporaryDir dir;
        const QString folder = dir.filePath(u"folder"_s);
        const QString kept = dir.filePath(u"kept"_s);
        QVERIFY(Util::mkpath(folder + u"/a/b"_s) && Util::mkpath(kept));
        QVERIFY(write(folder + u"/a/.hidden"_s, "x"));
        QVERIFY(write(folder + u"/a/b/file"_s, "x"));
        QVERIFY(write(kept + u"/file"_s, "x"));
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

    /// Another value would make all encrypted data unreadable.
    void vectorIsFrozen()
    {
        const QByteArray digest =
            QCryptographicHash::hash("modelbase common vector 1", QCryptographicHash::Sha256);
        QCOMPARE(Define::comIV(), digest.first(16));
    }

    void safeNames()
    {
        for (const QString &line : facts(u"safe_names.txt"_s)) {
            const qsizetype tab = line.lastIndexOf(u'\t');
            const QString safe = line.sliced(tab + 1);
            QCOMPARE(Util::safeFileName(line.first(tab)), safe);
            QCOMPARE(Util::safeFileName(safe), safe);
        }
    }

    void findsWhatPeopleWrite()
    {
        QStringList seen;
        QString text;
        QStringList expected;
        const auto check = [&] {
            const auto *expression = seen.isEmpty() ? nullptr : m_recognisers.value(seen.last());
            if (!text.isEmpty())
                QCOMPARE(allMatches(*expression, text), expected);
            text.clear();
            expected.clear();
        };
        for (const QString &line : facts(u"recognisers.txt"_s)) {
            if (line.startsWith(u'\t')) {
                expected.append(line.sliced(1));
                continue;
            }
            check();
            if (line.startsWith(u'[') && line.endsWith(u']'))
                seen.append(line.sliced(1, line.size() - 2));
            else
                text = line;
        }
        check();
        QCOMPARE(seen.size(), m_recognisers.size());
    }

    /// Each takes milliseconds; an expression that goes over the text again and again would run
    /// into the time limit, one that needs a deep stack would find nothing.
    void hostileTexts()
    {
        const QString units =
            u"a ( 1 # @ - . / : + 中 \u0301 a\u0301 ท1 я1. http://a. http://a/( http://a/(x[y "
            u"https://a@ a. a@ "
            "a- a.a@ www.a. a.xn-- xn-- +1_ (1 1- 1: "
            "12_34_ #1 @_ /a@ [:: 1.1.1.1.1.1.1.1.1.1.1_ a\u200d 中@a."_s;
        for (QString unit : units.split(u' ')) {
            if (unit.size() > 2)
                unit.replace(u'_', u' ');
            const QString text = unit.repeated(100'000 / unit.size());
            for (const QRegularExpression *expression : m_recognisers) {
                for (auto it = expression->globalMatch(text); it.hasNext();)
                    QVERIFY(!it.next().captured(0).isEmpty());
            }
        }

        const auto only = [](const QRegularExpression &expression, const QString &text) {
            return allMatches(expression, text) == QStringList{text};
        };
        QVERIFY(only(Util::getRegularUrl(), u"http://a/"_s + u",a(b[c])"_s.repeated(20'000)));
        QVERIFY(only(Util::getRegularUrl(), u"a.com/("_s + u"(a)"_s.repeated(50'000) + u')'));
        QVERIFY(only(Util::getRegularHashTag(), u'#' + u"a\u200d\u0645"_s.repeated(50'000)));
        QVERIFY(only(Util::getRegularImId(), u'@' + u"я\u200c"_s.repeated(50'000) + u'я'));
        QCOMPARE(
            allMatches(Util::getRegularPhoneNumber(), u"+15551234567 "_s.repeated(8'000)).size(),
            8'000);
        QCOMPARE(allMatches(Util::getRegularEmail(), u"a.b@c.de "_s.repeated(10'000)).size(),
                 10'000);
    }
};

QTEST_GUILESS_MAIN(TestUtil)
#include "tst_util.moc"
