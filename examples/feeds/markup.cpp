#include "feeds/markup.h"

#include "content/modelbaseutil.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <tuple>

using im::content::TextEntity;

namespace
{

/// Marks on both sides of a text, which may contain others.
constexpr struct {
    QLatin1StringView mark;
    TextEntity::Type type;
} pairs[] = {
    {QLatin1StringView("**"), TextEntity::BOLD},
    {QLatin1StringView("__"), TextEntity::ITALIC},
    {QLatin1StringView("~~"), TextEntity::STRIKETHROUGH},
    {QLatin1StringView("++"), TextEntity::UNDERLINE},
    {QLatin1StringView("||"), TextEntity::SPOILER},
};

/// Entities recognised without a mark; where two overlap, the earlier one in this list wins.
constexpr TextEntity::Type recognised[] = {
    TextEntity::URL,
    TextEntity::EMAIL,
    TextEntity::MENTION_IM_ID,
    TextEntity::HASH_TAG,
    TextEntity::BOT_COMMAND,
    TextEntity::PHONE_NUMBER,
    TextEntity::VIDEO_POSITION,
};

/// Formats may overlap a recognised entity (a bold link); all others exclude it.
bool isFormat(TextEntity::Type type)
{
    switch (type) {
    case TextEntity::BOLD:
    case TextEntity::ITALIC:
    case TextEntity::STRIKETHROUGH:
    case TextEntity::UNDERLINE:
    case TextEntity::SPOILER:
    case TextEntity::QUOTED:
        return true;
    default:
        return false;
    }
}

/// Converts "1:23:45" into seconds.
int seconds(const QString &time)
{
    int result = 0;
    for (const QString &part : time.split(u':'))
        result = result * 60 + part.toInt();
    return result;
}

class MarkupReader
{
public:
    explicit MarkupReader(int botId) : m_botId(botId) { }

    im::content::Text read(const QString &markup);

private:
    qsizetype readCode(const QStringList &lines, qsizetype first);
    qsizetype readQuote(const QStringList &lines, qsizetype first);
    void readLine(const QString &line);
    qsizetype readMark(const QString &line, qsizetype at);
    void recognise();
    TextEntity *add(TextEntity::Type type, qsizetype from);
    TextEntity *add(TextEntity::Type type, qsizetype from, qsizetype length);

