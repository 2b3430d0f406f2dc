#pragma once

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

/// The lines of a file of facts beside the test, without its comments, which begin with "# ". What
/// is hard to see in them is written as "\u00a0", "\n" or "\\".
inline QStringList facts(const QString &name)
{
    static const QRegularExpression escape(QStringLiteral("\\\\(?:u([0-9a-f]{4})|(.))"));
    QFile file(QStringLiteral(FACTS) + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qUtf8Printable(file.fileName()));
    QStringList lines;
    for (QString line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (line.isEmpty() || line.startsWith(QStringLiteral("# ")))
            continue;
        for (qsizetype at = 0; (at = line.indexOf(escape, at)) >= 0; ++at) {
            const auto found = escape.match(line, at);
            const QString code = found.captured(1);
            const QChar plain = found.captured(2).isEmpty() ? QChar() : found.captured(2).front();
            line.replace(at, found.capturedLength(),
                         !code.isEmpty()     ? QChar(code.toUShort(nullptr, 16))
                             : plain == u'n' ? QChar(u'\n')
                                             : plain);
        }
        lines.append(line);
    }
    return lines;
}
