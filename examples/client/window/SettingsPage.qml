pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Messenger
import Messenger.Content
import im.modelbase

/// The application's settings: each control shows AppSettingModel's value and requests changes from
/// it.
PageFrame {
    id: page

    readonly property var languageNames: ({
            "en": "English",
            "ar": "العربية",
            "zh": "中文"
        })

    function languageName(code: string): string {
        return languageNames[code.split("_")[0]] ?? code
    }
    function proxy(): var {
        return JSON.parse(AppSettingModel.currentNetworkProxy || "{}")
    }
    function setProxy(key: string, value: string) {
        const changed = proxy()
        changed[key] = value
        AppSettingModel.currentNetworkProxy = JSON.stringify(changed)
    }

    //% "Settings"
    title: qsTrId("client_settings")
    flickable.objectName: "settingsView"

    component Heading: Text {
        Layout.topMargin: 8
        color: Theme.link
        font.pixelSize: 14
        font.bold: true
    }
    component PasscodeRow: SettingRow {
        id: passcodeRow
        required property bool present
        signal chosen(string passcode)

        Field {
            id: passcodeField
            implicitWidth: 130
            echoMode: TextInput.Password
            placeholderText: passcodeRow.present ? "••••" : ""
            onAccepted: {
                passcodeRow.chosen(text)
                clear()
            }
        }
        Chip {
            enabled: passcodeField.text !== "" || passcodeRow.present
            checked: passcodeField.text !== ""
            text: passcodeField.text === "" && passcodeRow.present
                //% "Remove"
                ? qsTrId("client_remove")
                //% "Set"
                : qsTrId("client_set")
            onClicked: {
                passcodeRow.chosen(passcodeField.text)
                passcodeField.clear()
            }
        }
    }

    Heading {
        //% "Appearance"
        text: qsTrId("client_appearance")
    }
    SettingRow {
        //% "Dark theme"
        text: qsTrId("client_dark")
        Toggle {
            on: AppSettingModel.darkMode
            onWanted: on => AppSettingModel.darkMode = on
        }
    }
    SettingRow {
        //% "Font size"
        text: qsTrId("client_font_size")
        //% "%1 pixels; every message is measured anew"
        hint: qsTrId("client_font_size_hint").arg(AppSettingModel.themeFontSize)
        Chip {
            text: "–"
            enabled: AppSettingModel.themeFontSize > 10
            onClicked: AppSettingModel.themeFontSize -= 1
        }
        Chip {
            text: "+"
            enabled: AppSettingModel.themeFontSize < 28
            onClicked: AppSettingModel.themeFontSize += 1
        }
    }
    SettingRow {
        //% "Plain mode"
        text: qsTrId("client_plain")
        //% "Texts without formats"
        hint: qsTrId("client_plain_hint")
        Toggle {
            on: AppSettingModel.plainModel
            onWanted: on => AppSettingModel.plainModel = on
        }
    }
    SettingRow {
        //% "Large emoji"
        text: qsTrId("client_large_emoji")
        //% "A message of a few emoji is shown large"
        hint: qsTrId("client_large_emoji_hint")
        Toggle {
            on: AppSettingModel.largeEmoji
            onWanted: on => AppSettingModel.largeEmoji = on
        }
    }
    SettingRow {
        //% "Language"
        text: qsTrId("client_language")
        Repeater {
            model: Messenger.languages
            Chip {
                required property string modelData
                text: page.languageName(modelData)
                checked: AppSettingModel.language === modelData
                onClicked: AppSettingModel.language = modelData
            }
        }
    }
    SettingRow {
        //% "Count muted dialogs"
        text: qsTrId("client_count_mute")
        //% "In the badge of the account"
        hint: qsTrId("client_count_mute_hint")
        Toggle {
            on: AppSettingModel.countMuteDialog
            onWanted: on => AppSettingModel.countMuteDialog = on
        }
    }

    Heading {
        //% "Automatic download"
        text: qsTrId("client_download")
    }
    SettingRow {
        //% "Media"
        text: qsTrId("client_download_media")
        //% "The choices below count while this is on"
        hint: qsTrId("client_download_media_hint")
        Toggle {
            on: AppSettingModel.autoDownloadMedia
            onWanted: on => AppSettingModel.autoDownloadMedia = on
        }
    }
    SettingRow {
        //% "Images in private chats and in groups"
        text: qsTrId("client_download_images")
        opacity: AppSettingModel.autoDownloadMedia ? 1 : 0.6
        Toggle {
            on: AppSettingModel.autoDownloadImagePrivateChats
            onWanted: on => AppSettingModel.autoDownloadImagePrivateChats = on
        }
        Toggle {
            on: AppSettingModel.autoDownloadImageGroupChats
            onWanted: on => AppSettingModel.autoDownloadImageGroupChats = on
        }
    }
    SettingRow {
        //% "Videos in private chats and in groups"
        text: qsTrId("client_download_videos")
        opacity: AppSettingModel.autoDownloadMedia ? 1 : 0.6
        Toggle {
            on: AppSettingModel.autoDownloadVideoPrivateChats
            onWanted: on => AppSettingModel.autoDownloadVideoPrivateChats = on
        }
        Toggle {
            on: AppSettingModel.autoDownloadVideoGroupChats
            onWanted: on => AppSettingModel.autoDownloadVideoGroupChats = on
        }
    }
    SettingRow {
        //% "Files in private chats and in groups"
        text: qsTrId("client_download_files")
        opacity: AppSettingModel.autoDownloadMedia ? 1 : 0.6
        Toggle {
            on: AppSettingModel.autoDownloadFilePrivateChats
            onWanted: on => AppSettingModel.autoDownloadFilePrivateChats = on
        }
        Toggle {
            on: AppSettingModel.autoDownloadFileGroupChats
            onWanted: on => AppSettingModel.autoDownloadFileGroupChats = on
        }
    }

    Heading {
        //% "Proxy"
        text: qsTrId("client_proxy")
    }
    SettingRow {
        //% "Connect by a proxy"
        text: qsTrId("client_proxy_on")
        Toggle {
            on: AppSettingModel.networkProxyState !== 0
            onWanted: on => AppSettingModel.networkProxyState = on ? 1 : 0
        }
    }
    SettingRow {
        //% "Host and port"
        text: qsTrId("client_proxy_host")
        opacity: AppSettingModel.networkProxyState !== 0 ? 1 : 0.6
        Field {
            implicitWidth: 200
            placeholderText: "proxy.example"
            text: page.proxy().host ?? ""
            onEditingFinished: page.setProxy("host", text)
        }
        Field {
            implicitWidth: 80
            placeholderText: "1080"
            text: page.proxy().port ?? ""
            validator: IntValidator {
                bottom: 1
                top: 65535
            }
            onEditingFinished: page.setProxy("port", text)
        }
    }

    Heading {
        //% "Lock"
        text: qsTrId("client_lock")
    }
    PasscodeRow {
        //% "Passcode"
        text: qsTrId("client_passcode")
        //% "Locks the window"
        hint: qsTrId("client_passcode_hint")
        present: AppLock.hasPasscode
        onChosen: passcode => AppLock.setPasscode(passcode)
    }
    PasscodeRow {
        //% "Passcode of the notebook"
        text: qsTrId("client_notebook_passcode")
        //% "Opens a hidden notebook instead of the accounts"
        hint: qsTrId("client_notebook_passcode_hint")
        present: AppLock.hasNotebookPasscode
        onChosen: passcode => AppLock.setNotebookPasscode(passcode)
    }
    PasscodeRow {
        //% "Destroying passcode"
        text: qsTrId("client_destroying_passcode")
        //% "Deletes every account, for good"
        hint: qsTrId("client_destroying_passcode_hint")
        present: AppLock.hasDestroyingPasscode
        onChosen: passcode => AppLock.setDestroyingPasscode(passcode)
    }
    SettingRow {
        //% "Lock now"
        text: qsTrId("client_lock_now")
        hint: AppLock.hasPasscode
            ? ""
            //% "Set a passcode first"
            : qsTrId("client_lock_now_hint")
        Chip {
            enabled: AppLock.hasPasscode
            checked: enabled
            text: qsTrId("client_lock")
            onClicked: AppLock.lock()
        }
    }

    Heading {
        //% "Debug lines in the console, by category"
        text: qsTrId("client_console")
    }
    Repeater {
        model: JSON.parse(AppSettingModel.consoleOptions || "[]")
        SettingRow {
            id: option
            required property var modelData
            text: modelData.uri
            Toggle {
                on: option.modelData.enable
                onWanted: on => AppSettingModel.changeConsoleOption(option.modelData.uri, on)
            }
        }
    }
}
