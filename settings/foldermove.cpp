#include "settings/foldermove_p.h"

#include "base/util.h"
#include "imlog/imlog.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QScopeGuard>

#include <algorithm>
#include <cstring>

namespace
{

Q_LOGGING_CATEGORY(lcMove, "im.settingmodel")

constexpr qsizetype bufferSize = 1 << 20;
/// How often a file is copied that changes meanwhile.
constexpr int attempts = 3;

/// With one kind of slashes and without "..", so that paths below it can be cut off.
QString cleanFolder(const QString &path)
{
    const QString clean = QDir::cleanPath(QDir::fromNativeSeparators(path));
    return clean.endsWith(QLatin1Char('/')) ? clean : clean + QLatin1Char('/');
}

/// On Windows other than QFileInfo::isSymLink(), for which an ordinary ".lnk" file is one.
bool isLink(const QFileInfo &info)
{
    return info.isSymbolicLink() || info.isJunction();
}

/// True when one of the folders from below `root` down to `folder` is a link.
bool leadsThroughLink(const QString &root, const QString &folder)
{
    for (qsizetype end = folder.indexOf(QLatin1Char('/'), root.size()); end > 0;
         end = folder.indexOf(QLatin1Char('/'), end + 1)) {
        if (isLink(QFileInfo(folder.left(end))))
            return true;
    }
    return false;
}

QString folderOf(const QString &path)
{
    return path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
}

/// "name (2).jpg" for 2, the name itself for 0.
QString numbered(const QString &path, int number)
{
    if (number == 0)
        return path;
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    const qsizetype end = dot > folderOf(path).size() ? dot : path.size();
    return path.left(end) + QStringLiteral(" (%1)").arg(number) + path.mid(end);
}

/// Fills the buffer as far as the file goes; -1 when it cannot be read.
qint64 fill(QIODevice &file, QByteArray &buffer)
{
    qint64 size = 0;
    while (size < buffer.size()) {
        const qint64 count = file.read(buffer.data() + size, buffer.size() - size);
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        size += count;
    }
    return size;
}

} // namespace

FolderMove::FolderMove(const Task &task, Advance advance)
    : m_sourceRoot(cleanFolder(task.sourceRoot)), m_targetRoot(cleanFolder(task.targetRoot)),
      m_source(cleanFolder(task.sourceRoot + task.folder)),
      m_target(cleanFolder(task.targetRoot + task.folder)), m_scratch(task.scratch),
      m_advance(std::move(advance)), m_buffer(bufferSize, Qt::Uninitialized),
      m_otherBuffer(bufferSize, Qt::Uninitialized)
{
}

qint64 FolderMove::size(const QString &root, const QString &folder)
{
    const QString path = cleanFolder(root + folder);
    if (leadsThroughLink(cleanFolder(root), path))
        return 0;
    qint64 size = 0;
    QDirIterator entry(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        entry.next();
        if (!isLink(entry.fileInfo()))
            size += entry.fileInfo().size();
    }
    return size;
}

std::optional<FolderMove::Stamp> FolderMove::stampOf(const QString &path)
{
    const QFileInfo info(path);
    const std::filesystem::path file = info.filesystemFilePath();
    std::error_code error;
    if (isLink(info) || !std::filesystem::is_regular_file(file, error))
        return {};
    Stamp stamp;
    stamp.size = qint64(std::filesystem::file_size(file, error));
    if (!error)
        stamp.modified = std::filesystem::last_write_time(file, error);
    return error ? std::nullopt : std::optional(stamp);
}

QStringList FolderMove::files(bool logLinks) const
{
    QStringList names;
    qsizetype links = 0;
    if (leadsThroughLink(m_sourceRoot, m_source)) {
        links = 1;
    } else {
        QDirIterator entry(
            m_source, QDir::Files | QDir::Dirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
            QDirIterator::Subdirectories);
        while (entry.hasNext()) {
            entry.next();
            if (isLink(entry.fileInfo()))
                ++links;
            else if (entry.fileInfo().isFile())
                names.append(entry.filePath().mid(m_source.size()));
        }
    }
    if (links > 0 && logLinks)
        log("links are left where they are", QString::number(links));
    return names;
}

FolderMove::Result FolderMove::copy()
{
    m_copies.clear();
    for (const QString &name : files(true)) {
        if (const Result result = copyFile(name); result != Done)
            return result;
    }
    if (!m_copies.isEmpty() && !Util::syncFolder(m_target)) {
        log("the copies do not reach the disk");
        return Failed;
    }
    return Done;
}

FolderMove::Result FolderMove::copyFile(const QString &name)
{
    const QString from = m_source + name;
    if (!makeFolder(folderOf(m_target + name)))
        return Failed;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::optional<Stamp> stamp = stampOf(from);
        if (!stamp)
            return Done; // gone, there is nothing to be moved
        QString to;
        for (int number = 0;; ++number) {
            if (!m_advance(0))
                return Cancelled;
            to = numbered(m_target + name, number);
            const QFileInfo present(to);
            if (!present.exists() && !isLink(present))
                break;
            const std::optional<Stamp> presentStamp = stampOf(to);
            if (presentStamp && presentStamp->size == stamp->size && hasSameContent(from, to)) {
                m_copies.append({name, *stamp, to, {}});
                return m_advance(stamp->size) ? Done : Cancelled;
            }
        }
        if (const std::optional<Result> result = copyContent(from, to, *stamp)) {
            if (*result == Done)
                m_copies.append({name, *stamp, to, stampOf(to)});
            return *result;
        }
    }
    log("a file changes too often to be copied");
    return Failed;
}

