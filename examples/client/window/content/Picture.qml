import QtQuick
import im.modelbase
import Messenger.Content

/// An image in its best available form: the small one of the message, the thumbnail, the file;
/// covered if it is a spoiler. It fills its size, cropped.
Item {
    id: picture

    property FileData file
    property FileData thumbnail
    property alias thumbBytes: bytes.bytes
    property bool isAnimated: false
    property bool isCovered: false
    property bool isFitted: false
    readonly property bool isReady: bytes.isReady || thumbnailImage.status === Image.Ready
                                    || still.status === Image.Ready
                                    || moving.status === AnimatedImage.Ready
    readonly property int fillMode: isFitted ? Image.PreserveAspectFit : Image.PreserveAspectCrop
    readonly property url source: ContentFormat.url(file?.filePath ?? "")
    readonly property url thumbnailSource: ContentFormat.url(thumbnail?.filePath ?? "")

    clip: true

    Rectangle {
        anchors.fill: parent
        color: Theme.shade
        visible: !picture.isReady

        Icon {
            anchors.centerIn: parent
            width: 32
            height: 32
            path: Icons.picture
            filled: false
            color: Theme.mutedText
        }
    }

    BytesPicture {
        id: bytes
        anchors.fill: parent
        visible: isReady && !picture.isFitted && (picture.isCovered
            || (thumbnailImage.status !== Image.Ready && still.status !== Image.Ready
                && moving.status !== AnimatedImage.Ready))
    }

    Image {
        id: thumbnailImage
        anchors.fill: parent
        asynchronous: true
        fillMode: picture.fillMode
        source: picture.isCovered ? "" : picture.thumbnailSource
        visible: status === Image.Ready && still.status !== Image.Ready
                 && moving.status !== AnimatedImage.Ready
    }

    Image {
        id: still
        anchors.fill: parent
        asynchronous: true
        fillMode: picture.fillMode
        source: picture.isCovered || picture.isAnimated ? "" : picture.source
        sourceSize.width: 2 * picture.width
        visible: status === Image.Ready
    }

    AnimatedImage {
        id: moving
        anchors.fill: parent
        fillMode: picture.fillMode
        source: picture.isCovered || !picture.isAnimated ? "" : picture.source
        visible: status === AnimatedImage.Ready
    }
}
