pragma ComponentBehavior: Bound

import QtQuick
import im.modelbase

/// A poll or quiz: the question, the options with their bars and shares, the answer.
ContentPart {
    id: view

    readonly property PollItem poll: item as PollItem
    readonly property bool hasVoted: (poll?.votedOptions.length ?? 0) > 0
    /// Votes are hidden until one's own vote.
    readonly property bool showsVotes: hasVoted || (poll?.ended ?? false)

    function kindText(): string {
        if (!poll)
            return ""
        let words = ""
        if (poll.ended) {
            //% "Final results"
            words = qsTrId("client_poll_ended")
        } else if (poll.quizMode) {
            //% "Quiz"
            words = qsTrId("client_poll_quiz")
        } else {
            //% "Poll"
            words = qsTrId("client_poll")
        }
        if (poll.anonymous) {
            //% "anonymous"
            words += " · " + qsTrId("client_poll_anonymous")
        }
        if (poll.multiple) {
            //% "several answers"
            words += " · " + qsTrId("client_poll_multiple")
        }
        return words
    }

    function footerText(): string {
        switch (poll?.answer) {
        case PollItem.RightAnswer:
            //% "Right!"
            return qsTrId("client_poll_right") + (poll.comment ? " " + poll.comment : "")
        case PollItem.WrongAnswer:
            //% "Wrong."
            return qsTrId("client_poll_wrong") + (poll.comment ? " " + poll.comment : "")
        }
        const count = poll?.votersTotal ?? 0
        if (count === 0) {
            //% "No votes yet"
            return qsTrId("client_poll_no_votes")
        }
        //% "%n vote(s)"
        return qsTrId("client_poll_votes", count)
    }

    Column {
        width: view.width

        InnerContent {
            item: view.poll?.titleItem ?? null
            textWidth: view.messageWidth
            onActivated: (type, text, data) => view.activated(type, text, data)
        }

        PlainLabel {
            width: parent.width
            height: ContentMetrics.PollKindHeight
            muted: true
            font.pixelSize: Math.min(Theme.smallFontSize, 14)
            text: view.kindText()
        }

        Repeater {
            model: view.poll?.options ?? []

            Item {
                id: row

                required property int index
                required property pollOption modelData

                width: view.width
                height: ContentMetrics.PollOptionSpacing
                        + Math.max(ContentMetrics.LeastSide, option.implicitHeight
                                   + ContentMetrics.PollBarSpacing + ContentMetrics.PollBarHeight)

                PlainLabel {
                    width: ContentMetrics.PollPercentWidth - 6
                    y: option.y
                    height: option.implicitHeight
                    horizontalAlignment: Text.AlignRight
                    font.pixelSize: Math.min(Theme.smallFontSize, 14)
                    font.bold: true
                    text: row.modelData.percent + "%"
                    visible: view.showsVotes
                }

                Rectangle {
                    x: (ContentMetrics.PollPercentWidth - 6 - width) / 2
                    y: option.y + (option.implicitHeight - height) / 2
                    width: 18
                    height: 18
                    radius: view.poll?.multiple ? 4 : 9
                    color: "transparent"
                    border.color: Theme.mutedText
                    border.width: 2
                    visible: !view.showsVotes
                }

                InnerContent {
                    id: option
                    x: ContentMetrics.PollPercentWidth
                    y: row.height - implicitHeight - ContentMetrics.PollBarSpacing
                       - ContentMetrics.PollBarHeight
                    item: row.modelData.content
                    textWidth: view.messageWidth - x
                    //% "(cannot be shown here)"
                    otherwise: qsTrId("client_cannot_be_shown")
                }

                Rectangle {
                    x: ContentMetrics.PollPercentWidth
                    y: row.height - height
                    width: view.width - x
                    height: ContentMetrics.PollBarHeight
                    radius: height / 2
                    color: Theme.track

                    Rectangle {
                        width: parent.width * row.modelData.percent / 100
                        height: parent.height
                        radius: parent.radius
                        color: row.modelData.right ? Theme.right
                                                   : view.poll?.answer === PollItem.WrongAnswer
                                                     && row.modelData.voted ? Theme.wrong
                                                                            : Theme.accent
                        visible: view.showsVotes
                    }
                }

                // The user's own vote.
                Icon {
                    x: ContentMetrics.PollPercentWidth - 6 - width
                    y: option.y - height + 2
                    width: 14
                    height: 14
                    path: Icons.check
                    filled: false
                    color: row.modelData.right ? Theme.right : Theme.link
                    visible: row.modelData.voted || (row.modelData.right && view.hasVoted)
                }

                MouseArea {
                    anchors.fill: parent
                    enabled: !view.showsVotes
                    cursorShape: Qt.PointingHandCursor
                    onClicked: view.voted(row.index)
                }
            }
        }

        PlainLabel {
            width: parent.width
            height: ContentMetrics.PollFooterHeight
            color: view.poll?.answer === PollItem.RightAnswer
                   ? Theme.right : view.poll?.answer === PollItem.WrongAnswer ? Theme.wrong
                                                                              : Theme.mutedText
            font.pixelSize: Math.min(Theme.smallFontSize, 12)
            wrapMode: Text.Wrap
            maximumLineCount: 2
            text: view.footerText()
        }
    }
}
