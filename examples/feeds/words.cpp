#include "feeds/words.h"

#include "feeds/recordererror.h"

#include <utility>

namespace
{

double toReal(const QString &digits, const QString &word, const char *what)
{
    bool ok = false;
    const double number = digits.toDouble(&ok);
    if (!ok)
        throw RecorderError(QStringLiteral("%1 is no %2").arg(word, QString::fromLatin1(what)));
    return number;
}

} // namespace

QString Words::next(const char *what)
{
    const QString word = m_text.section(u' ', 0, 0);
    if (word.isEmpty())
        throw RecorderError(QStringLiteral("the %1 is missing").arg(QString::fromLatin1(what)));
    m_text = m_text.mid(word.size()).trimmed();
    return word;
}

int Words::number(const char *what)
{
    return qRound(real(what));
}

double Words::real(const char *what)
{
    const QString word = next(what);
    return toReal(word, word, what);
}

int Words::seconds(const char *what)
{
    const QString word = next(what);
    return qRound(toReal(word.endsWith(u's') ? word.chopped(1) : QString(), word, what));
}

bool Words::takeIf(const char *word)
{
    const QString expected = QString::fromLatin1(word);
    if (m_text.section(u' ', 0, 0) != expected)
        return false;
    m_text = m_text.mid(expected.size()).trimmed();
    return true;
}

QString Words::until(QChar mark)
{
    const QString taken = m_text.section(mark, 0, 0);
    m_text = m_text.mid(taken.size() + 1).trimmed();
    return taken.trimmed();
}

QString Words::rest()
{
    return std::exchange(m_text, {});
}

void Words::expectEnd() const
{
    if (!m_text.isEmpty())
        throw RecorderError(QStringLiteral("this says nothing here: %1").arg(m_text));
}
