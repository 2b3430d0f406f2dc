import QtQuick
import QtTest
import im.modelbase

TestCase {
    name: "Models"

    // As an application binds a page of settings, and a list of accounts.
    readonly property int fontSize: AppSettingModel.themeFontSize
    Instantiator {
        id: rail
        model: AccountManager
        delegate: QtObject {
            required property AccountBase modelData
        }
    }

    function test_settings() {
        compare(fontSize, 14)
        AppSettingModel.setThemeFontSize(18, true)
        compare(fontSize, 18)
        verify(AppSettingModel.setValue("page", {list: [1, "x"], map: {yes: true}}, true))
        compare(AppSettingModel.getValue("page", 7), {list: [1, "x"], map: {yes: true}})
        ignoreWarning(/ cannot be stored: page/)
        verify(!AppSettingModel.setValue("page", [rail], true))
        const endless = {}
        endless.a = [endless]
        AppSettingModel.setShowImHotkey(endless, true)
        compare(AppSettingModel.showImHotkey, {a: [{}]})
    }

    function test_accounts() {
        verify(testbed.signIn(1001))
        verify(testbed.signIn(1002))
        compare(rail.count, 2)
        compare(rail.objectAt(0).modelData.accountId, 1001)
        AccountManager.setCurrentAccount(1001)
        compare(AccountManager.currentAccount.accountId, 1001)
        const settings = AccountManager.currentAccount.accountSettingModel
        settings.setLeftTabWidth(96, true)
        compare(settings.leftTabWidth, 96)
    }
}
