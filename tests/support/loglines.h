#pragma once

#include <QLoggingCategory>
#include <QString>

#include <atomic>
#include <utility>

/// Counts the log lines of every category, or of one, while it lives, and keeps all off the terminal.
class LogLines
{
public:
    explicit LogLines(const char *category = nullptr) : m_before(qInstallMessageHandler(&note))
    {
        s_category = category;
        s_count = 0;
    }
    ~LogLines() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY_MOVE(LogLines)

    int count() const { return s_count; }
    /// Those since it was made, or asked last.
    int take() { return s_count.exchange(0); }

private:
    static void note(QtMsgType, const QMessageLogContext &context, const QString &)
    {
        s_count += !s_category || qstrcmp(context.category, s_category) == 0;
    }

    inline static const char *s_category = nullptr;
    inline static std::atomic<int> s_count = 0;
    QtMessageHandler m_before;
};
