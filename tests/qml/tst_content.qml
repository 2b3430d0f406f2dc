import QtQuick
import QtTest
import im.modelbase

TestCase {
    id: test
    name: "Content"

    function init() {
        testbed.watchNothing()
    }

    function test_everyKind_data() {
        return testbed.kinds()
    }

    /// Each kind comes to QML as its own type, and stays, with the objects inside it, when the
    /// engine has cleared up.
    function test_everyKind(row) {
        const types = { ContentItem, ImageItem, VideoItem, VoiceItem, MusicItem, FileItem,
                        FolderItem, StickerItem, CardItem, LocationItem, SystemItem, CallItem,
                        MeetingItem, PollItem, LotteryItem, CombinedItem, MediaGroupItem,
                        FileGroupItem }
        function look() {
            const item = testbed.itemOf(row.tag, row.map)
            verify(item instanceof types[row.tag], row.tag + " came as " + item)
            const inside = [item, item.sourceFile, item.file, item.photo, item.titleItem,
                            item.caption]
            for (const content of item.members ?? [])
                inside.push(content)
            for (const entry of item.options ?? item.entries ?? [])
                inside.push(entry.content)
            const objects = inside.filter(object => object)
            for (const object of objects)
                testbed.watch(object)
            compare(objects.length, row.objects ?? 1)
        }
        look()
        gc()
        gc()
        wait(1)
        compare(testbed.deleted(), 0)

        if (row.name) {
            const item = testbed.itemOf(row.tag, row.map)
            const view = viewOf.createObject(test, { item: item, name: row.name })
            verify(!equal(view.value, row.set), "the new value is none")
            item[row.name] = row.set
            verify(equal(view.value, row.set), row.name + " is " + view.value)
            view.destroy()
        }
    }

    function test_valuesOwnNothing_data() {
        const text = { type: "text", content: "inside" }
        return [
            { tag: "PollItem", map: { type: "poll", options: [text] }, list: "options" },
            { tag: "LotteryItem", map: { type: "lottery", options: [text] }, list: "options" },
            { tag: "LotteryItem", map: { type: "lottery", options: [text] }, list: "prizes" },
            { tag: "CombinedItem", map: { type: "combined", entries: [{ messageId: 1, item: text }] },
              list: "entries" },
        ]
    }

    /// What a script keeps of an item keeps no content alive. Otherwise the collector would delete
    /// contents, and views that hear of it would run scripts in the midst of its work.
    function test_valuesOwnNothing(row) {
        const kept = testbed.itemOf(row.tag, row.map)[row.list][0]
        compare(kept.content.content, "inside")
        testbed.watch(kept.content)
        testbed.dropItems()
        compare(testbed.deleted(), 1)
        compare(kept.content, null)
    }

    function equal(one: var, other: var): bool {
        return JSON.stringify(one) === JSON.stringify(other)
    }

    Component {
        id: viewOf

        QtObject {
            property ContentItem item
            property string name
            readonly property var value: item ? item[name] : undefined
        }
    }

    /// Whatever way an object came to QML, the engine never deletes it.
    function test_garbageCollection() {
        function touch() {
            const objects = [testbed.dialog(),
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
