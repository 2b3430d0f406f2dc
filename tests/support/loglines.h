#pragma once

#include <QMutex>
#include <QStringList>

#include <utility>

/// Takes the log lines of every category while it lives, and keeps them off the terminal.
class LogLines
{
public:
    enum From { Debug, Info };

    explicit LogLines(From from = Debug) : m_before(qInstallMessageHandler(&note))
    {
        s_from = from;
        takeTexts();
    }
    ~LogLines() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY_MOVE(LogLines)

    /// Those since it was made, or asked last.
    int take() { return int(takeTexts().size()); }
    /// The same as "category: text".
    QStringList takeTexts()
    {
        const QMutexLocker lock(&s_mutex);
        return std::exchange(s_lines, {});
    }

private:
    static void note(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        const QMutexLocker lock(&s_mutex);
        if (type != QtDebugMsg || s_from == Debug)
            s_lines.append(QString::fromLatin1(context.category) + QStringLiteral(": ") + text);
    }

    inline static QMutex s_mutex;
    inline static QStringList s_lines;
    inline static From s_from;
    QtMessageHandler m_before;
};
