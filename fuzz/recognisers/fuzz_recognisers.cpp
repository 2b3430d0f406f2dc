// The recognisers of links, addresses and tags: their matches are inside the text, and no line
// prevents matches in the next one. The latter also fails when an expression exceeds its match
// limit.

#include "base/util.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

struct Recogniser {
    const QRegularExpression &(*expression)();
    QString sure; ///< the match on a separate line
};

const Recogniser recognisers[] = {
    {Util::getRegularUrl, QStringLiteral("https://a.example/b")},
    {Util::getRegularEmail, QStringLiteral("someone@a.example")},
    {Util::getRegularImId, QStringLiteral("@someone")},
    {Util::getRegularPhoneNumber, QStringLiteral("+380441234567")},
    {Util::getRegularHashTag, QStringLiteral("#tag")},
    {Util::getRegularBotCmd, QStringLiteral("/start")},
    {Util::getRegularTime, QStringLiteral("1:23")},
};

/// Checks all matches and returns the last one.
QString lastMatch(const QRegularExpression &expression, const QString &text)
{
    qsizetype end = 0;
    QString last;
    for (auto matches = expression.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        check(match.capturedStart() >= end && match.capturedEnd() <= text.size(),
              "matches follow each other inside the text");
        check(match.capturedLength() > 0, "no match is empty");
        end = match.capturedEnd();
        last = match.captured();
    }
    return last;
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const QString text = fuzzing::text(input);
    for (const Recogniser &recogniser : recognisers) {
        const QString last = lastMatch(recogniser.expression(), text + u'\n' + recogniser.sure);
        check(last == (text.isValidUtf16() ? recogniser.sure : QString()),
              "the line behind any text is recognised, unless the text is not valid");
    }
}
