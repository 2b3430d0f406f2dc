#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "client/applock.h"
#include "client/clientaccount.h"
#include "client/modellayer.h"
#include "client/scriptedserver.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdatamove.h"
#include "settings/appsettingmodel.h"
#include "support/files.h"

#include <QDirIterator>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// As where SQLite is built to leave on the disk what was deleted.
int leaveDeleted(sqlite3 *connection, char **, const sqlite3_api_routines *)
{
    return sqlite3_exec(connection, "PRAGMA secure_delete = OFF", nullptr, nullptr, nullptr);
}

QString dataDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString at(const QString &name)
{
    return dataDirectory() + u'/' + name;
}

/// The files that hold a text, as UTF-8, in hex or as UTF-16.
QStringList filesWith(const QString &text, const QStringList &directories = {dataDirectory()})
{
    const auto *utf16 = reinterpret_cast<const char *>(text.utf16());
    const QByteArrayList forms{text.toUtf8(), text.toUtf8().toHex(),
                               QByteArray(utf16, 2 * text.size())};
    QStringList found;
    for (const QString &directory : directories) {
        for (QDirIterator it(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
             it.hasNext();) {
            const QByteArray bytes = contents(it.next());
            if (std::ranges::any_of(forms, [&](const auto &form) { return bytes.contains(form); }))
                found.append(it.filePath());
        }
    }
    return found;
}

} // namespace

/// What somebody finds who searches the disk after people have logged out.
class TestWiped : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(leaveDeleted));
        m_layer = std::make_unique<ModelLayer>(&m_server);
    }
    void cleanupTestCase() { m_layer.reset(); }

    void afterLogout()
    {
        ClientAccount *mira = signIn(u"5550101"_s);
        ClientAccount *jonas = signIn(u"5550102"_s);
        QVERIFY(mira && jonas);
        const QString directory = at(QString::number(jonas->accountId()));
        const QString marker = keepMarker(jonas, u"JONAS-MARKER"_s);
        AppSettingModel::instance()->setValue(u"drafts"_s, marker, true);
        drain();
        QVERIFY(!filesWith(marker).isEmpty());
        AppSettingModel::instance()->setValue(u"drafts"_s, QString(), true);
        AccountManager::getInstance()->logout(jonas);
        drain();
        QCOMPARE(filesWith(marker), QStringList());
        QVERIFY(!QFileInfo::exists(directory));
        QVERIFY(mira->storage());
    }

    void afterWipe_data()
    {
        QTest::addColumn<bool>("notebook");
        QTest::addColumn<bool>("moves");
        QTest::addRow("accounts") << false << false;
        QTest::addRow("accounts and notebook") << true << false;
        QTest::addRow("in the midst of a move") << false << true;
    }
    void afterWipe()
    {
        QFETCH(bool, notebook);
        QFETCH(bool, moves);
        const QTemporaryDir target;
        AccountManager *manager = AccountManager::getInstance();
        AppSettingModel *settings = AppSettingModel::instance();
        if (manager->count() == 0)
            QVERIFY(signIn(u"5550101"_s));
        auto *mira = qobject_cast<ClientAccount *>(manager->currentAccount());
        QStringList markers{keepMarker(mira, u"MIRA-MARKER"_s)};
        const cryptobase::SecureBytes key = mira->signalStore()->secureKey(u"note"_s, 1, true);
        QCOMPARE(key.size(), 32);
        if (notebook) {
            manager->unlockApp(false, true);
            markers += keepMarker(manager->notebookAccount(), u"NOTEBOOK-MARKER"_s);
            manager->unlockApp(false, false);
        }
        applock::setPasscode(u"2580"_s);
        applock::setPasscode(u"1379"_s, applock::Opens::Destruction);
        markers += settings->passcode();
        settings->setPasscode(settings->passcode() + u"00"_s);
        settings->setValue(u"drafts"_s, u"SETTING-MARKER"_s, true);
        ImLog::info(u"LOG-MARKER"_s);
        markers += {u"SETTING-MARKER"_s, u"LOG-MARKER"_s, u"DAMAGED-MARKER"_s, u"ABSENT-MARKER"_s};
        // Set aside by an earlier start, and an account that none could open.
        QVERIFY(write(at(u"global.db.damaged-2024-01-01_120000"_s), "DAMAGED-MARKER"));
        QVERIFY(QDir().mkpath(at(u"4711/userstatus"_s)));
        QVERIFY(write(at(u"4711/userstatus/account.db"_s), "ABSENT-MARKER"));
        QVERIFY(write(at(u"somebody else's"_s), "kept"));
        drain();
        for (const QString &marker : markers)
            QVERIFY2(!filesWith(marker).isEmpty(), qPrintable(marker));
        const QByteArray master = contents(at(u"master.key"_s));
        QCOMPARE(master.size(), 32);

        if (moves) {
            markers.append(u"MEDIA-MARKER"_s);
            const QString images = at(QString::number(mira->accountId())) + u"/image/"_s;
            QVERIFY(QDir().mkpath(images));
            for (int i = 0; i < 300; ++i)
                write(images + QString::number(i), QByteArray(20'000, char(i)) + "MEDIA-MARKER");
            QVERIFY(manager->appDataMove()->moveTo(target.path()));
            QTRY_VERIFY(manager->appDataMove()->movedBytes() > 0);
            QVERIFY(manager->appDataMove()->running());
        }

        QSignalSpy wiped(manager, &AccountManager::appWiped);
        QCOMPARE(applock::unlock(u"1379"_s), applock::Opens::Destruction);
        QVERIFY(wiped.wait());
        for (const QString &marker : markers)
            QTRY_COMPARE(filesWith(marker, {dataDirectory(), target.path()}), QStringList());
        QVERIFY(contents(at(u"master.key"_s)).isEmpty());
        QCOMPARE(contents(at(u"somebody else's"_s)), QByteArray("kept"));
        QCOMPARE(QDir(dataDirectory()).entryList({u"[0-9]*"_s}, QDir::Dirs), QStringList());

        // The next one begins with nothing, and with a key of its own.
        mira = signIn(u"5550101"_s);
        QVERIFY(mira);
        QVERIFY(!mira->signalStore()->containsSecureKey(u"note"_s, 1));
        QVERIFY(!mira->signalStore()->secureKey(u"note"_s, 1, true).isEmpty());
        QCOMPARE(contents(at(u"master.key"_s)).size(), 32);
        QVERIFY(contents(at(u"master.key"_s)) != master);
        QVERIFY(!settings->getValue(u"drafts"_s, {}).isValid());
    }

private:
    ClientAccount *signIn(const QString &phone)
    {
        AccountManager *manager = AccountManager::getInstance();
        manager->addAccount();
        auto *account = qobject_cast<ClientAccount *>(manager->loginAccount());
        return account && account->requestCode(u"1"_s, phone)
                && account->signIn(u"1"_s, phone, u"246810"_s)
            ? account
            : nullptr;
    }
    static QString keepMarker(AccountBase *account, const QString &marker)
    {
        account->accountSettingModel()->setValue(u"drafts"_s, marker, true);
        return marker;
    }
    /// All that was posted to the save thread so far is done, and nothing is closed.
    static void drain()
    {
        QSemaphore done;
        ThreadManager::invoke([&] { done.release(); }, true);
        done.acquire();
        ImLog::instance()->flush();
    }
    ScriptedServer m_server;
    std::unique_ptr<ModelLayer> m_layer;
};

QTEST_MAIN(TestWiped)
#include "tst_wiped.moc"
