// As an application may be built: then a key would turn into a password by itself.
#undef QT_NO_CAST_FROM_ASCII
#undef QT_NO_CAST_TO_ASCII

#include "account/datainfomodel.h"
#include "account/threadmanager.h"
#include "account/verificationemoji_p.h"
#include "imcrypto/store.h"
#include "protocol/common_data.pb.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "storage/configstorage.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/files.h"
#include "support/loglines.h"

#include <QCryptographicHash>
#include <QDir>
#include <QJSEngine>
#include <QScopeGuard>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtEndian>
#include <QTest>
#include <QThread>

#include <SQLiteCpp/SQLiteCpp.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace
{

/// A hash whose four blocks choose this row of the table of emoji and those behind it.
QByteArray hashOf(quint64 row)
{
    QByteArray hash;
    for (quint64 end = row + 4; row < end; ++row) {
        const quint64 block = qToBigEndian(row | 1ULL << 63); // whose top bit does not count
        hash.append(reinterpret_cast<const char *>(&block), sizeof block);
    }
    return hash;
}

/// What another process would find in the account's store.
QStringList storedKeys(qint64 id)
{
    storage::UserStorageProvider provider;
    QStringList keys;
    provider.open(AppDirManager::instance()->defaultCacheDataDir() + u"%1/userstatus"_s.arg(id),
                  false);
    for (const auto &info : provider.settingStorage()->allInfos())
        keys.append(info.key);
    for (auto *rows : {provider.bufferConfigStorage(), provider.syncConfigStorage()}) {
        for (const auto &info : rows->allInfos())
            keys.append(info.key);
    }
    keys.sort();
    return keys;
}

// A key that the function cannot hand back must not become a password.
template <typename Key>
concept Encrypts = requires(const AccountBase &account, Key &&key)
{
    account.encrypt(QByteArray(), std::forward<Key>(key));
};
static_assert(Encrypts<QByteArray &> && Encrypts<QString>);
static_assert(Encrypts<const QString &> && Encrypts<const char (&)[7]>);
static_assert(!Encrypts<QByteArray> && !Encrypts<const QByteArray &>);

} // namespace

class TestAccountBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        for (const qint64 id : {3, 4})
            QDir(AppDirManager::instance()->defaultCacheDataDir() + QString::number(id))
                .removeRecursively();
        account = std::make_unique<FakeAccount>();
        account->setAccountId(3);
    }
    void cleanup()
    {
        account.reset();
        ThreadManager::getInstance()->quitAll();
    }

    void identity()
    {
        FakeAccount fresh;
        QCOMPARE(fresh.state(), int(AccountBase::DISCONNECTED));
        QVERIFY(!fresh.isConnected() && !fresh.authorized() && fresh.autoReconnect());
        QCOMPARE(fresh.maxDeviceCount(), 5);
        QCOMPARE(QJSEngine::objectOwnership(&fresh), QJSEngine::CppOwnership);
        const QString home = AppDirManager::instance()->defaultCacheDataDir();
        AppDirManager::instance()->updateCacheDataDir(u"/media/"_s, {});
        QSignalSpy ids(&fresh, &AccountBase::accountIdChanged);
        fresh.setAccountId(77);
        fresh.setAccountId(77);
        QCOMPARE(ids.size(), 1);
        QCOMPARE(fresh.userStatusDataPath(), home + u"77/userstatus/"_s);
        QCOMPARE(fresh.userCacheDataPath(), u"/media/77/"_s);
        AppDirManager::instance()->updateCacheDataDir(u"/moved/"_s, {});
        QCOMPARE(fresh.userCacheDataPath(), u"/media/77/"_s);
        fresh.updateUserCacheDataPath();
        QCOMPARE(fresh.userCacheDataPath(), u"/moved/77/"_s);

        QSignalSpy connected(&fresh, &AccountBase::isConnectedChanged);
        for (int state : {AccountBase::CONNECTING, AccountBase::NORMAL, AccountBase::UPDATING})
            fresh.setState(state);
        QCOMPARE(connected.size(), 1);
        fresh.setState(AccountBase::UNKNOWN);
        QCOMPARE(connected.size(), 2);
    }

    void dialogIds()
    {
        QCOMPARE(AccountBase::getDialogId(5, 3, false), u"C-3-5"_s);
        QCOMPARE(AccountBase::getDialogId(7, 9, true), u"G-7"_s);
        QCOMPARE(account->getDialogId(1, false), u"C-1-3"_s);
        QCOMPARE(account->getDialogId(1, true), u"G-1"_s);
        const QString targets =
            u"C-3-5=5 C-5-3=5 C-5=0 G-12=12 g-12=0 =0 G-=0 C--=0 C-1-2-9=1 G-x=0 "
            "C=0 G-99999999999999999999=0 G-4294967296=4294967296"_s;
        for (const QString &target : targets.split(u' '))
            QCOMPARE(account->getTargetId(target.section(u'=', 0, 0)),
                     target.section(u'=', 1).toLongLong());
    }

    void myUserIds()
    {
        QVERIFY(account->openStorage(true));
        QVERIFY(account->isMyUserId(3) && !account->isMyUserId(0) && !account->isMyUserId(4));
        QVERIFY(account->signalStore()->saveUserKey({4, 1, 1}, QByteArray(32, 'k')));
        QVERIFY(account->signalStore()->saveUserKey({5, 2, 1}, QByteArray(32, 'k')));
        QVERIFY(account->isMyUserId(4) && !account->isMyUserId(5));
        // Sentences in a list ask for each of their people, each time: the disk is left alone.
        QVERIFY(account->storage()->keyStorage()->remove(u"user"_s, u"4.1.1"_s, 1));
        QVERIFY(account->isMyUserId(4));
        QVERIFY(account->signalStore()->removeAll());
        QVERIFY(!account->isMyUserId(4));
        account->setAccountId(0);
        QVERIFY(!account->isMyUserId(0));
    }

    void changesStayWithTheirStore_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::newRow("while the save thread is busy") << false;
        QTest::newRow("while the first is locked") << true;
    }
    void changesStayWithTheirStore()
    {
        QFETCH(const bool, locked);
        QVERIFY(account->openStorage(true));
        const QString firstPath = account->storage()->filePath();
        ThreadManager::getInstance()->init();
        QSemaphore held;
        const auto release = qScopeGuard([&] { held.release(); });
        ThreadManager::invoke([&] { held.acquire(); }, true);
        change(u"first"_s);
        SQLite::Database other(firstPath.toStdString(), SQLite::OPEN_READWRITE);
        if (locked)
            other.exec("BEGIN EXCLUSIVE");
        account->setAccountId(4);
        change(u"early"_s); // no store is open for this one yet
        account->accountSettingModel()->setNotifyReply(false);
        if (locked) {
            LogLines log(LogLines::Info);
            QVERIFY(!account->openStorage(true));
            QVERIFY(account->storage()->isOpen());
            QCOMPARE(account->storage()->filePath(), firstPath);
            QVERIFY(log.takeTexts().join(u' ').contains(u"3"_s));
            other.exec("COMMIT");
        }
        QVERIFY(account->openStorage(true));
        QVERIFY(!account->accountSettingModel()->getValue(u"first setting"_s, {}).isValid());
        change(u"second"_s);
        held.release();
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(storedKeys(4), changed(u"second"_s));
        QCOMPARE(storedKeys(3), changed(u"first"_s));
    }

    void whatCannotBeWrittenIsNotWrittenLater_data()
    {
        QTest::addColumn<bool>("signOut");
        QTest::newRow("after a sign-out") << true;
        QTest::newRow("after it became another") << false;
    }
    void whatCannotBeWrittenIsNotWrittenLater()
    {
        QFETCH(const bool, signOut);
        QVERIFY(account->openStorage(true));
        account->setAuthorized(signOut);
        SQLite::Database other(account->storage()->filePath().toStdString(),
                               SQLite::OPEN_READWRITE);
        const auto fill = [&](bool isFull) {
            for (const char *table : {"settings", "buffer_config"})
                other.exec(QString(isFull ? "CREATE TRIGGER %1_full BEFORE INSERT ON %1 BEGIN "
                                            "SELECT RAISE(ABORT, 'x'); END"
                                          : "DROP TRIGGER %1_full")
                               .arg(table)
                               .toStdString());
        };
        fill(true);
        change(u"first"_s);
        if (!signOut) {
            account->closeStorage();
            change(u"late"_s); // stays in memory
            QVERIFY(account->accountSettingModel()->getValue(u"late setting"_s, {}).isValid());
            // It is the same one again: nothing was lost.
            fill(false);
            QVERIFY(account->openStorage(true));
            QCOMPARE(storedKeys(3), changed(u"first"_s));
            fill(true);
        }
        LogLines log(LogLines::Info);
        change(u"lost"_s);
        if (signOut) {
            account->logout(false);
        } else {
            account->closeStorage();
            account->setAccountId(4);
            QVERIFY(account->openStorage(true));
        }
        const QString text = log.takeTexts().join(u' ');
        for (const QString &key : changed(u"lost"_s))
            QVERIFY2(text.contains(key), qPrintable(text));
        fill(false);
        account->setAccountId(3);
        QVERIFY(account->openStorage(true));
        QVERIFY(account->accountSettingModel()->flush());
        QCOMPARE(storedKeys(3), signOut ? QStringList() : changed(u"first"_s));
    }

    void phoneIsStoredWithTheKeys()
    {
        const auto stored = [] {
            FakeAccount next;
            next.setAccountId(3);
            const auto info =
                next.openStorage(false) ? next.signalStore()->userInfo() : std::nullopt;
            return info ? u"%1 +%2 %3"_s.arg(info->userId).arg(info->countryCode, info->phone)
                        : QString();
        };
        // Also when memory has it already, and when the store opens only later.
        account->setPhone(u"5550100"_s);
        account->setCountryCode(u"49"_s);
        QSignalSpy phones(account.get(), &AccountBase::phoneChanged);
        account->updatePhone(u"5550100"_s, u"49"_s);
        QVERIFY(account->openStorage(true));
        QCOMPARE(stored(), u"3 +49 5550100"_s);
        account->setPhone(u"5550200"_s);
        account->updatePhone(u"5550200"_s, u"43"_s);
        QCOMPARE(stored(), u"3 +43 5550200"_s);
        QCOMPARE(phones.size(), 1);
    }

    void questionsToAClosedStoreAreQuiet()
    {
        const auto ask = [this] {
            LogLines log(LogLines::Info);
            if (account->isMyUserId(4) || account->containsSecureKey(u"notes"_s, 1)
                || account->signalStore()->userInfo()
                || !account->getMissingChatKeys(u"C-3-5"_s, 1, 9, u"notes"_s).isEmpty())
                qFatal("answered");
            return log.takeTexts();
        };
        QCOMPARE(ask(), QStringList());
        QVERIFY(account->openStorage(true));
        QVERIFY(account->signalStore()->saveUserKey({4, 1, 1}, "k"));
        account->closeStorage();
        QCOMPARE(ask(), QStringList());
        QByteArray cipher;
        QVERIFY(account->encrypt(cipher, "text", u"notes"_s, 1).isEmpty() && cipher.isEmpty());
        account->closeDbInCrash();
        // What is refused is told, once.
        LogLines log(LogLines::Info);
        QVERIFY(!account->signalStore()->saveUserKey({5, 1, 1}, "k"));
        QCOMPARE(log.takeTexts().size(), 1);
    }

    void groupsAreRefreshedOnTheAccountsThread()
    {
        static QList<qint64> asked;
        struct Refreshing : FakeAccount {
            void refreshGroupInfo(qint64 groupId) override
            {
                if (QThread::currentThread() == thread())
                    asked.append(groupId);
            }
        };
        auto refreshing = std::make_unique<Refreshing>();
        refreshing->storage()->updateGroupInfo(7);
        std::jthread([&] { refreshing->storage()->updateGroupInfo(8); }).join();
        QVERIFY(asked.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(asked, QList<qint64>({7, 8}));
        refreshing->storage()->updateGroupInfo(9);
        refreshing.reset();
        QCoreApplication::processEvents();
        QCOMPARE(asked.size(), 2);
    }

    void keychainsAreAskedInTheBackground()
    {
        // Its entry is in a keychain; here, none runs.
        const QString path = AppDirManager::instance()->defaultCacheDataDir() + u"master.key"_s;
        const QByteArray usual = contents(path);
        const auto restore = qScopeGuard([&] { write(path, usual); });
        // The keychain answers when it is let.
        static QSemaphore answer;
        const auto before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
                if (text.contains(u"none is running"_s))
                    answer.acquire();
            });
        const auto usualHandler = qScopeGuard([&] { qInstallMessageHandler(before); });
        QVERIFY(write(path, "keychain:master-0"));
        QVERIFY(account->openStorage(true));
        QSignalSpy opened(account.get(), &AccountBase::signalStoreOpened);
        account->updatePhone(u"5550100"_s, u"49"_s);
        QCOMPARE(account->signalStore()->state(), crypto::Store::State::Opening);
        answer.release();
        QVERIFY(opened.isEmpty());
        // Stored as soon as there is a key.
        QTRY_COMPARE(opened.size(), 1);
        QCOMPARE(account->signalStore()->state(), crypto::Store::State::MasterKeyUnavailable);
        QVERIFY(write(path, QByteArray(32, 'm')));
        account->closeStorage();
        QVERIFY(account->openStorage(true));
        QCOMPARE(account->signalStore()->userInfo()->phone, u"5550100"_s);
        // Whoever dies while it is asked is not told: the answer comes when the account has gone.
        QVERIFY(write(path, "keychain:master-0"));
        QCOMPARE(account->signalStore()->open(), crypto::Store::State::Opening);
        account.reset();
        answer.release();
        QTest::qWait(50);
    }

    /// The same on every device of everybody who has the key or knows the password.
    void ciphers()
    {
        for (const QString &line : facts(u"ciphers.txt"_s)) {
            const QStringList fields = line.split(u'\t');
            const QByteArray plain = fields[2].toUtf8();
            const QByteArray cipher = QByteArray::fromHex(fields[3].toLatin1());
            if (fields[0] == u"password"_s) {
                QCOMPARE(account->encrypt(plain, fields[1]).toHex(), cipher.toHex());
                QCOMPARE(account->decrypt(cipher, fields[1]), plain);
                QVERIFY(account->decrypt(cipher, u'x' + fields[1].mid(1)).isEmpty());
                continue;
            }
            QByteArray key = QByteArray::fromHex(fields[1].toLatin1());
            QCOMPARE(account->encrypt(plain, key).toHex(), cipher.toHex());
            QCOMPARE(account->decrypt(cipher, key), plain);
            key[7] = char(key[7] ^ 1);
            QVERIFY(account->decrypt(cipher, key).isEmpty());
        }
    }

    void keys()
    {
        QByteArray unsuitable(31, 'k');
        const QByteArray cipher = account->encrypt("data", unsuitable);
        QCOMPARE(unsuitable.size(), 32);
        QCOMPARE(account->decrypt(cipher, unsuitable), QByteArray("data"));
        QVERIFY(account->decrypt(cipher, QByteArray()).isEmpty());
        QByteArray untouched("k");
        QVERIFY(account->encrypt({}, untouched).isEmpty()
                && account->encrypt({}, u"k"_s).isEmpty());
        QCOMPARE(untouched, QByteArray("k"));
        QVERIFY(account->decrypt({}, unsuitable).isEmpty());

        QVERIFY(account->openStorage(true));
        QByteArray first;
        QByteArray second;
        const QByteArray key = account->encrypt(first, "text", u"notes"_s, 2);
        QCOMPARE(key.size(), 32);
        QVERIFY(account->containsSecureKey(u"notes"_s, 2));
        QCOMPARE(account->encrypt(second, "text", u"notes"_s, 2), key);
        QCOMPARE(second, first);
        QByteArray plain = "before";
        QTest::ignoreMessage(QtWarningMsg, "Decrypt failed: no secure key (notes_3)");
        QVERIFY(!account->decrypt(plain, first.toStdString(), u"notes"_s, 3));
        QVERIFY(plain == "before" && !account->containsSecureKey(u"notes"_s, 3));
        QVERIFY(account->decrypt(plain, first.toStdString(), u"notes"_s, 2));
        QCOMPARE(plain, QByteArray("text"));
    }

    void patches()
    {
        QVERIFY(account->openStorage(true));
        for (int version : {1, 2, 9})
            account->signalStore()->saveChatKey(u"C-3-5"_s, version, QByteArray(32, char(version)));
        account->signalStore()->saveSecureKey(u"notes"_s, 3, QByteArray(32, 's'));
        const auto patch = [&](int from, int to, const QString &secureKeyId) {
            im::DeviceMessage::ContentKeyPatch record;
            QString text;
            record.ParseFromString(
                account->getMissingChatKeys(u"C-3-5"_s, from, to, secureKeyId).toStdString());
            for (const im::DialogKey &key : record.dialog_keys()) {
                if (key.key() != std::string(32, char(key.key_ver())))
                    return u"another key"_s;
                text += u" %1/%2"_s.arg(QString::fromStdString(key.dialog_id())).arg(key.key_ver());
            }
            for (const im::SecureKey &key : record.secure_keys())
                text += u" %1/%2 %3"_s.arg(QString::fromStdString(key.id()))
                            .arg(key.type())
                            .arg(QString::fromStdString(key.key()));
            return text;
        };
        QCOMPARE(patch(INT_MIN, INT_MAX, u"notes"_s),
                 u" C-3-5/1 C-3-5/2 C-3-5/9 notes/3 "_s + QString(32, u's'));
        QCOMPARE(patch(2, 8, {}), u" C-3-5/2"_s);
        for (const auto &[from, to] : {std::pair{3, 2}, {-5, 0}, {10, INT_MAX}})
            QVERIFY(account->getMissingChatKeys(u"C-3-5"_s, from, to, u"unknown"_s).isEmpty());
    }

    void verification()
    {
        const QByteArray hash = hashOf(7);
        const QVariantMap shown = account->veirifyKey(9, 3, hash);
        QCOMPARE(shown.value(u"emoji"_s).toList(), verificationEmoji(hash));
        QCOMPARE(shown.value(u"hex"_s).toString(), QString::fromLatin1(hash.toHex().toUpper()));
        // Both people see the same link.
        QCOMPARE(account->veirifyKey(3, 9, hash), shown);
        im::QRCode code;
        const QByteArray link = QByteArray::fromHex(shown.value(u"link"_s).toByteArray());
        QVERIFY(code.ParseFromArray(link.constData(), int(link.size())));
        QCOMPARE(code.security_code().alice_uid(), 3);
        QCOMPARE(code.security_code().bob_uid(), 9);
        QCOMPARE(code.security_code().agreement(), hash.toStdString());

        for (int size : {0, 31, 33}) {
            const QVariantMap other = account->veirifyKey(3, 9, QByteArray(size, 'x'));
            QVERIFY(other.value(u"emoji"_s).toList().isEmpty());
            QCOMPARE(other.value(u"hex"_s).toString().size(), 2 * size);
            QVERIFY(!other.value(u"link"_s).toString().isEmpty());
        }
    }

    void emojiNeverChange()
    {
        // People compare what two clients show: a table that differs in one row is an alarm.
        QStringList all;
        for (quint64 row = 0; row < 333; ++row)
            all.append(verificationEmoji(hashOf(row)).value(0).toString());
        QCOMPARE(verificationEmoji(hashOf(331)),
                 QVariantList({all[331], all[332], all[0], all[1]}));
        QCOMPARE(
            QCryptographicHash::hash(all.join(u' ').toUtf8(), QCryptographicHash::Sha256).toHex(),
            QByteArray("c9af81c07edb4a50e6ff5e365eb680b326eee13019175f2e2eaf71e47c51d5b9"));
    }

    void features()
    {
        QVERIFY(account->openStorage(true));
        QSignalSpy changed(account.get(), &AccountBase::featuresChanged);
        QCOMPARE(account->featureState(4), int(AccountBase::Feature_DISABLED));
        for (int i = 0; i < 2; ++i)
            account->updateFeature(4, AccountBase::Feature_ENABLED);
        account->updateFeature(6, AccountBase::Feature_DISABLED);
        QCOMPARE(changed.size(), 2);
        const QVariantList features{QVariantMap{{u"featureId"_s, 4}, {u"state"_s, 0}},
                                    QVariantMap{{u"featureId"_s, 6}, {u"state"_s, 1}}};
        QCOMPARE(account->features(), features);
        // They are there at the next start; rubbish in their place is no feature.
        account = std::make_unique<FakeAccount>();
        account->restore({{u"userId"_s, 3}}, true, 0);
        QVERIFY(account->authorized());
        QCOMPARE(account->features(), features);
        account->dataInfoModel()->saveFatures("{\"featureId\":");
        account->readFeatures();
        QVERIFY(account->features().isEmpty());
    }

private:
    /// Changes of each kind; what rows of theirs have for keys.
    void change(const QString &name)
    {
        account->accountSettingModel()->setValue(name + u" setting"_s, 1, true);
        account->accountSettingModel()->saveToCoreDb(name + u" row"_s, 1, true);
        account->dataInfoModel()->saveMissRange(name + u" range"_s, "x");
    }
    static QStringList changed(const QString &name)
    {
        return {name + u" range"_s, name + u" row"_s, name + u" setting"_s};
    }

    std::unique_ptr<FakeAccount> account;
};

QTEST_GUILESS_MAIN(TestAccountBase)
#include "tst_accountbase.moc"
