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

/// Null when the directory cannot be written to.
std::shared_ptr<Sink> openSink(const QString &directory)
try {
    // Checked first, because the sink retries for a while before it fails.
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

/// Set while this thread passes a line to Qt, so that a message handler that forwards to this log
/// does not recurse.
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

/// Readers of a line, in a file or on a terminal, must see what was logged: characters that would
/// move the cursor, start a line, or reverse the following text are escaped.
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
        // Out of memory; nothing is left to report this to.
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
        end(std::move(worker)); // this closes the file
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
        // First wait for an earlier hand-over: if that one hangs, the next thread would hang as
        // well.
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

    /// Writes waiting lines; callers write later lines at once themselves: from here on the process
    /// and its threads may end at any moment.
    void finish()
    {
        // The child of a fork has no such thread, and its mutex may be locked.
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

    /// Ends a worker after it has written waiting lines. False when that takes too long; it
    /// continues then.
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
            // No thread could be started: it ended on this one.
        }
        return isReady(end, QDeadlineTimer(endMs));
    }

    static bool isReady(const std::shared_future<void> &future, QDeadlineTimer deadline)
    {
        const auto left = std::chrono::milliseconds(std::max<qint64>(deadline.remainingTime(), 0));
        return !future.valid() || future.wait_for(left) == std::future_status::ready;
    }

    /// Hands later lines to a new writing thread, which first waits for the previous one: so lines
    /// stay in order, and no caller waits. m_written is ready when all earlier lines are written.
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
            m_synchronous = true; // no thread could be started
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
            // Called under our lock, so no handler of the application may run here.
            m_logger->set_error_handler([](const std::string &) {});
        } else {
            // If the disk hangs, the oldest lines are dropped and no caller waits.
            m_logger = std::make_shared<spdlog::async_logger>(
                "im", m_sink, m_worker, spdlog::async_overflow_policy::overrun_oldest);
            m_logger->set_error_handler([](const std::string &reason) {
                toDebugLog(spdlog::level::err, legible(QString::fromStdString(reason)));
            });
        }
        m_logger->set_level(spdlog::level::info);
        // Flush each line: the last lines of a killed process matter most.
        m_logger->flush_on(spdlog::level::info);
    }

    std::mutex m_mutex;
    std::optional<QString> m_directory; ///< unset before the first line; empty without a file
    std::shared_ptr<Sink> m_sink;
    std::shared_ptr<spdlog::details::thread_pool> m_worker;
    std::shared_future<void> m_written; ///< result of the last hand-over
    std::shared_ptr<spdlog::logger> m_logger;
    const qint64 m_process = QCoreApplication::applicationPid();
    bool m_synchronous = false;
    bool m_gaveUp = false; ///< the disk did not answer at the end
};

ImLog::ImLog() : d(std::make_unique<Private>()) { }

ImLog::~ImLog() = default;

ImLog *ImLog::instance()
{
    // Never destroyed: objects that outlive main() may still log.
    static ImLog *const log = [] {
        const auto finish = [] { instance()->d->finish(); };
        // If the library is unloaded after its threads were ended, exit() is too late to flush.
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