    const int m_botId;
    QString m_text;
    im::content::Text m_record;
};

im::content::Text MarkupReader::read(const QString &markup)
{
    const QStringList lines = markup.split(u'\n');
    for (qsizetype i = 0; i < lines.size();) {
        if (i > 0)
            m_text += u'\n';
        if (lines[i].startsWith(QLatin1StringView("```"))) {
            i = readCode(lines, i);
        } else if (lines[i].startsWith(u'>')) {
            i = readQuote(lines, i);
        } else {
            readLine(lines[i]);
            ++i;
        }
    }
    recognise();
    m_record.set_text(m_text.toStdString());
    auto *entities = m_record.mutable_textentity();
    std::stable_sort(entities->pointer_begin(), entities->pointer_end(),
                     [](const TextEntity *a, const TextEntity *b) {
                         return std::tuple(a->offset(), -a->length())
                             < std::tuple(b->offset(), -b->length());
                     });
    return m_record;
}

/// Reads "```language collapsed" up to "```". Returns the line after it.
qsizetype MarkupReader::readCode(const QStringList &lines, qsizetype first)
{
    const qsizetype end = lines.indexOf(QStringLiteral("```"), first + 1);
    if (end < 0) {
        readLine(lines[first]);
        return first + 1;
    }
    const QStringList words = lines[first].mid(3).split(u' ', Qt::SkipEmptyParts);
    const qsizetype from = m_text.size();
    m_text += lines.mid(first + 1, end - first - 1).join(u'\n');
    TextEntity *entity = add(TextEntity::CODE_BLOCK, from);
    entity->set_code_lang(words.value(0).toStdString());
    entity->set_collapsed(words.value(1) == QLatin1StringView("collapsed"));
    return end + 1;
}

/// Reads lines that begin with ">"; with ">-" in the first one the quote is collapsed.
qsizetype MarkupReader::readQuote(const QStringList &lines, qsizetype first)
{
    static const QRegularExpression mark(QStringLiteral("^>-? ?"));
    const qsizetype from = m_text.size();
    qsizetype i = first;
    for (; i < lines.size() && lines[i].startsWith(u'>'); ++i) {
        if (i > first)
            m_text += u'\n';
        QString line = lines[i];
        readLine(line.remove(mark));
    }
    add(TextEntity::QUOTED, from)->set_collapsed(lines[first].startsWith(QLatin1StringView(">-")));
    return i;
}

void MarkupReader::readLine(const QString &line)
{
    for (qsizetype at = 0; at < line.size();) {
        if (const qsizetype end = readMark(line, at); end > at) {
            at = end;
        } else {
            if (line[at] == u'\\' && at + 1 < line.size())
                ++at;
            m_text += line[at++];
        }
    }
}

/// Reads the text inside a mark at `at`. Returns the position after it, or `at` when there is no
/// mark.
qsizetype MarkupReader::readMark(const QString &line, qsizetype at)
{
    static const QRegularExpression mono(QStringLiteral("`([^`]+)`"));
    static const QRegularExpression link(QStringLiteral(R"(\[([^\]]+)\]\(([^)\s]+)\))"));
    static const QRegularExpression mention(QStringLiteral(R"(@\[([^\]]+)\]\((\d+)\))"));
    static const QRegularExpression everybody(QStringLiteral(R"((?<!\w)@all\b)"));
    static const QRegularExpression emoji(QStringLiteral(R"(!\[([^\]]+)\]\((\d+)/(\d+)\))"));

    const qsizetype from = m_text.size();
    QRegularExpressionMatch match;
    const auto isAt = [&](const QRegularExpression &expression) {
        match = expression.match(line, at, QRegularExpression::NormalMatch,
                                 QRegularExpression::AnchorAtOffsetMatchOption);
        return match.hasMatch();
    };
    if (isAt(*ModelBaseUtil::getRegular(TextEntity::URL))) {
        m_text += match.captured(); // its underscores and the like are not marks
    } else if (isAt(mono)) {
        m_text += match.captured(1);
        add(TextEntity::MONOSPACE, from);
    } else if (isAt(link)) {
        readLine(match.captured(1));
        add(TextEntity::HYPERLINK, from)->set_hyperlink(match.captured(2).toStdString());
    } else if (isAt(mention)) {
        m_text += u'@' + match.captured(1);
        add(TextEntity::MENTION_NAME, from)->set_mention_user_id(match.captured(2).toInt());
    } else if (isAt(everybody)) {
        m_text += match.captured();
        add(TextEntity::MENTION_NAME, from)->set_mention_user_id(0);
    } else if (isAt(emoji)) {
        m_text += match.captured(1);
        TextEntity *entity = add(TextEntity::CUSTOM_EMOJI, from);
        entity->set_custom_emoji_pack_id(match.captured(2).toInt());
        entity->set_custom_emoji_id(match.captured(3).toInt());
    } else {
        for (const auto &[mark, type] : pairs) {
            const qsizetype begin = at + mark.size();
            const qsizetype end = line.indexOf(mark, begin);
            if (QStringView(line).sliced(at).startsWith(mark) && end > begin) {
                readLine(line.sliced(begin, end - begin));
                add(type, from);
                return end + mark.size();
            }
        }
        return at;
    }
    return match.capturedEnd();
}

void MarkupReader::recognise()
{
    for (const TextEntity::Type type : recognised) {
        auto matches = ModelBaseUtil::getRegular(type)->globalMatch(m_text);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            const auto &taken = m_record.textentity();
            if (std::any_of(taken.begin(), taken.end(), [&](const TextEntity &entity) {
                    return !isFormat(entity.type()) && entity.offset() < match.capturedEnd()
                        && match.capturedStart() < entity.offset() + entity.length();
                }))
                continue;
            TextEntity *entity = add(type, match.capturedStart(), match.capturedLength());
            if (type == TextEntity::BOT_COMMAND)
                entity->set_mention_user_id(m_botId);
            else if (type == TextEntity::VIDEO_POSITION)
                entity->set_video_position(seconds(match.captured()));
        }
    }
}

/// Adds an entity from `from` to the end of the text so far.
TextEntity *MarkupReader::add(TextEntity::Type type, qsizetype from)
{
    return add(type, from, m_text.size() - from);
}

TextEntity *MarkupReader::add(TextEntity::Type type, qsizetype from, qsizetype length)
{
    TextEntity *entity = m_record.add_textentity();
    entity->set_type(type);
    entity->set_offset(int(from));
    entity->set_length(int(length));
    return entity;
}

} // namespace

im::content::Text readMarkup(const QString &markup, int botId)
{
    return MarkupReader(botId).read(markup);
}
