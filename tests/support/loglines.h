#pragma once

#include <QLoggingCategory>
#include <QMutex>
#include <QStringList>

#include <cstring>
#include <utility>

/// Takes the log lines of every category, or of one, while it lives; none reaches the terminal.
class LogLines
{
public:
    enum From { Debug, Info };

    explicit LogLines(const char *category = nullptr, From from = Debug)
        : m_before(qInstallMessageHandler(&note))
    {
        s_category = category;
        s_from = from;
        takeTexts();
    }
    explicit LogLines(From from) : LogLines(nullptr, from) { }
    ~LogLines() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY_MOVE(LogLines)

    int count() const
    {
        const QMutexLocker lock(&s_mutex);
        return int(s_lines.size());
    }
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
        if ((type != QtDebugMsg || s_from == Debug)
            && (!s_category || std::strcmp(context.category, s_category) == 0))
            s_lines.append(QString::fromLatin1(context.category) + QStringLiteral(": ") + text);
    }

    inline static QMutex s_mutex;
    inline static QStringList s_lines;
    inline static From s_from;
    inline static const char *s_category;
    const QtMessageHandler m_before;
};
