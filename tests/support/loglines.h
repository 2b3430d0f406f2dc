#pragma once

#include <QString>

#include <atomic>
#include <utility>

/// Counts the log lines of every category while it lives, and keeps them off the terminal.
class LogLines
{
public:
    LogLines() : m_before(qInstallMessageHandler(&note)) { s_count = 0; }
    ~LogLines() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY_MOVE(LogLines)

    /// Those since it was made, or asked last.
    int take() { return s_count.exchange(0); }

private:
    static void note(QtMsgType, const QMessageLogContext &, const QString &) { ++s_count; }

    inline static std::atomic<int> s_count = 0;
    QtMessageHandler m_before;
};
