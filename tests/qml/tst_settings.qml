import QtQuick
import QtTest
import im.modelbase

TestCase {
    id: test
    name: "Settings"

    // As an application binds a page of settings.
    readonly property int fontSize: AppSettingModel.themeFontSize
    readonly property bool dark: AppSettingModel.darkMode

    SignalSpy {
        id: fontSizeSpy
        target: AppSettingModel
        signalName: "themeFontSizeChanged"
    }

    function test_bindChangeReadBack() {
        compare(fontSize, 14)
        AppSettingModel.setThemeFontSize(18, true)
        compare(fontSize, 18)
        AppSettingModel.setThemeFontSize(18, true)
        compare(fontSizeSpy.count, 1)
        AppSettingModel.setDarkMode(true, true)
        verify(dark)
    }

    function test_valuesByKey() {
        compare(AppSettingModel.getValue("page", 7), 7)
        verify(AppSettingModel.setValue("page", {list: [1, "x"], map: {yes: true}}, true))
        compare(AppSettingModel.getValue("page", 7), {list: [1, "x"], map: {yes: true}})
        compare(AppSettingModel.getValue("page", 7).map.yes, true)
        const endless = {}
        endless.a = [endless]
        const refused = [() => 1, {a: () => 1}, [test], /a+/, endless]
        for (const value of refused) {
            ignoreWarning(/ cannot be stored: page/)
            verify(!AppSettingModel.setValue("page", value, true))
        }
        ignoreWarning(/ cannot be stored: showImHotKey/)
        AppSettingModel.setShowImHotkey({a: () => 1}, true)
        compare(AppSettingModel.showImHotkey, {})
        AppSettingModel.setShowImHotkey(endless, true)
        compare(AppSettingModel.showImHotkey, {a: [{}]})
        compare(AppSettingModel.getValue("page", 7).list, [1, "x"])
    }
}
