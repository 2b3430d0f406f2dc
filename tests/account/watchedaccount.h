#pragma once

#include "account/accountdevicemodel.h"
#include "account/datainfomodel.h"
#include "account/fileprovider.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "imcrypto/store.h"
#include "protocol/user_service.pb.h"
#include "settings/accountsettingmodel.h"
#include "support/fakeaccount.h"

#include <QAbstractItemModelTester>
#include <QMetaProperty>
#include <QScopedValueRollback>
#include <QTest>

#include <algorithm>

#define CHECK(condition) QTest::qVerify(bool(condition), #condition, "", __FILE__, __LINE__)

using namespace Qt::StringLiterals;

inline AccountManager *manager()
{
    return AccountManager::getInstance();
}

/// An account that checks what is asked of it, and whose data it holds.
class WatchedAccount : public FakeAccount
{
    Q_OBJECT

public:
    enum Stage { SignedOut, SignedIn, Gone };

    explicit WatchedAccount(QObject *parent);
    ~WatchedAccount() override
    {
        all.removeOne(this);
        CHECK(busy == 0);
    }

    void logout(bool deleteThis) override
    {
        const QScopedValueRollback<int> running(busy, busy + 1);
        CHECK(stage != Gone && !manager()->containsAccount(this));
        loggedOut();
        stage = deleteThis ? Gone : SignedOut;
        FakeAccount::logout(deleteThis);
        checkBelongsTo(0);
        CHECK(!signalStore()->userInfo());
        react();
    }
    void release(bool logOut, bool deleteThis) override
    {
        const QScopedValueRollback<int> running(busy, busy + 1);
        CHECK(stage != Gone && !manager()->containsAccount(this));
        CHECK(manager()->currentAccount() != this && manager()->loginAccount() != this);
        stage = Gone;
        givenUp();
        FakeAccount::release(logOut, deleteThis);
        react();
    }
    void deleteAccount(bool, int, bool, bool) override
    {
        const QScopedValueRollback<int> running(busy, busy + 1);
        CHECK(manager()->containsAccount(this));
        react();
        if (!slow)
            manager()->logout(this);
    }
    void initialize() override { called(); }
    void restore(QVariantMap params, bool connectNow, int reason) override;
    void setActive(bool) override { called(); }
    void enterNotebookMode() override { called(); }
    void reconnectToServer(bool) override { passedOn(); }
    void abortAndReconnect(bool) override { passedOn(); }
    void setProxy(const QNetworkProxy &) override { passedOn(); }
    void recordScreenLockLog(int, int, int) override { passedOn(); }

    /// What a person has, each with a value of its own.
    void fill(qint64 id)
    {
        setDeviceId(int(id));
        updatePhone(QString::number(id), QString::number(id));
        updateEmail(QString::number(id));
        setVerificationEmail(QString::number(id));
        setVerificationEnabled(true);
        setVerificationResetAt(id);
        setMaxDeviceCount(int(90 + id));
        setBannedState(TEMPORARY);
        updateFeature(1, Feature_ENABLED);
        accountSettingModel()->setLeftTabWidth(int(90 + id));
        dataInfoModel()->saveDialogOffset(id);
        im::user::ListDevicesResp devices;
        devices.add_devices()->set_device_id(int(id));
        devices.add_devices()->set_device_id(int(90 + id));
        devices.set_delete_timer(im::GlobalEnums::THREE_MONTHS);
        deviceModel()->setDeviceList(devices);
        signalStore()->saveUserKey({90 + id, 1, 1}, QByteArray(32, 'k'));
        m_file = deserializeContent({{u"fileId"_s, u"f%1"_s.arg(id)}}, ContentItem::File, 1, this);
        CHECK(fileProvider()->file(u"f%1"_s.arg(id)));
    }
    /// What is stored is that person's, or nobody's; of nobody nothing is there at all.
    void checkBelongsTo(qint64 id)
    {
        const int width = accountSettingModel()->leftTabWidth();
        const qint64 offset = dataInfoModel()->dialogOffset();
        CHECK(width == 72 || (id > 0 && width == 90 + id));
        CHECK(offset == 0 || offset == id);
        for (qint64 other = 1; other < 8; ++other) {
            if (other != id)
                CHECK(!isMyUserId(90 + other)
                      && (!fileProvider() || !fileProvider()->file(u"f%1"_s.arg(other))));
        }
        if (id > 0)
            return;
        CHECK(deviceModel()->count() == 0 && deviceModel()->currentDevice().isEmpty());
        CHECK(deviceModel()->deviceDeleteTimer() == AccountDeviceModel::Never);
        static const FakeAccount &fresh = *new FakeAccount;
        const QMetaObject *meta = &AccountBase::staticMetaObject;
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            if (QByteArrayView(property.name()) != "accountId"
                && !property.metaType().flags().testFlag(QMetaType::PointerToQObject))
                QVERIFY2(property.read(this) == property.read(&fresh), property.name());
        }
    }

    /// Runs `set`, in whose signals the object must not be deleted.
    template <typename Set>
    void run(Set set)
    {
        const QScopedValueRollback<int> running(busy, busy + 1);
        set();
    }

    /// May do anything to the accounts.
    static void react();

    static inline QList<WatchedAccount *> all; // that exist
    Stage stage = SignedOut;
    int busy = 0;      // how many of its functions run
    bool mine = false; // the test's own, not the manager's
    bool slow = false; // its deletion needs an answer of the server

private:
    QSharedPointer<ContentItem> m_file; // which the application still shows
    void loggedOut();
    void givenUp();
    void called()
    {
        const QScopedValueRollback<int> running(busy, busy + 1);
        react();
    }
    void passedOn()
    {
        CHECK(stage != Gone);
        CHECK(manager()->containsAccount(this) || manager()->loginAccount() == this);
        called();
    }
};

inline QList<WatchedAccount *> listed()
{
    QList<WatchedAccount *> list;
    for (int row = 0; row < manager()->rowCount(); ++row) {
        const QVariant data = manager()->data(manager()->index(row), AccountManager::ModelDataRole);
        list.append(static_cast<WatchedAccount *>(data.value<AccountBase *>()));
    }
    return list;
}

/// A view of the list that believes what it is told.
class Mirror : public QObject
{
public:
    explicit Mirror(AccountManager *model) : rows(listed())
    {
        const auto inserted = [this](const QModelIndex &, int first, int last) {
            inserting = false;
            const QList<WatchedAccount *> now = listed();
            for (int row = first; row <= last; ++row)
                rows.insert(row, now.value(row));
        };
        const auto removed = [this](const QModelIndex &, int first, int last) {
            rows.remove(first, std::min(last, int(rows.size()) - 1) - first + 1);
        };
        // The tester does not know that logoutAll() announces one row too many.
        const auto removing = [this, model](const QModelIndex &, int, int last) {
            if (last >= model->rowCount())
                tester.reset();
        };
        connect(model, &AccountManager::rowsAboutToBeInserted, this, [this] { inserting = true; });
        connect(model, &AccountManager::rowsInserted, this, inserted);
        connect(model, &AccountManager::rowsRemoved, this, removed);
        connect(model, &AccountManager::rowsAboutToBeRemoved, this, removing);
    }
    void check()
    {
        CHECK(std::ranges::equal(rows, listed()));
        if (!tester)
            tester = std::make_unique<QAbstractItemModelTester>(manager());
    }

    bool inserting = false;
    QList<WatchedAccount *> rows;
    std::unique_ptr<QAbstractItemModelTester> tester;
};
