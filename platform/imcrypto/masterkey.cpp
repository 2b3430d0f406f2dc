#include "imcrypto/masterkey.h"

#include "imcrypto/keychain_p.h"
#include "imcrypto/log_p.h"
#include "imcrypto/masterkey_p.h"

#include "base/privatefile.h"
#include "cryptobase/cryptoaes.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#if defined(Q_OS_WIN)
#    include <io.h>
#else
#    include <fcntl.h>
#    include <sys/stat.h>
#    include <unistd.h>
#endif

using cryptobase::SecureBytes;

namespace crypto
{
namespace
{

constexpr int keySize = 32;
constexpr qint64 largestFile = 256; // bytes
constexpr int turnTimeoutMs = 5000;
/// The prefix of a file that names a keychain entry. Any other file holds the 32 key bytes.
const QByteArray entryMark("keychain:");

bool flushToDisk(const QFile &file)
{
#if defined(Q_OS_WIN)
    return _commit(file.handle()) == 0;
#else
    return ::fsync(file.handle()) == 0;
#endif
}

/// Makes the name of a new file durable. On systems other than POSIX, syncing the file does that.
void flushDirectory([[maybe_unused]] const QString &path)
{
#if defined(Q_OS_UNIX)
    const int directory = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (directory >= 0) {
        ::fsync(directory);
        ::close(directory);
    }
#endif
}

struct Opened {
    bool isMissing = false;
    QString refusal; ///< why it was not opened, unless it is missing
    bool wasOpenToOthers = false;
};

/// Opens the key's file for reading, and revokes access for others. Anyone who can write to the
/// directory could have put something else there: a pipe would hang, and a link lead to another
/// file.
Opened openOwn(QFile &file)
{
    constexpr auto mode = QIODevice::ReadOnly | QIODevice::Unbuffered;
#if defined(Q_OS_UNIX)
    const int descriptor = ::open(QFile::encodeName(file.fileName()).constData(),
                                  O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR))
        return {true, {}, false};
    if (descriptor < 0)
        return {false, QString::fromLocal8Bit(std::strerror(errno)), false};
    struct stat about;
    if (::fstat(descriptor, &about) != 0 || !S_ISREG(about.st_mode)
        || about.st_uid != ::geteuid()) {
        ::close(descriptor);
        return {false, QStringLiteral("it is no file of this user's"), false};
    }
    const bool isOpen = (about.st_mode & 077) != 0 && ::fchmod(descriptor, 0600) == 0;
    if (!file.open(descriptor, mode, QFile::AutoCloseHandle)) {
        ::close(descriptor);
        return {false, file.errorString(), false};
    }
    return {false, {}, isOpen};
#else
    const QFileInfo info(file.fileName());
    if (!info.exists() && !info.isSymLink())
        return {true, {}, false};
    if (!info.isFile() || info.isSymLink())
        return {false, QStringLiteral("it is no file"), false};
    return {false, file.open(mode) ? QString() : file.errorString(), false};
#endif
}

std::error_code hardLink(const std::filesystem::path &file, const std::filesystem::path &name)
{
    std::error_code error;
    std::filesystem::create_hard_link(file, name, error);
    return error;
}

/// The errors of file systems without hard links (FAT, some network and phone file systems).
bool meansNoLinks(const std::error_code &error)
{
    constexpr std::errc answers[] = {
        std::errc::operation_not_permitted, std::errc::operation_not_supported,
        std::errc::not_supported,           std::errc::function_not_supported,
        std::errc::permission_denied,       std::errc::too_many_links,
    };
    return std::ranges::any_of(answers, [&](std::errc answer) { return error == answer; });
}

/// Renames a file unless the name is taken. A rename replaces an existing file, so callers take
/// turns; the turn of one that died is skipped.
std::error_code renameInTurn(const QFile &file, const QString &name)
{
    const QDeadlineTimer timeout(turnTimeoutMs);
    QLockFile turn(name + QStringLiteral(".lock"));
    while (!QFileInfo::exists(name) && !turn.tryLock(0)) {
        if (timeout.hasExpired())
            return make_error_code(std::errc::device_or_resource_busy);
        QThread::msleep(5); // longer than a turn
    }
    if (QFileInfo::exists(name))
        return make_error_code(std::errc::file_exists);
    std::error_code error;
    std::filesystem::rename(file.filesystemFileName(), QFile(name).filesystemFileName(), error);
    return error;
}

/// Always unbuffered: Qt's buffers would keep the key.
class KeyFile : public MasterKey
{
public:
    KeyFile(const QString &filePath, bool preferKeychain, Link link = hardLink)
        : m_filePath(filePath), m_preferKeychain(preferKeychain), m_link(std::move(link))
    {
    }

    bool mayWait() const override
    {
        QFile file(m_filePath);
        const Opened opened = openOwn(file);
        if (opened.isMissing)
            return m_preferKeychain && keychain::isPossible();
        if (!opened.refusal.isEmpty())
            return false;
        const SecureBytes begin(file.read(entryMark.size())); // may be key bytes
        return QByteArray(begin) == entryMark;
    }

