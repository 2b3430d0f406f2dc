#include "account/accountdevicemodel.h"
#include "protocol/common_data.pb.h"
#include "protocol/user_service.pb.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <QAbstractItemModelTester>
#include <QJSEngine>
#include <QSignalSpy>
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

im::user::ListDevicesResp answer(std::initializer_list<im::Device> devices,
                                 std::initializer_list<im::Device> sealed = {})
{
    im::user::ListDevicesResp resp;
    for (const im::Device &device : devices)
        *resp.add_devices() = device;
    for (im::Device device : sealed) {
        device.set_sealed(true);
        *resp.add_sealed_devices() = device;
    }
    return resp;
}

im::user::ListDevicesResp answer(int from, int to)
{
    im::user::ListDevicesResp resp;
    for (int id = from; id <= to; ++id)
        *resp.add_devices() = device(id);
    return resp;
}

using Ranges = QList<QPair<int, int>>;

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

    void filling()
    {
        im::user::ListDevicesResp resp =
            answer({device(4), device(ownId, "This one"), device(9)}, {device(6), device(ownId)});
        *resp.add_web_devices() = device(8);
        resp.set_delete_timer(im::GlobalEnums::THREE_MONTHS);
        QSignalSpy current(&model(), &AccountDeviceModel::currentDeviceChanged);
        QSignalSpy count(&model(), &AccountDeviceModel::countChanged);
        QSignalSpy inserted(&model(), &QAbstractItemModel::rowsInserted);
        QSignalSpy timer(&model(), &AccountDeviceModel::deviceDeleteTimerChanged);
        QSignalSpy valid(&model(), &AccountDeviceModel::validChanged);
        for (int time = 1; time <= 2; ++time) {
            model().setDeviceList(resp);
            QCOMPARE(ids(), (QList<int>{4, 9, 6, ownId}));
            QCOMPARE(model().currentDevice().value(u"deviceModel"_s), u"This one"_s);
            QCOMPARE(current.size(), 1);
            QCOMPARE(current[0][0].toMap(), model().currentDevice());
            QCOMPARE(count.size(), time);
            QCOMPARE(count.constLast()[0], 4);
            QCOMPARE(inserted.size(), time);
            QCOMPARE(inserted.constLast().mid(1), (QVariantList{0, 3}));
            QCOMPARE(timer.size(), 1);
            QCOMPARE(model().deviceDeleteTimer(), int(AccountDeviceModel::ThreeMonth));
            QCOMPARE(valid.size(), 2 * time - 1); // the clearing counts
            QVERIFY(model().valid());
        }
        QCOMPARE(model().allOtherDeviceIds(), (QVariantList{4, 9}));

        // Only this device: nothing is a row.
        model().setDeviceList(answer({device(ownId, "Renamed")}));
        QCOMPARE(model().rowCount(), 0);
        QCOMPARE(count.constLast()[0], 0);
        QCOMPARE(inserted.size(), 2);
        QCOMPARE(current.size(), 2);
        QCOMPARE(timer.size(), 2);
    }

    void clearing()
    {
        model().setDeviceList(answer({device(4), device(ownId)}));
        const SignalLog order({&model()});
        QSignalSpy count(&model(), &AccountDeviceModel::countChanged);
        model().loadLocalData(false);
        QVERIFY(order.names().isEmpty());
        model().clearData(true);
        QCOMPARE(count, (QList<QVariantList>{{0}}));
        model().clearData(true);
        QCOMPARE(count.size(), 1);
        QCOMPARE(model().rowCount(), 0);
        QVERIFY(!model().valid());
        QVERIFY(model().currentDevice().isEmpty());
        QVERIFY(order.names().contains(u"validChanged"_s));
        QVERIFY(!order.names().contains(u"currentDeviceChanged"_s));
        // After this the same device is news.
        model().setDeviceList(answer({device(ownId)}));
        QVERIFY(order.names().contains(u"currentDeviceChanged"_s));
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

    void removing_data()
    {
        QTest::addColumn<QVariantList>("removed");
        QTest::addColumn<Ranges>("ranges");
        QTest::addColumn<QList<int>>("left");
        const auto row = [](const char *name, const QVariantList &removed, const Ranges &ranges,
                            const QList<int> &left) {
            QTest::newRow(name) << removed << ranges << left;
        };
        row("none", {}, {}, {11, 12, 13, 14, 15, 16});
        row("unknown", {99, ownId, u"x"_s, QVariant()}, {}, {11, 12, 13, 14, 15, 16});
        row("first", {11}, {{0, 0}}, {12, 13, 14, 15, 16});
        row("last", {16}, {{5, 5}}, {11, 12, 13, 14, 15});
        row("a run, in any order, twice", {14, 12, 13, 12}, {{1, 3}}, {11, 15, 16});
        row("several runs", {11, 13, 14, 16}, {{5, 5}, {2, 3}, {0, 0}}, {12, 15});
        row("as texts and big numbers", {u"12"_s, qint64(15)}, {{4, 4}, {1, 1}}, {11, 13, 14, 16});
        row("all", {11, 12, 13, 14, 15, 16}, {{0, 5}}, {});
    }
    void removing()
    {
        QFETCH(const QVariantList, removed);
        QFETCH(const Ranges, ranges);
        QFETCH(const QList<int>, left);
        im::user::ListDevicesResp resp = answer(11, 16);
        *resp.add_devices() = device(ownId);
        model().setDeviceList(resp);
        const QVariantMap current = model().currentDevice();
        QSignalSpy rows(&model(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy count(&model(), &AccountDeviceModel::countChanged);
        model().removeDevices(removed);
        QCOMPARE(ids(), left);
        Ranges seen;
        for (const QVariantList &range : std::as_const(rows))
            seen.append({range[1].toInt(), range[2].toInt()});
        QCOMPARE(seen, ranges);
        QCOMPARE(count.size(), ranges.isEmpty() ? 0 : 1);
        if (!count.isEmpty())
            QCOMPARE(count[0][0], int(left.size()));
        QCOMPARE(model().currentDevice(), current);
        QVERIFY(model().valid());
    }

    void names()
    {
        QCOMPARE(model().getDeviceModelName(ownId), u""_s);
        model().setDeviceList(answer({device(ownId, "This one", "Own"), device(4, "Pocket", "A"),
                                      device(5, "Pocket", "B"), device(4, "Desk", "C")}));
        QCOMPARE(model().getDeviceModelName(ownId), u"This one"_s);
        QCOMPARE(model().getDeviceModelName(4), u"Pocket"_s);
        QCOMPARE(model().getDeviceModelName(99), u""_s);
        QCOMPARE(model().getAppName(u"Pocket"_s), u"A"_s);
        QCOMPARE(model().getAppName(u"Desk"_s), u"C"_s);
        QCOMPARE(model().getAppName(u"This one"_s), u""_s);
        QCOMPARE(model().getAppName(u"pocket"_s), u""_s);
        // A sealed record of this device is a row and goes first.
        model().setDeviceList(answer({device(ownId, "This one")}, {device(ownId, "Before")}));
        QCOMPARE(model().getDeviceModelName(ownId), u"Before"_s);
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
