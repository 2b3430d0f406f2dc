#pragma once

#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "base/util.h"
#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/fakeaccount.h"
#include "support/mediatree.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

inline const QList<qint64> accountIds = {10001, 10002};

/// In an account's folder, and none of its media.
inline const QString foreignFile = u".moving"_s;

/// An account that opens its store wherever it is.
class MediaAccount : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void restore(QVariantMap params, bool, int) override
    {
        setAccountId(params.value(u"userId"_s).toLongLong());
        setAuthorized(accountId() != lockedId && openStorage(true));
    }
    void logout(bool deleteThis) override
    {
        // Not what somebody else has put beside the media.
        const QDir place(userCacheDataPath());
        for (const QString &folder : place.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (folder != u"userstatus"_s)
                Util::removeLocalFolder(place.filePath(folder));
        }
        FakeAccount::logout(deleteThis);
    }
    void deleteAccount(bool deleteChats, int retryTimes, bool silent, bool recoverable) override
    {
        if (!isOffline)
            FakeAccount::deleteAccount(deleteChats, retryTimes, silent, recoverable);
    }

    static inline bool isOffline = false; ///< a wipe does not come to them
    static inline qint64 lockedId = 0;    ///< which cannot be opened just now
};

/// The media of all accounts: what is to be moved, and nothing of what lies beside it.
inline MediaTree readMedia(const QString &root)
{
    MediaTree media;
    for (const qint64 id : accountIds) {
        const MediaTree files = MediaTree::read(root + u'/' + QString::number(id));
        for (auto file = files.files.cbegin(); file != files.files.cend(); ++file) {
            if (!file.key().startsWith(u"userstatus/") && file.key() != foreignFile)
                media.files.insert(QString::number(id) + u'/' + file.key(), file.value());
        }
    }
    return media;
}

inline void fillMedia(const QString &root, quint32 seed, int count = 6)
{
    for (const qint64 id : accountIds) {
        for (const QString &folder : {u"photo"_s, u"sticker"_s, u"clouddrive/video"_s,
                                      u"schedule/messagefile"_s, u"file"_s})
            MediaTree::fill(root + u'/' + QString::number(id) + u'/' + folder, count, ++seed);
        MediaTree::write(root + u"/%1/audio/empty"_s.arg(id), {});
    }
}

/// An application with two accounts, whose media are at source().
class DataMoveTest : public QObject
{
    Q_OBJECT

protected:
    static QString source() { return AppDirManager::instance()->defaultCacheDataDir(); }
    QString target() const { return m_home->path() + u"/disk/new/"_s; }
    static AppDataMove *dataMove() { return AccountManager::getInstance()->appDataMove(); }
    static AppSettingModel *settings() { return AppSettingModel::instance(); }

    void start()
    {
        startApplication<MediaAccount>();
        m_errors =
            std::make_unique<QSignalSpy>(AccountManager::getInstance(), &AccountManager::error);
        m_finished = std::make_unique<QSignalSpy>(dataMove(), &AppDataMove::finished);
    }
    void restart(qint64 lockedId = 0)
    {
        leaveApplication();
        MediaAccount::lockedId = lockedId;
        start();
        MediaAccount::lockedId = 0;
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QSignalSpy> m_errors;
    std::unique_ptr<QSignalSpy> m_finished;

protected Q_SLOTS:
    void init()
    {
        // Where there are two file systems, two.
        m_home = std::make_unique<QTemporaryDir>(u"/dev/shm/datamove-XXXXXX"_s);
        if (!m_home->isValid())
            m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(target()));
        ThreadManager::getInstance()->init();
        settings()->loadGlobalData();
        settings()->setAccountIds({accountIds.cbegin(), accountIds.cend()});
        start();
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), source());
    }
    void cleanup()
    {
        leaveApplication();
        for (const QString &entry :
             QDir(source()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            if (entry != u"log") {
                QDir(source() + entry).removeRecursively();
                QFile::remove(source() + entry);
            }
        }
    }
};
