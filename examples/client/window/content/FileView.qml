import QtQuick
import im.modelbase
import Messenger.Content

/// A file or folder: an icon of its kind or a thumbnail, name and size; a caption.
ContentPart {
    id: view

    readonly property FileItem file: item as FileItem
    readonly property FolderItem folder: item as FolderItem
    readonly property bool hasImage: file?.fileType === FileItem.PictureFile
                                     || file?.fileType === FileItem.VideoFile

    function iconPath(): string {
        if (folder)
            return Icons.folder
        switch (file?.fileType) {
        case FileItem.PictureFile:
            return Icons.picture
        case FileItem.VideoFile:
            return Icons.video
        default:
            return Icons.file
        }
    }

    function detail(): string {
        const size = ContentFormat.bytes(file?.sourceFile?.size ?? 0)
        if (!folder)
            return size
        //% "%n file(s)"
        const count = qsTrId("client_file_count", folder.fileCount)
        return size ? count + ", " + size : count
    }

    Item {
        id: row
        width: view.mediaWidth
        height: caption.heightAbove(view.height)

        Rectangle {
            id: icon
            width: view.hasImage ? ContentMetrics.FileThumbnailSide : ContentMetrics.FileIconSide
            height: width
            radius: Theme.radius
            color: Theme.accent

            Icon {
                anchors.centerIn: parent
                width: 28
                height: 28
                path: view.iconPath()
                filled: false
                color: Theme.accentText
                visible: view.file?.fileType !== FileItem.PdfFile
            }

            PlainLabel {
                anchors.centerIn: parent
                color: Theme.accentText
                font.pixelSize: 13
                font.bold: true
                text: "PDF"
                visible: view.file?.fileType === FileItem.PdfFile
            }

            Picture {
                anchors.fill: parent
                visible: view.hasImage && isReady
                thumbnail: view.file?.thumbnailFile ?? null
                thumbBytes: view.file?.thumbNail ?? new ArrayBuffer(0)
            }

            Transfer {
                anchors.centerIn: parent
                file: view.file?.sourceFile ?? null
            }
        }

        Column {
            anchors.left: icon.right
            anchors.leftMargin: ContentMetrics.RowSpacing
            anchors.right: parent.right
            // Drawn text is a little wider or narrower than QFontMetrics calculates.
            anchors.rightMargin: -6
            anchors.verticalCenter: parent.verticalCenter

            PlainLabel {
                width: parent.width
                elide: Text.ElideMiddle
                text: view.file?.name() ?? ""
            }

            PlainLabel {
                width: parent.width
                muted: true
                text: view.detail()
            }
        }

        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: view.opened(view.item)
        }
    }

    Caption {
        id: caption
        part: view
        mediaWidth: view.mediaWidth
    }
}
