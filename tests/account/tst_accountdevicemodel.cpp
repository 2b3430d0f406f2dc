#include "account/accountdevicemodel.h"
#include "base/json.h"
#include "protocol/user_service.pb.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <google/protobuf/text_format.h>

#include <QAbstractItemModelTester>
#include <QFile>
#include <QJSEngine>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// From the text format of protobuf.
im::user::ListDevicesResp answer(const QString &text)
{
    im::user::ListDevicesResp resp;
    if (!google::protobuf::TextFormat::ParseFromString(text.toStdString(), &resp))
        qFatal("no answer: %s", qPrintable(text));
    return resp;
}

} // namespace

class TestAccountDeviceModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_account = std::make_unique<FakeAccount>();
        m_account->setDeviceId(3);
        m_tester = std::make_unique<QAbstractItemModelTester>(
            &model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void roles()
    {
        model().setDeviceList(answer(u"devices { device_id: 9 }"_s));
        const QModelIndex index = model().index(0);
        QCOMPARE(AccountDeviceModel::DEVICE_ROLE, 257);
        QCOMPARE(model().roleNames(), (QHash<int, QByteArray>{{257, "device"}}));
        QVERIFY(index.data(257).isValid() && !model().data({}, 257).isValid());
        QVERIFY(!index.data(258).isValid() && !index.data(Qt::DisplayRole).isValid());
        QCOMPARE(model().account(), m_account.get());
        QCOMPARE(QJSEngine::objectOwnership(&model()), QJSEngine::CppOwnership);
    }

    /// Runs the steps of devicescenarios.txt. Behind each arrow stands what the model holds
    /// afterwards, and which signals came, in their order.
    void scenarios()
    {
        QFile file(QFINDTESTDATA("devicescenarios.txt"));
        QVERIFY(file.open(QFile::ReadOnly));
        connect(&model(), &AccountDeviceModel::currentDeviceChanged, this,
                [&](const QVariantMap &current) { QCOMPARE(current, model().currentDevice()); });
        connect(&model(), &AccountDeviceModel::countChanged, this,
                [&](int count) { QCOMPARE(count, model().rowCount()); });
        SignalLog log({&model()});
        for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
            if (line.isEmpty() || line.startsWith(u'#'))
                continue;
            const QString step = line.section(u" -> "_s, 0, 0);
            const QString verb = step.section(u' ', 0, 0);
            const QString argument = step.section(u' ', 1);
            QString result;
            if (verb == u"fill"_s)
                model().setDeviceList(answer(argument));
            else if (verb == u"remove"_s)
                model().removeDevices(jsonToList(argument.toUtf8()));
            else if (verb == u"load"_s)
                model().loadLocalData(false);
            else if (verb == u"clear"_s)
                model().clearData(true);
            else if (verb == u"model"_s)
                result = model().getDeviceModelName(argument.toInt());
            else if (verb == u"app"_s)
                result = model().getAppName(argument);
            else
                QDebug(&result) << model().index(0).data(257).toMap();
            QCOMPARE(u"%1 -> %2 unsealed %3, current \"%4\", timer %5, valid %6; %7%8"_s
                         .arg(step, QString::fromUtf8(listToJson(ids())),
                              QString::fromUtf8(listToJson(model().allOtherDeviceIds())),
                              model().currentDevice().value(u"deviceModel"_s).toString())
                         .arg(model().deviceDeleteTimer())
                         .arg(model().valid())
                         .arg(log.take(), result)
                         .trimmed(),
                     line);
        }
    }

    void handlersMayFillAnew()
    {
        const QString own = u"devices { device_id: 3 }"_s;
        connect(
            &model(), &AccountDeviceModel::currentDeviceChanged, this,
            [&] { model().setDeviceList(answer(own + u"devices { device_id: 5 }"_s)); },
            Qt::SingleShotConnection);
        model().setDeviceList(answer(own + u"devices { device_id: 4 } devices { device_id: 7 }"_s));
        QCOMPARE(ids(), QVariantList{5});
    }

private:
    AccountDeviceModel &model() { return *m_account->deviceModel(); }
    QVariantList ids()
    {
        QVariantList ids;
        for (int row = 0; row < model().rowCount(); ++row)
            ids.append(model().index(row).data(257).toMap().value(u"deviceId"_s));
        return ids;
    }

    std::unique_ptr<FakeAccount> m_account;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(TestAccountDeviceModel)
#include "tst_accountdevicemodel.moc"
