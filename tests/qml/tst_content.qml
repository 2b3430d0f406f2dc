import QtQuick
import QtTest
import im.modelbase

TestCase {
    id: test
    name: "Content"

    property ContentItem shown: null
    readonly property string text: shown ? shown.content : ""
    readonly property int itemHeight: shown ? shown.contentHeight : 0

    function init() {
        testbed.watchNothing()
    }

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

    function test_everyKind_data() {
        return [
            { tag: "ImageItem", type: ImageItem, map: { type: "image", w: 40, h: 30 },
              name: "spoiler", set: true },
            { tag: "VideoItem", type: VideoItem, map: { type: "video" }, name: "duration", set: 7 },
            { tag: "VoiceItem", type: VoiceItem, map: { type: "audio" }, name: "duration", set: 7 },
            { tag: "MusicItem", type: MusicItem, map: { type: "music" }, name: "title", set: "La" },
            { tag: "FileItem", type: FileItem, objects: 2, map: { type: "file", fileId: "f1", fileName: "a.txt" },
              name: "displayName", set: "b.txt" },
            { tag: "FolderItem", type: FolderItem, map: { type: "folder" },
              name: "folders", set: [{ files: [{ fileName: "a" }], name: "top" }] },
            { tag: "StickerItem", type: StickerItem, objects: 2, map: { fileId: "s1", w: 9 },
              name: "hint", set: "a wink" },
            { tag: "CardItem", type: CardItem, objects: 2, map: { type: "card", photoId: "p1" },
              name: "nick", set: "Mira" },
            { tag: "LocationItem", type: LocationItem, map: { type: "location" },
              name: "place", set: "The boathouse" },
            { tag: "SystemItem", type: SystemItem, map: { type: "system", sysType: 3 },
              name: "mediaType", set: 2 },
            { tag: "CallItem", type: CallItem, map: { type: "call", state: CallItem.Finished },
              name: "duration", set: 61 },
            { tag: "MeetingItem", type: MeetingItem, map: { type: "meeting" },
              name: "nonce", set: "n" },
            { tag: "PollItem", type: PollItem, objects: 2,
              map: { type: "poll", options: [{ type: "text", content: "yes" }] },
              name: "comment", set: "why" },
            { tag: "LotteryItem", type: LotteryItem, objects: 2,
              map: { type: "lottery", title: { type: "text", content: "Three chances" } } },
            { tag: "CombinedItem", type: CombinedItem, objects: 2, map: { type: "combined", total: 2, entries: [
                { messageId: 1, item: { type: "text", content: "inside" } }] } },
            { tag: "MediaGroupItem", type: MediaGroupItem, objects: 4,
              map: { content: [{ type: "image" }, { type: "video" }] } },
            { tag: "FileGroupItem", type: FileGroupItem, objects: 4,
              map: { content: [{ type: "file" }, { type: "music" }] } },
        ]
    }

    /// Each kind comes to QML as its own type, and stays, with the objects inside it, when the
    /// engine has cleared up.
    function test_everyKind(row) {
        function look() {
            const item = testbed.itemOf(row.tag, row.map)
            verify(item instanceof row.type, row.tag + " came as " + item)
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
