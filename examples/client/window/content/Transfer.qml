import QtQuick
import im.modelbase

/// The progress of a file's transfer; empty while there is none.
Mark {
    id: transfer

    property FileData file
    readonly property bool isRunning: file?.fileState === BaseFile.Uploading
                                      || file?.fileState === BaseFile.Downloading
    readonly property bool hasFailed: file?.fileState === BaseFile.UploadFailed
                                      || file?.fileState === BaseFile.DownloadFailed

    //% "Failed"
    readonly property string failed: qsTrId("client_transfer_failed")

    text: isRunning ? (file?.percent ?? 0) + " %" : hasFailed ? failed : ""
}
