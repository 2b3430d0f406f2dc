#include "imlog/imlog.h"

#include "base/privatefile.h"
#include "imlog/crashline_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace
{

Q_LOGGING_CATEGORY(lcImLog, "im.base")

constexpr std::size_t maxFileBytes = 5 * 1024 * 1024;
constexpr std::size_t maxOldFiles = 3;
constexpr std::size_t maxWaitingLines = 8192;
constexpr int endMs = 5000;
constexpr qsizetype maxTextLength = 4096; // in UTF-16 units

using Sink = spdlog::sinks::rotating_file_sink_mt;

spdlog::filename_t nativePath(const QString &path)
{
#ifdef SPDLOG_WCHAR_FILENAMES
    return QDir::toNativeSeparators(path).toStdWString();
#else
    return QFile::encodeName(path).toStdString();
#endif
}

QString defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
        + QStringLiteral("/log");
}

QStringList logNames(const QDir &directory)
{
    return directory.entryList({QStringLiteral("im.log"), QStringLiteral("im.[0-9].log")},
                               QDir::Files);
}

/// Null when nothing can be written there.
std::shared_ptr<Sink> openSink(const QString &directory)
try {
    // Asked first, because the sink tries for a while before it gives up.
    if (!privatefile::makeDirectory(directory) || !QFileInfo(directory).isWritable())
        return nullptr;
    const QString file = directory + QStringLiteral("/im.log");
    if (const QFileInfo info(file); info.exists() && !(info.isFile() && info.isWritable()))
        return nullptr;
    const QDir files(directory);
    for (const QString &name : logNames(files))
        privatefile::restrict(files.filePath(name));
    spdlog::file_event_handlers handlers;
    handlers.before_open = [file](const spdlog::filename_t &) { privatefile::create(file); };
    handlers.after_open = [](const spdlog::filename_t &, std::FILE *opened) {
        crashline::setFile(opened);
    };
    auto sink =
        std::make_shared<Sink>(nativePath(file), maxFileBytes, maxOldFiles, false, handlers);
    sink->set_pattern("%Y-%m-%d %H:%M:%S.%e %z [%t] %l: %v");
    return sink;
} catch (const std::exception &) {
    return nullptr;
}

/// Set while this thread passes a line to Qt: a message handler that forwards to this log must not
/// be sent round in circles.
thread_local bool inDebugLog = false;

void toDebugLog(spdlog::level::level_enum level, const QString &text)
{
    inDebugLog = true;
    if (level >= spdlog::level::err)
        qCWarning(lcImLog).noquote() << text;
    else
        qCInfo(lcImLog).noquote() << text;
    inDebugLog = false;
}

/// Whoever reads a line, in a file or on a terminal, is to see what was logged: what would move the
/// cursor, start a line, or turn what follows around is spelled out.
bool isLegible(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format:
        return c == 0x200c || c == 0x200d; // joiners, part of many words and emoji
    default:
        return true;
    }
}

QString spelledOut(char32_t c)
{
    switch (c) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        return c < 0x100 ? QStringLiteral("\\x%1").arg(uint(c), 2, 16, QLatin1Char('0'))
                         : QStringLiteral("\\u{%1}").arg(uint(c), 0, 16);
    }
}

QString legible(const QString &text)
{
    qsizetype end = std::min(text.size(), maxTextLength);
    if (end < text.size() && text[end - 1].isHighSurrogate())
        --end;
    QString line;
    line.reserve(end);
    for (qsizetype at = 0; at < end;) {
        const bool isPair =
            at + 1 < end && text[at].isHighSurrogate() && text[at + 1].isLowSurrogate();
        const char32_t c =
            isPair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
        if (isLegible(c))
            line.append(QStringView(text).sliced(at, isPair ? 2 : 1));
        else
            line.append(spelledOut(c));
        at += isPair ? 2 : 1;
    }
    if (end < text.size())
        line.append(QStringLiteral("... (%1 characters)").arg(text.size()));
    return line;
}

} // namespace

class ImLog::Private
{
public:
    void log(spdlog::level::level_enum level, const QString &text) noexcept
    try {
        if (inDebugLog)
            return;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_directory && !start(defaultDirectory()))
                m_directory = QString();
            if (m_logger) {
                m_logger->log(level, text.toStdString());
                return;
            }
        }
        toDebugLog(level, text);
    } catch (...) {
        // Out of memory; there is nobody left to tell.
    }

    QString directory()
    {
        const std::lock_guard lock(m_mutex);
        return m_directory.value_or(QString());
    }

    bool removeFiles()
    {
        QString directory;
        std::shared_ptr<spdlog::details::thread_pool> worker;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_directory && !start(defaultDirectory()))
                m_directory = QString();
            directory = *m_directory;
            worker = std::move(m_worker);
            m_logger.reset();
            m_sink.reset();
        }
        if (directory.isEmpty())
            return true;
        end(std::move(worker)); // which closes the file
        bool removed = true;
        QDir files(directory);
        for (const QString &name : logNames(files))
            removed = files.remove(name) && removed;
        const std::lock_guard lock(m_mutex);
        if (!m_sink)
            start(directory);
        return removed;
    }

    bool setDirectory(const QString &directory)
    {
        const std::lock_guard lock(m_mutex);
        return start(directory);
    }

    bool flush(QDeadlineTimer deadline)
    {
        std::shared_future<void> written;
        // First for an earlier hand-over: where that one hangs, the next thread would hang with it.
        for (const bool earlier : {true, false}) {
            {
                const std::lock_guard lock(m_mutex);
                if (!m_worker)
                    return !m_gaveUp;
                if (!earlier) {
                    startWorker();
                    makeLogger();
                }
                written = m_written;
            }
            if (!isReady(written, deadline))
                return false;
        }
        return true;
    }

    /// Writes what is waiting; lines that come later are written at once, by their callers: from
    /// here on the process may end, and its threads with it, at any moment.
    void finish()
    {
        // The child of a fork has neither the thread nor, perhaps, a mutex that is free.
        if (m_process != QCoreApplication::applicationPid())
            return;
        const std::lock_guard lock(m_mutex);
        m_synchronous = true;
        if (m_worker)
            m_gaveUp = !end(std::move(m_worker));
        makeLogger();
    }

