import QtQuick
import QtTest
import im.modelbase

TestCase {
    id: test
    name: "Content"

    property ContentItem shown: null
    readonly property string text: shown ? shown.content : ""
    readonly property int itemHeight: shown ? shown.contentHeight : 0

    function test_bindChangeReadBack() {
        shown = testbed.item('{"type":"text","content":"one line"}')
        compare(shown.type, ContentItem.Text)
        compare(text, "one line")
        testbed.measure(shown, 300)
        const height = itemHeight
        verify(height > 0)
        testbed.setText(shown, "one line\nand another")
        compare(text, "one line\nand another")
        testbed.measure(shown, 300)
        verify(itemHeight > height)
        shown = null
    }

    function test_dialog() {
        const dialog = testbed.dialog()
        compare(dialog.name, "Picnic")
        compare(dialog.atMeMessageCount, 2)
        dialog.confirmAllAtMeMessages()
        compare(dialog.atMeMessageCount, 0)
        compare(dialog.confirmed, 2)
        dialog.setArchived(true)
        verify(dialog.archived)
    }

    /// Whatever way an object came to QML, the engine never deletes it.
    function test_garbageCollection() {
        function touch() {
            const objects = [testbed.item('{"type":"text","content":"kept"}'), testbed.dialog(),
                             AccountManager.getAccountByIndex(0), AccountManager.loginAccount,
                             AccountManager.notebookAccount, AccountManager.appDataMove,
                             AccountManager.newDeviceLoginManager, AccountManager,
                             AppSettingModel, ThreadManager]
            const account = AccountManager.notebookAccount
            objects.push(account.deviceModel, account.accountSettingModel)
            let watched = 0
            for (const object of objects) {
                if (object) {
                    testbed.watch(object)
                    ++watched
                }
            }
            return watched
        }
        verify(touch() >= 9)
        for (let i = 0; i < 5; ++i) {
            gc()
            wait(10)
        }
        compare(testbed.deleted(), 0)
    }
}