    Answer load() override
    {
        QFile file(m_filePath);
        const Opened opened = openOwn(file);
        if (opened.isMissing)
            return {Status::None, {}};
        if (!opened.refusal.isEmpty())
            return unavailable(opened.refusal);
        if (opened.wasOpenToOthers)
            logFailure(QStringLiteral("%1 was readable by others; now only its owner can read it")
                           .arg(m_filePath));
        SecureBytes content(file.read(largestFile));
        if (content.size() == keySize)
            return {Status::Found, std::move(content)};
        // A copy: the name of an entry is not secret.
        const QByteArray text = content;
        if (!text.startsWith(entryMark))
            return unavailable(QStringLiteral("it is damaged"));
        std::optional<SecureBytes> key =
            keychain::read(QString::fromLatin1(text.mid(entryMark.size())));
        if (!key)
            return unavailable(QStringLiteral("the keychain does not give it"));
        if (key->size() != keySize)
            return unavailable(QStringLiteral("what lies in the keychain is damaged"));
        return {Status::Found, *std::move(key)};
    }

    Answer create() override
    {
        Answer answer = load();
        if (answer.status != Status::None)
            return answer;
        const SecureBytes key(CryptoAES::createKey(keySize));
        if (key.isEmpty())
            return unavailable(QStringLiteral("no random bytes"));
        const QString entry =
            m_preferKeychain && keychain::isAvailable() ? putIntoKeychain(key) : QString();
        const bool published =
            publish(entry.isEmpty() ? QByteArray(key) : entryMark + entry.toLatin1());
        answer = load();
        // Another process was first, or the file could not be written.
        if (!published && !entry.isEmpty())
            keychain::remove(entry);
        if (answer.status == Status::None)
            answer.status = Status::Unavailable;
        return answer;
    }

    bool remove() override
    {
        QFile file(m_filePath);
        const Opened opened = openOwn(file);
        QByteArray entry;
        if (file.isOpen()) {
            const SecureBytes content(file.read(largestFile));
            // A copy, which is not secret if it names an entry.
            if (QByteArray(content).startsWith(entryMark))
                entry = QByteArray(content).mid(entryMark.size());
            file.close();
        }
        // A process that was killed while making the key left it under such a name, too.
        const QFileInfo info(m_filePath);
        static const QRegularExpression unfinished(QStringLiteral("[.][0-9a-f]{16}$"));
        QDir directory = info.dir();
        QStringList names =
            directory
                .entryList({info.fileName() + QStringLiteral(".*")}, QDir::Files | QDir::Hidden)
                .filter(unfinished);
        if (!opened.isMissing)
            names.append(info.fileName());
        bool removed = true;
        for (const QString &name : std::as_const(names)) {
            if (!directory.remove(name)) {
                logFailure(QStringLiteral("cannot remove %1").arg(directory.filePath(name)));
                removed = false;
            }
        }
        flushDirectory(info.absolutePath());
        // After the file is removed, since it must not name a deleted entry.
        if (removed && !entry.isEmpty()) {
            try {
                std::thread([entry = QString::fromLatin1(entry)] {
                    keychain::remove(entry);
                }).detach();
            } catch (const std::system_error &) {
                logFailure(
                    QStringLiteral("cannot remove the keychain entry: no thread could be started"));
            }
        }
        return removed;
    }

private:
    Answer unavailable(const QString &reason) const
    {
        logFailure(QStringLiteral("cannot get the master key of %1: %2").arg(m_filePath, reason));
        return {};
    }

    /// The entry's name; empty when the keychain does not store the key. Every attempt uses its own
    /// entry, so that two processes cannot overwrite each other's.
    static QString putIntoKeychain(const SecureBytes &key)
    {
        const QString entry =
            QStringLiteral("master-") + QString::fromLatin1(CryptoAES::createKey(16).toHex());
        if (!keychain::write(entry, key))
            return {};
        const std::optional<SecureBytes> kept = keychain::read(entry);
        return kept && QByteArray(*kept) == QByteArray(key) ? entry : QString();
    }

    /// Writes a temporary file, then links it to its name: that fails if the name exists, without a
    /// race, and never exposes half a file. True when the file exists and is ours.
    bool publish(const QByteArray &content) const
    {
        const QString directory = QFileInfo(m_filePath).absolutePath();
        QFile file(m_filePath + QLatin1Char('.')
                   + QString::fromLatin1(CryptoAES::createKey(8).toHex()));
        const bool written = privatefile::makeDirectory(directory)
            && file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered,
                         privatefile::forOwner)
            && file.write(content) == content.size() && flushToDisk(file);
        QString reason = file.errorString();
        file.close();
        std::error_code error;
        if (written) {
            error = m_link(file.filesystemFileName(), QFile(m_filePath).filesystemFileName());
            if (meansNoLinks(error))
                error = renameInTurn(file, m_filePath);
            reason = QString::fromStdString(error.message());
        }
        file.remove();
        if (!written || (error && error != std::errc::file_exists)) {
            logFailure(QStringLiteral("cannot write %1: %2").arg(m_filePath, reason));
            return false;
        }
        flushDirectory(directory);
        return !error;
    }

    const QString m_filePath;
    const bool m_preferKeychain;
    const Link m_link;
};

} // namespace

MasterKey::~MasterKey() = default;

std::shared_ptr<MasterKey> MasterKey::inFile(const QString &filePath)
{
    return std::make_shared<KeyFile>(filePath, false);
}

std::shared_ptr<MasterKey> keyFile(const QString &filePath, Link link)
{
    return std::make_shared<KeyFile>(filePath, false, std::move(link));
}

std::shared_ptr<MasterKey> MasterKey::installation()
{
    return std::make_shared<KeyFile>(
        QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
            + QStringLiteral("/master.key"),
        !QStandardPaths::isTestModeEnabled());
}

} // namespace crypto
