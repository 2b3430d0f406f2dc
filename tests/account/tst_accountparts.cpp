#include "account/accounttraces_p.h"
#include "account/meetingstate_p.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/signallog.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The small classes behind the accounts.
class TestAccountParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void meetings()
    {
        MeetingState state(nullptr);
        SignalLog log({&state});
        int failures = 0;
        const auto fail = [&] { ++failures; };
        auto first = std::make_unique<MeetingModelBase>();
        state.setJoiningId(u"m1"_s);
        QVERIFY(state.isJoining());
        QCOMPARE(log.take(), u"joiningChanged joiningIdChanged"_s);
        state.finish(true, first.get(), fail);
        QCOMPARE(log.take(), u"meetingChanged"_s); // joining until it ends
        state.finish(true, first.get(), fail);
        state.setMeeting(first.get());
        QCOMPARE(log.take(), QString());
        first.reset(); // ends it
        QVERIFY(!state.meeting() && !state.isJoining());
        QCOMPARE(log.take(), u"meetingChanged joiningChanged"_s);

        // A meeting that was replaced no longer ends anything.
        MeetingModelBase second;
        auto replaced = std::make_unique<MeetingModelBase>();
        state.setMeeting(replaced.get());
        state.setMeeting(&second);
        replaced.reset();
        QCOMPARE(state.meeting(), &second);
        QCOMPARE(log.take(), u"meetingChanged meetingChanged"_s);
        state.setJoining(true);
        state.finish(false, nullptr, fail);
        QCOMPARE(failures, 1);
        QVERIFY(!state.isJoining() && state.meeting() == &second);
        state.setJoining(true);
        state.finish(true, nullptr, fail);
        QVERIFY(!state.isJoining() && !state.meeting() && failures == 1);
    }

    void traces()
    {
        const QDir data(AppDirManager::instance()->defaultCacheDataDir());
        const auto store = [&](const QString &name) {
            return data.filePath(name + u"/userstatus"_s);
        };
        for (const QString &name : {u"7"_s, u"8"_s, u"9"_s, u"other"_s})
            QVERIFY(data.mkpath(store(name)));
        QVERIFY(data.mkpath(u"10/media"_s)); // no store: none of ours
        const auto standing = [&] {
            return QDir(data).entryList({u"7"_s, u"8"_s, u"9"_s, u"10"_s, u"other"_s}, QDir::Dirs,
                                        QDir::Name);
        };
        QTest::ignoreMessage(QtWarningMsg,
                             "The wipe leaves the store and the key of an account in use");
        QCOMPARE(AccountTraces::removeAll({store(u"8"_s)}), QVariantList());
        QCOMPARE(standing(), QStringList({u"10"_s, u"8"_s, u"other"_s}));

        // What a wipe could not remove goes at the next start, or before somebody signs in to it.
        const QString key = u"left_stores"_s;
        AppSettingModel *settings = AppSettingModel::instance();
        AccountTraces::note({u"8"_s, u"10"_s});
        QCOMPARE(settings->value(key, {}).toString(), uR"(["8","10"])"_s);
        QVERIFY(AccountTraces::makeRoom(9, data.filePath(u"9"_s)));
        QVERIFY(AccountTraces::makeRoom(8, data.filePath(u"8"_s)));
        QCOMPARE(standing(), QStringList({u"10"_s, u"other"_s}));
        QCOMPARE(settings->value(key, {}).toString(), uR"(["10"])"_s);
        AccountTraces::removeLeft({});
        QCOMPARE(standing(), QStringList({u"other"_s}));
        QVERIFY(!settings->value(key, {}).isValid());
    }
};

QTEST_MAIN(TestAccountParts)
#include "tst_accountparts.moc"
