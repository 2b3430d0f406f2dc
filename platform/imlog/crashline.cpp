#include "imlog/crashline_p.h"

#include <QtCore/qglobal.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef Q_OS_WIN
#    include <io.h>
#    include <windows.h>
#else
#    include <fcntl.h>
#    include <unistd.h>
#    ifdef Q_OS_LINUX
#        include <sys/syscall.h>
#    endif
#endif

namespace crashline
{
namespace
{

#ifdef Q_OS_WIN

std::atomic<HANDLE> file = INVALID_HANDLE_VALUE;

void writeTo(HANDLE handle, const char *text, std::size_t size)
{
    DWORD written = 0;
    if (handle && handle != INVALID_HANDLE_VALUE)
        WriteFile(handle, text, DWORD(size), &written, nullptr);
}

std::uint64_t threadNumber()
{
    return GetCurrentThreadId();
}

#else

// One fixed descriptor that always means the log's present file: if it were closed and reused by
// another file at the wrong moment, the line would go into a database.
std::atomic_int file = -1;
std::atomic_int streamFile = -1; // the C library's descriptor of it

void writeTo(int descriptor, const char *text, std::size_t size)
{
    if (descriptor >= 0 && ::write(descriptor, text, size) < 0) {
        // Nothing is left to report this to.
    }
}

std::uint64_t threadNumber()
{
#    ifdef Q_OS_LINUX
    return std::uint64_t(syscall(SYS_gettid));
#    else
    return std::uint64_t(getpid());
#    endif
}

#endif

/// A text of limited length.
class Line
{
public:
    Line &operator<<(const char *text)
    {
        for (; *text && m_size < sizeof m_text - 1; ++text)
            m_text[m_size++] = std::uint8_t(*text) < ' ' || *text == '\x7f' ? '?' : *text;
        return *this;
    }
    Line &number(std::uint64_t value, int digits = 1)
    {
        char reversed[20];
        int count = 0;
        do {
            reversed[count++] = char('0' + value % 10);
            value /= 10;
        } while (value > 0 || count < digits);
        while (count > 0 && m_size < sizeof m_text - 1)
            m_text[m_size++] = reversed[--count];
        return *this;
    }
    const char *end()
    {
        m_text[m_size++] = '\n';
        return m_text;
    }
    std::size_t size() const { return m_size; }

private:
    char m_text[512];
    std::size_t m_size = 0;
};

/// In the form of other lines; the C library's functions for local time may wait for a lock.
void appendTime(Line &line)
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    line.number(std::uint64_t(int(date.year())), 4) << "-";
    line.number(unsigned(date.month()), 2) << "-";
    line.number(unsigned(date.day()), 2) << " ";
    line.number(std::uint64_t(time.hours().count()), 2) << ":";
    line.number(std::uint64_t(time.minutes().count()), 2) << ":";
    line.number(std::uint64_t(time.seconds().count()), 2) << ".";
    line.number(std::uint64_t(time.subseconds().count()), 3) << " +00:00";
}

} // namespace

#ifdef Q_OS_WIN

void setFile(std::FILE *opened)
{
    wchar_t path[MAX_PATH];
    const auto own = HANDLE(_get_osfhandle(_fileno(opened)));
    const DWORD length = GetFinalPathNameByHandleW(own, path, MAX_PATH, FILE_NAME_NORMALIZED);
    if (length == 0 || length >= MAX_PATH)
        return;
    // With shared deletion, or the log could not be renamed when it is full.
    const HANDLE another =
        CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    // The previous handle is closed one file later: a handler may be writing to it.
    static std::atomic<HANDLE> before = INVALID_HANDLE_VALUE;
    const HANDLE old = before.exchange(file.exchange(another));
    if (old != INVALID_HANDLE_VALUE)
        CloseHandle(old);
}

void abandonFile() { }

#else

void setFile(std::FILE *opened)
{
    streamFile = fileno(opened);
    // A program that the application starts must not inherit the log.
    fcntl(streamFile, F_SETFD, FD_CLOEXEC);
    const int own = file;
    if (own >= 0) {
        dup2(fileno(opened), own);
        fcntl(own, F_SETFD, FD_CLOEXEC);
    } else {
        file = fcntl(fileno(opened), F_DUPFD_CLOEXEC, 0);
    }
}

void abandonFile()
{
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (const int number : {file.load(), streamFile.load()}) {
        if (nowhere >= 0 && number >= 0)
            dup2(nowhere, number);
    }
}

#endif

void write(const char *text) noexcept
{
    Line line;
    appendTime(line);
    line << " [";
    line.number(threadNumber()) << "] info: " << text;
    const char *const whole = line.end();
    writeTo(file, whole, line.size());
#ifdef Q_OS_WIN
    writeTo(GetStdHandle(STD_ERROR_HANDLE), whole, line.size());
#else
    writeTo(STDERR_FILENO, whole, line.size());
#endif
}

} // namespace crashline