private:
    bool start(const QString &directory)
    {
        const std::shared_ptr<Sink> sink = openSink(directory);
        if (!sink)
            return false;
        m_directory = directory;
        m_sink = sink;
        if (!m_synchronous)
            startWorker();
        makeLogger();
        return true;
    }

    /// Ends a worker, which writes what is waiting. False when that takes too long; it goes on then.
    static bool end(std::shared_ptr<spdlog::details::thread_pool> worker)
    {
        std::promise<void> ended;
        const std::shared_future<void> end = ended.get_future().share();
        try {
            std::thread([worker = std::move(worker), ended = std::move(ended)]() mutable {
                worker.reset();
                ended.set_value();
            }).detach();
        } catch (const std::system_error &) {
            // No more threads to be had: it has ended here.
        }
        return isReady(end, QDeadlineTimer(endMs));
    }

    static bool isReady(const std::shared_future<void> &future, QDeadlineTimer deadline)
    {
        const auto left = std::chrono::milliseconds(std::max<qint64>(deadline.remainingTime(), 0));
        return !future.valid() || future.wait_for(left) == std::future_status::ready;
    }

    /// Hands what follows to a new writing thread, which begins by waiting for the one before: so
    /// lines stay in order, and no caller waits. m_written is ready when all earlier lines are
    /// written.
    void startWorker()
    {
        struct Handover {
            std::shared_ptr<spdlog::details::thread_pool> before;
            std::promise<void> written;
        };
        const auto handover = std::make_shared<Handover>();
        m_written = handover->written.get_future().share();
        handover->before = std::move(m_worker);
        try {
            m_worker =
                std::make_shared<spdlog::details::thread_pool>(maxWaitingLines, 1, [handover] {
                    handover->before.reset();
                    handover->written.set_value();
                });
        } catch (const std::exception &) {
            m_synchronous = true; // no more threads to be had
            m_written = {};
        }
    }

    void makeLogger()
    {
        if (m_gaveUp) {
            crashline::abandonFile();
            m_sink.reset();
        }
        if (!m_sink) {
            m_logger.reset();
            return;
        }
        if (m_synchronous) {
            m_logger = std::make_shared<spdlog::logger>("im", m_sink);
            // Called under our lock: no handler of the application's may run from here.
            m_logger->set_error_handler([](const std::string &) {});
        } else {
            // A disk that hangs costs the oldest lines, not the user's patience.
            m_logger = std::make_shared<spdlog::async_logger>(
                "im", m_sink, m_worker, spdlog::async_overflow_policy::overrun_oldest);
            m_logger->set_error_handler([](const std::string &reason) {
                toDebugLog(spdlog::level::err, legible(QString::fromStdString(reason)));
            });
        }
        m_logger->set_level(spdlog::level::info);
        // Each line: what a process logged last is what is wanted after it was killed.
        m_logger->flush_on(spdlog::level::info);
    }

    std::mutex m_mutex;
    std::optional<QString> m_directory; ///< unset before the first line; empty without a file
    std::shared_ptr<Sink> m_sink;
    std::shared_ptr<spdlog::details::thread_pool> m_worker;
    std::shared_future<void> m_written; ///< of the last hand-over
    std::shared_ptr<spdlog::logger> m_logger;
    const qint64 m_process = QCoreApplication::applicationPid();
    bool m_synchronous = false;
    bool m_gaveUp = false; ///< the disk has not answered at the end
};

ImLog::ImLog() : d(std::make_unique<Private>()) { }

ImLog::~ImLog() = default;

ImLog *ImLog::instance()
{
    // Never destroyed: objects that outlive main() may still have something to say.
    static ImLog *const log = [] {
        const auto finish = [] { instance()->d->finish(); };
        // Where the library is unloaded after its threads were ended, exit is too late to drain.
        qAddPostRoutine(finish);
        std::atexit(finish);
        return new ImLog;
    }();
    return log;
}

void ImLog::info(const QString &text)
{
    instance()->d->log(spdlog::level::info, legible(text));
}

void ImLog::error(const QString &text)
{
    instance()->d->log(spdlog::level::err, legible(text));
}

void ImLog::info(const QLoggingCategory &category, const QString &text)
{
    const QString line = legible(text);
    if (category.isDebugEnabled())
        QMessageLogger().debug(category).noquote() << line;
    instance()->d->log(spdlog::level::info, line);
}

void ImLog::error(const QLoggingCategory &category, const QString &text)
{
    const QString line = legible(text);
    if (category.isWarningEnabled())
        QMessageLogger().warning(category).noquote() << line;
    instance()->d->log(spdlog::level::err, line);
}

void ImLog::infoInCrash(const char *line) noexcept
{
    crashline::write(line);
}

QString ImLog::directory() const
{
    return d->directory();
}

bool ImLog::setDirectory(const QString &directory)
{
    return d->setDirectory(directory);
}

bool ImLog::removeFiles()
{
    return d->removeFiles();
}

bool ImLog::flush(QDeadlineTimer deadline)
{
    return d->flush(deadline);
}
