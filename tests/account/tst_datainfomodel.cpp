#include "account/datainfomodel.h"
#include "account/threadmanager.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/files.h"

#include <QDir>
#include <QJSEngine>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

namespace
{

/// One datum of each type, as text; set to a value of its own when `save` is true.
QStringList values(DataInfoModel &model, bool save)
{
    if (save) {
        model.saveDialogOffset((qint64(1) << 40) + 1);
        model.saveNotebookOpened(true);
        model.saveTagsList(QByteArray("\0\xff,", 3));
    }
    return {QString::number(model.dialogOffset()), QString::number(model.notebookOpened()),
            QString::fromLatin1(model.tagsList().toHex())};
}

QList<bool> present(const DataInfoModel &model)
{
    return {model.containArchiveDialogs(), model.containArchiveNotebooks(),
            model.containNotebookRecentNotes(), model.containNotebookSearchRecords()};
}

} // namespace

class TestDataInfoModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        ThreadManager::getInstance()->init();
        open();
    }
    void cleanup()
    {
        ThreadManager::getInstance()->quitAll();
        const QString path = m_account->userStatusDataPath();
        m_account.reset();
        QDir(path).removeRecursively();
    }

    void keysAndTypes()
    {
        static const QRegularExpression macro(u"^    MODELBASE_(DATUM\\w*)\\(([^)]*)\\)"_s,
                                              QRegularExpression::MultilineOption);
        static const QRegularExpression separator(u"[, \"]+"_s);
        QStringList found;
        for (const auto &match :
             macro.globalMatch(QString::fromUtf8(contents(QStringLiteral(HEADER))))) {
            const QStringList words = match.captured(2).split(separator, Qt::SkipEmptyParts);
            found.append(match.captured(1) + u' ' + words.join(u' '));
        }
        QCOMPARE(found, facts(u"datainfo.txt"_s));
    }

    void everyType()
    {
        QCOMPARE(values(model(), false), (QStringList{u"0"_s, u"0"_s, {}}));
        QList<bool> expected(4, false);
        QCOMPARE(present(model()), expected); // none is saved by being read
        const QStringList saved{u"1099511627777"_s, u"1"_s, u"00ff2c"_s};
        QCOMPARE(values(model(), true), saved);
        open();
        QCOMPARE(values(model(), false), saved);
        QCOMPARE(stored(u"dialog_offset"_s), QVariant((qint64(1) << 40) + 1));
        QCOMPARE(stored(u"notebook_opened"_s), QVariant(true));
        QCOMPARE(stored(u"tags_list"_s), QVariant(QByteArray("\0\xff,", 3)));
        int number = 0;
        for (const auto save :
             {&DataInfoModel::saveArchiveDialogs, &DataInfoModel::saveArchiveNotebooks,
              &DataInfoModel::saveNotebookRecentNotes, &DataInfoModel::saveNotebookSearchRecords}) {
            (model().*save)({});
            open();
            expected[number++] = true;
            QCOMPARE(present(model()), expected);
        }
        const QMetaObject *meta = model().metaObject();
        QCOMPARE(meta->methodCount(), meta->methodOffset());
        QCOMPARE(meta->propertyCount(), meta->propertyOffset());
        QCOMPARE(QJSEngine::objectOwnership(&model()), QJSEngine::CppOwnership);
    }

    void unretrievableIds()
    {
        QCOMPARE(model().unretrievableIds(), QStringList{u""_s});
        // Empty parts stay, and a separator inside an id parts it.
        for (const QString &joined : {u""_s, u"2,1,2"_s, u",1,"_s}) {
            model().saveUnretrievableIds({joined});
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            model().saveUnretrievableIds(joined.split(u','));
            open();
            QCOMPARE(model().unretrievableIds(), joined.split(u','));
            QCOMPARE(stored(u"unretrievable_ids"_s), joined);
        }
    }

    void memoryAndStore()
    {
        model().saveMissRange(u"k"_s, "stored");
        open();
        for (const bool skip : {true, false}) {
            model().clearData(skip);
            QCOMPARE(model().missRange(u"k"_s), QByteArray());
            // What the memory does not know is left alone in the store.
            model().removeMissRange(u"k"_s);
            model().loadLocalData(skip);
            QCOMPARE(model().missRange(u"k"_s), skip ? QByteArray() : QByteArray("stored"));
        }
        m_account->storage()->bufferConfigStorage()->save({u"k"_s, u"newer"_s});
        model().loadLocalData(true);
        QCOMPARE(model().missRange(u"k"_s), QByteArray("stored"));
        model().loadLocalData(false);
        QCOMPARE(model().missRange(u"k"_s), QByteArray("newer"));
        model().removeMissRange(u"k"_s);
        QCOMPARE(model().missRange(u"k"_s), QByteArray());
        open();
        QVERIFY(!stored(u"k"_s).isValid());
    }

    void theSaveThreadWritesForTheMainThreadOnly()
    {
        QSemaphore reached;
        QSemaphore released;
        ThreadManager::invoke(
            [&] {
                reached.release();
                released.acquire();
            },
            true);
        reached.acquire();
        model().saveMissRange(u"k"_s, "main");
        model().saveMissRange(u"gone"_s, "x");
        QVERIFY(!stored(u"k"_s).isValid());
        // Another thread does not wait for the save thread; what came before goes with it.
        std::thread([&] { model().saveDialogOffset(5); }).join();
        QCOMPARE(stored(u"k"_s), QByteArray("main"));
        QCOMPARE(stored(u"dialog_offset"_s), 5);
        model().saveMissRange(u"k"_s, "older");
        std::thread([&] {
            model().saveMissRange(u"k"_s, "newer");
            model().removeMissRange(u"gone"_s);
        }).join();
        QVERIFY(!stored(u"gone"_s).isValid());
        released.release();
        ThreadManager::getInstance()->quitAll();
        QCOMPARE(stored(u"k"_s), QByteArray("newer"));
        model().saveMissRange(u"k"_s, "without a save thread");
        QCOMPARE(stored(u"k"_s), model().missRange(u"k"_s));
    }

private:
    /// The account as the next start of the program has it.
    void open()
    {
        m_account.reset();
        m_account = std::make_unique<FakeAccount>();
        m_account->setAccountId(7);
        QVERIFY(m_account->openStorage(true));
    }
    DataInfoModel &model() { return *m_account->dataInfoModel(); }
    /// What another process would find in the store now.
    QVariant stored(const QString &key) const
    {
        storage::UserStorageProvider provider;
        provider.open(m_account->userStatusDataPath(), false);
        return provider.bufferConfigStorage()->value(key);
    }

    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestDataInfoModel)
#include "tst_datainfomodel.moc"
