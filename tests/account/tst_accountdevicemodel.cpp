#include "account/accountdevicemodel.h"
#include "protocol/common_data.pb.h"
#include "protocol/user_service.pb.h"
#include "support/fakeaccount.h"

#include <QAbstractItemModelTester>
#include <QFile>
#include <QJSEngine>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int ownId = 3;

im::Device device(int id, const char *model = "Pocket 7", const char *app = "Im")
{
    im::Device device;
    device.set_device_id(id);
    device.set_device_model(model);
    device.set_app_name(app);
    return device;
}

im::user::ListDevicesResp answer(std::initializer_list<im::Device> devices)
{
    im::user::ListDevicesResp resp;
    for (const im::Device &device : devices)
        *resp.add_devices() = device;
    return resp;
}

/// From words like 4, 4:Pocket, 4:Pocket:Im; "sealed", "web" and "timer" tell what follows.
im::user::ListDevicesResp answerOf(const QStringList &words)
{
    im::user::ListDevicesResp resp;
    QString kind;
    for (const QString &word : words) {
        const QStringList parts = word.split(u':');
        bool isNumber = false;
        im::Device one = device(parts[0].toInt(&isNumber), qUtf8Printable(parts.value(1)),
                                qUtf8Printable(parts.value(2)));
        one.set_sealed(kind == u"sealed");
        if (!isNumber)
            kind = word;
        else if (kind == u"timer")
            resp.set_delete_timer(im::GlobalEnums::DeviceDeleteTimer(one.device_id()));
        else
            *(kind.isEmpty()       ? resp.add_devices()
                  : kind == u"web" ? resp.add_web_devices()
                                   : resp.add_sealed_devices()) = one;
    }
    return resp;
}

/// As QML hands them over: ints, texts in quotes, big numbers with an L, and no value at all.
QVariantList idsOf(const QStringList &words)
{
    QVariantList ids;
    for (const QString &word : words) {
        if (word == u"null")
            ids.append(QVariant());
        else if (word.startsWith(u'L'))
            ids.append(word.mid(1).toLongLong());
        else if (word.startsWith(u'\''))
            ids.append(word.mid(1));
        else
            ids.append(word.toInt());
    }
    return ids;
}

} // namespace

class TestAccountDeviceModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_account = std::make_unique<FakeAccount>();
        m_account->setDeviceId(ownId);
        m_tester = std::make_unique<QAbstractItemModelTester>(
            &model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void everyField()
    {
        im::Device full = device(9, "Pocket Ü", "Im for Pockets");
        full.set_os("os");
        full.set_ip("10.0.0.1");
        full.set_ip_address("Bozen");
        full.set_timestamp(qint64(1) << 41);
        full.set_create_time((qint64(1) << 41) + 1);
        full.set_is_web(true);
        full.set_sealed(true);
        full.set_prompt("prompt");
        full.set_referer(5);
        full.set_available(true);
        full.set_paperkey_lang("de");
        full.set_permissions(6);
        const QVariantMap expected{{u"appName"_s, u"Im for Pockets"_s},
                                   {u"os"_s, u"os"_s},
                                   {u"ip"_s, u"10.0.0.1"_s},
                                   {u"ipAddress"_s, u"Bozen"_s},
                                   {u"updateTime"_s, qint64(1) << 41},
                                   {u"createTime"_s, (qint64(1) << 41) + 1},
                                   {u"deviceModel"_s, u"Pocket Ü"_s},
                                   {u"deviceId"_s, 9},
                                   {u"isWeb"_s, true},
                                   {u"sealed"_s, true},
                                   {u"prompt"_s, u"prompt"_s},
                                   {u"refererId"_s, 5},
                                   {u"available"_s, true},
                                   {u"language"_s, u"de"_s},
                                   {u"permissions"_s, 6}};
        const QVariantMap map = AccountDeviceModel::makeDeviceInfo(full);
        QCOMPARE(map, expected);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(map.value(it.key()).typeId(), it.value().typeId());

        model().setDeviceList(answer({full}));
        const QModelIndex index = model().index(0);
        QCOMPARE(AccountDeviceModel::DEVICE_ROLE, 257);
        QCOMPARE(model().roleNames(), (QHash<int, QByteArray>{{257, "device"}}));
        QCOMPARE(index.data(257), map);
        QVERIFY(!index.data(258).isValid());
        QVERIFY(!index.data(Qt::DisplayRole).isValid());
        QVERIFY(!model().data({}, 257).isValid());
        QCOMPARE(model().account(), m_account.get());
        QCOMPARE(QJSEngine::objectOwnership(&model()), QJSEngine::CppOwnership);
    }

    /// Runs the steps of devicescenarios.txt. Behind each arrow stands what the model holds
    /// afterwards, and which signals came, in their order.
    void scenarios()
    {
        QFile file(QFINDTESTDATA("devicescenarios.txt"));
        QVERIFY(file.open(QFile::ReadOnly));
        QStringList heard;
        const auto hear = [&](const char *name) {
            return [&heard, name] { heard.append(QString::fromLatin1(name)); };
        };
        const auto rows = [&](const char *name) {
            return [&heard, name](const QModelIndex &, int first, int last) {
                heard.append(u"%1(%2,%3)"_s.arg(QLatin1StringView(name)).arg(first).arg(last));
            };
        };
        connect(&model(), &QAbstractItemModel::modelReset, this, hear("reset"));
        connect(&model(), &QAbstractItemModel::rowsInserted, this, rows("inserted"));
        connect(&model(), &QAbstractItemModel::rowsRemoved, this, rows("removed"));
        connect(&model(), &AccountDeviceModel::validChanged, this, hear("valid"));
        connect(&model(), &AccountDeviceModel::deviceDeleteTimerChanged, this, hear("timer"));
        connect(&model(), &AccountDeviceModel::countChanged, this,
                [&](int count) { heard.append(u"count(%1)"_s.arg(count)); });
        connect(&model(), &AccountDeviceModel::currentDeviceChanged, this,
                [&](const QVariantMap &current) {
                    QCOMPARE(current, model().currentDevice());
                    heard.append(u"current"_s);
                });
        const QStringList expected = QString::fromUtf8(file.readAll()).split(u'\n');
        QStringList actual;
        for (const QString &line : expected) {
            if (line.isEmpty() || line.startsWith(u'#')) {
                actual.append(line);
                continue;
            }
            const QString step = line.section(u" -> "_s, 0, 0);
            const QStringList words = step.split(u' ').mid(1);
            QString answer;
            if (step.startsWith(u"fill"_s))
                model().setDeviceList(answerOf(words));
            else if (step.startsWith(u"remove"_s))
                model().removeDevices(idsOf(words));
            else if (step == u"load"_s)
                model().loadLocalData(false);
            else if (step == u"clear"_s)
                model().clearData(true);
            else if (step.startsWith(u"model"_s))
                answer = model().getDeviceModelName(words[0].toInt());
            else
                answer = model().getAppName(words[0]);
            QStringList rowIds;
            for (int id : ids())
                rowIds.append(QString::number(id));
            QStringList others;
            for (const QVariant &id : model().allOtherDeviceIds())
                others.append(id.toString());
            actual.append(u"%1 -> [%2] unsealed [%3], current \"%4\", timer %5, valid %6; %7%8"_s
                              .arg(step, rowIds.join(u' '), others.join(u' '),
                                   model().currentDevice().value(u"deviceModel"_s).toString())
                              .arg(model().deviceDeleteTimer())
                              .arg(model().valid())
                              .arg(heard.join(u' '), answer)
                              .trimmed());
            heard.clear();
        }
        QCOMPARE(actual, expected);
    }

    void handlersMayFillAnew()
    {
        bool again = true;
        connect(&model(), &AccountDeviceModel::currentDeviceChanged, this, [&] {
            if (std::exchange(again, false))
                model().setDeviceList(answer({device(ownId), device(5)}));
        });
        model().setDeviceList(answer({device(ownId), device(4), device(7)}));
        QCOMPARE(ids(), QList<int>{5});
    }

private:
    AccountDeviceModel &model() { return *m_account->deviceModel(); }
    QList<int> ids()
    {
        QList<int> ids;
        for (int row = 0; row < model().rowCount(); ++row)
            ids.append(model().index(row).data(257).toMap().value(u"deviceId"_s).toInt());
        return ids;
    }

    std::unique_ptr<FakeAccount> m_account;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(TestAccountDeviceModel)
#include "tst_accountdevicemodel.moc"
