import QtQuick
import QtTest
import im.modelbase

TestCase {
    id: test
    name: "Accounts"

    property bool veto: false

    Instantiator {
        id: rail
        model: AccountManager
        delegate: QtObject {
            required property AccountBase modelData
        }
    }

    Connections {
        target: AccountManager
        function onBeginChangeCurrentItem() {
            if (test.veto)
                AccountManager.setCurrentItemChangeable(AccountManager.AccountItem, false)
        }
    }

    function test_listAndSwitch() {
        verify(testbed.signIn(1001))
        verify(testbed.signIn(1002))
        compare(AccountManager.count, 2)
        compare(rail.count, 2)
        compare(rail.objectAt(0).modelData.accountId, 1001)
        AccountManager.setCurrentAccount(1001)
        compare(AccountManager.currentAccount.accountId, 1001)

        veto = true
        AccountManager.setCurrentAccount(1002)
        compare(AccountManager.currentAccount.accountId, 1001)
        veto = false
        AccountManager.setCurrentAccount(1002)
        compare(AccountManager.currentAccount.accountId, 1002)

        const settings = AccountManager.currentAccount.accountSettingModel
        settings.setLeftTabWidth(96, true)
        compare(settings.leftTabWidth, 96)
    }
}