std::optional<FolderMove::Result> FolderMove::copyContent(const QString &from, const QString &to,
                                                          const Stamp &stamp)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        if (!stampOf(from))
            return {};
        log("a file cannot be read", in.errorString());
        return Failed;
    }
    QFile::remove(m_scratch);
    QFile out(m_scratch);
    if (!out.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        log("a file cannot be made", out.errorString());
        return Failed;
    }
    qint64 written = 0;
    auto undo = qScopeGuard([&] {
        out.remove();
        m_advance(-written);
    });

    while (true) {
        const qint64 count = fill(in, m_buffer);
        if (count < 0) {
            log("a file cannot be read", in.errorString());
            return Failed;
        }
        if (count == 0)
            break;
        if (out.write(m_buffer.constData(), count) != count) {
            log("a file cannot be written", out.errorString());
            return NoSpace;
        }
        written += count;
        if (!m_advance(count))
            return Cancelled;
    }

    const bool same = in.seek(0) && out.seek(0) && hasSameContent(in, out);
    if (!same && !m_advance(0))
        return Cancelled;
    // What the target's file system does not have stays as it is there.
    // (The user's permissions are what the others come to, not one of their own.)
    out.setPermissions(in.permissions() & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser));
    out.setFileTime(in.fileTime(QFile::FileBirthTime), QFile::FileBirthTime);
    out.close();
    std::error_code ignored;
    std::filesystem::last_write_time(QFileInfo(m_scratch).filesystemFilePath(), stamp.modified,
                                     ignored);
    if (!same || stampOf(from) != stamp)
        return {};
    if (!QFile::rename(m_scratch, to)) {
        if (QFileInfo::exists(to))
            return {};
        log("a file cannot be named");
        return Failed;
    }
    undo.dismiss();
    return Done;
}

bool FolderMove::makeFolder(const QString &folder)
{
    if (folder == m_madeFolder)
        return true;
    if (leadsThroughLink(m_targetRoot, folder)) {
        log("a link is in the way at the target");
        return false;
    }
    if (!Util::mkpath(folder)) {
        log("a folder cannot be made at the target");
        return false;
    }
    m_madeFolder = folder;
    return true;
}

bool FolderMove::hasSameContent(const QString &left, const QString &right)
{
    QFile leftFile(left);
    QFile rightFile(right);
    return leftFile.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        && rightFile.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        && hasSameContent(leftFile, rightFile);
}

bool FolderMove::hasSameContent(QIODevice &left, QIODevice &right)
{
    while (m_advance(0)) {
        const qint64 count = fill(left, m_buffer);
        if (count < 0 || fill(right, m_otherBuffer) != count
            || std::memcmp(m_buffer.constData(), m_otherBuffer.constData(), size_t(count)) != 0)
            return false;
        if (count == 0)
            return true;
    }
    return false;
}

bool FolderMove::removeOriginals()
{
    qsizetype kept = 0;
    for (const Copy &copy : std::as_const(m_copies)) {
        const QString path = m_source + copy.name;
        const std::optional<Stamp> stamp = stampOf(path);
        if (stamp == copy.original) {
            QFile file(path);
            // A file that is read-only can be removed on some systems only once it is not.
            if (!file.remove()
                && (!file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) || !file.remove())) {
                if (kept++ == 0)
                    log("originals cannot be removed and are left", file.errorString());
            }
        } else if (stamp && copy.made && stampOf(copy.path) == copy.made) {
            // The copy of what the file was; it must not take the name from what it is now.
            QFile::remove(copy.path);
        }
    }
    m_copies.clear();
    removeEmptyFolders();
    return files(false).size() <= kept;
}

void FolderMove::removeEmptyFolders()
{
    if (leadsThroughLink(m_sourceRoot, m_source))
        return;
    QStringList folders;
    QDirIterator entry(m_source, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        entry.next();
        if (!isLink(entry.fileInfo()))
            folders.append(entry.filePath());
    }
    for (qsizetype end = m_source.size() - 1; end >= m_sourceRoot.size();
         end = m_source.lastIndexOf(QLatin1Char('/'), end - 1))
        folders.append(m_source.left(end));
    // Those inside come before those around them.
    std::sort(folders.begin(), folders.end(),
              [](const QString &a, const QString &b) { return a.size() > b.size(); });
    for (const QString &folder : std::as_const(folders))
        QDir().rmdir(folder);
}

void FolderMove::log(const char *problem, const QString &reason) const
{
    // Names of files are the user's own affair.
    QString text = QStringLiteral("Moving %1: %2")
                       .arg(m_source.mid(m_sourceRoot.size()), QLatin1String(problem));
    if (!reason.isEmpty())
        text += QStringLiteral(": ") + reason;
    ImLog::error(lcMove(), text);
}
