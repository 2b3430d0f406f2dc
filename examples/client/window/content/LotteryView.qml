pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// A red packet or prize draw: its prizes and its state.
ContentPart {
    id: view

    readonly property LotteryItem lottery: item as LotteryItem
    readonly property bool isPacket: lottery?.kind === LotteryItem.RedPacket
    /// Amounts are in hundredths.
    readonly property int decimals: 2

    function stateText(): string {
        if (!lottery || lottery.kind === LotteryItem.UnknownKind)
            return ""
        if (lottery.hasMyShare && isPacket) {
            //% "You drew %1"
            return qsTrId("client_lottery_my_amount").arg(lottery.myShare.amountText(decimals))
        }
        //% "%1 of %2 drawn"
        const drawn = qsTrId("client_lottery_drawn").arg(lottery.drawn).arg(lottery.total)
        return isPacket ? drawn + " · " + lottery.amountText(decimals) : drawn
    }

    Column {
        width: view.width

        Item {
            width: parent.width
            height: ContentMetrics.LotteryPictureHeight

            Rectangle {
                width: parent.width
                height: parent.height - 6
                radius: Theme.radius
                color: view.isPacket ? "#b3261e" : "#6a3fb0"

                Icon {
                    anchors.centerIn: parent
                    width: 40
                    height: 40
                    path: Icons.gift
                    filled: false
                    color: "#ffe3a3"
                }
            }
        }

        InnerContent {
            item: view.lottery?.titleItem ?? null
            textWidth: view.messageWidth
            onActivated: (type, text, data) => view.activated(type, text, data)
        }

        Repeater {
            model: view.lottery?.prizes ?? []

            Item {
                id: row

                required property int index
                required property lotteryPrize modelData

                width: view.width
                height: ContentMetrics.LotteryPrizeSpacing
                        + Math.max(ContentMetrics.LeastSide, prize.implicitHeight)

                Rectangle {
                    y: ContentMetrics.LotteryPrizeSpacing
                    width: parent.width
                    height: parent.height - y
                    radius: Theme.radius
                    color: Theme.shade
                }

                InnerContent {
                    id: prize
                    x: 8
                    y: ContentMetrics.LotteryPrizeSpacing
                       + (row.height - ContentMetrics.LotteryPrizeSpacing - implicitHeight) / 2
                    item: row.modelData.content
                    textWidth: view.messageWidth - ContentMetrics.LotteryQuantityWidth
                    otherwise: qsTrId("client_cannot_be_shown")
                }

                PlainLabel {
                    anchors.right: parent.right
                    anchors.rightMargin: 6
                    y: ContentMetrics.LotteryPrizeSpacing
                    height: parent.height - y
                    muted: true
                    text: row.modelData.drawn + "/" + row.modelData.quantity
                }
            }
        }

        PlainLabel {
            width: parent.width
            height: ContentMetrics.LotteryFooterHeight
            muted: true
            text: view.stateText()
        }
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: view.opened(view.item)
    }
}
