#include "feeds/bodyreader.h"

#include "feeds/bodykinds.h"
#include "feeds/markup.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QStringList>

namespace
{

using im::content::Content;

const QString kindMark = QStringLiteral(":: ");
const QString buttonMark = QStringLiteral(":: buttons ");
constexpr int protocolFormat = 2; // im.Message.content_format_ver

/// Reads the last lines, each a row of buttons: "[text](url) [text](callback:data)".
void readButtons(QStringList &lines, Content &content)
{
    static const QRegularExpression button(QStringLiteral("\\[([^\\]]+)\\]\\(([^)\\s]+)\\)"));
    qsizetype first = lines.size();
    while (first > 0 && lines[first - 1].startsWith(buttonMark))
        --first;
    for (const QString &line : lines.sliced(first)) {
        im::content::InlineKeyboardButtonRow *row = content.add_buttons();
        auto matches = button.globalMatch(line);
        while (matches.hasNext()) {
            const auto match = matches.next();
            im::content::InlineKeyboardButton *added = row->add_buttons();
            added->set_id(QStringLiteral("%1.%2")
                              .arg(content.buttons_size())
                              .arg(row->buttons_size())
                              .toStdString());
            added->set_text(match.captured(1).toStdString());
            if (const QString data = match.captured(2); data.startsWith(u"callback:"))
                added->set_callback_data(data.section(u':', 1).toStdString());
            else
                added->set_url(data.toStdString());
        }
        if (row->buttons().empty())
            throw RecorderError(QStringLiteral("a row without buttons: %1").arg(line));
    }
    lines.erase(lines.begin() + first, lines.end());
}

im::Message finished(Draft &draft)
{
    if (!draft.isRaw) {
        draft.message.set_content(draft.content.SerializeAsString());
        draft.message.set_content_format_ver(protocolFormat);
    }
    return draft.message;
}

} // namespace

QList<im::Message> readBodies(const QString &body, const Cast &cast, const MediaFolder &media)
{
    QStringList lines = body.trimmed().split(u'\n');
    Content buttons;
    readButtons(lines, buttons);

    QStringList kinds;
    while (!lines.isEmpty() && lines.first().startsWith(kindMark))
        kinds.append(lines.takeFirst().mid(kindMark.size()));
    QString text = lines.join(u'\n').trimmed();
    QList<im::Message> messages;
    if (kinds.isEmpty()) {
        if (text.isEmpty())
            throw RecorderError(QStringLiteral("the message before this line is empty"));
        Draft draft{cast, media, Words({}), text, buttons, {}};
        *draft.content.mutable_text() = readMarkup(text, cast.botId);
        return {finished(draft)};
    }
    for (const QString &line : kinds) {
        Draft draft{cast, media, Words(line), text, buttons, {}};
        const QString name = draft.words.next("kind");
        const BodyKind read = bodyKind(name);
        if (!read)
            throw RecorderError(QStringLiteral("no kind of body is called %1").arg(name));
        read(draft);
        draft.words.expectEnd();
        messages.append(finished(draft));
        text.clear(); // in a group the first one has the caption
    }
    return messages;
}

qint64 readTime(const QString &text)
{
    QDateTime time = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm"));
    time.setTimeSpec(Qt::UTC);
    if (!time.isValid())
        throw RecorderError(QStringLiteral("no such time: %1").arg(text));
    return time.toMSecsSinceEpoch();
}
