#include "settings/foldermove_p.h"

#include "base/basefile.h"
#include "base/privatefile.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "settings/fileinuse.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace
{

constexpr qsizetype bufferSize = 1 << 20;
/// How often a file that keeps changing is copied.
constexpr int attempts = 3;
/// The coarsest resolution of file times (FAT's).
constexpr std::chrono::seconds coarseTime(2);

/// With "/" as separators and without "..", so that prefixes can be compared.
QString cleanFolder(const QString &path)
{
    const QString clean = QDir::cleanPath(QDir::fromNativeSeparators(path));
    return clean.endsWith(QLatin1Char('/')) ? clean : clean + QLatin1Char('/');
}

/// Unlike QFileInfo::isSymLink(), which on Windows takes an ordinary ".lnk" file for a link.
bool isLink(const QFileInfo &info)
{
    return info.isSymbolicLink() || info.isJunction();
}

/// The first of the folders from below `root` down to `folder` that fulfils the predicate; else
/// empty.
template <typename Predicate>
QString firstOnTheWay(const QString &root, const QString &folder, Predicate isSought)
{
    for (qsizetype end = folder.indexOf(QLatin1Char('/'), root.size()); end > 0;
         end = folder.indexOf(QLatin1Char('/'), end + 1)) {
        if (isSought(QFileInfo(folder.left(end))))
            return folder.left(end);
    }
    return {};
}

bool leadsThroughLink(const QString &root, const QString &folder)
{
    return !firstOnTheWay(root, folder, isLink).isEmpty();
}

QString folderOf(const QString &path)
{
    return path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString numbered(const QString &path, int number)
{
    const QString folder = folderOf(path);
    return folder + Util::numberedFileName(path.mid(folder.size()), number);
}

/// Leaves a hole instead of zeros: a sparse file may be larger than the disk.
bool writeWithHoles(QFile &file, const QByteArray &buffer, qint64 size)
{
    constexpr qint64 blockSize = 1 << 16;
    for (qint64 done = 0; done < size; done += blockSize) {
        const char *block = buffer.constData() + done;
        const qint64 count = std::min(blockSize, size - done);
        const bool isHole = *block == 0 && std::memcmp(block, block + 1, size_t(count) - 1) == 0;
        if (isHole ? !file.seek(file.pos() + count) : file.write(block, count) != count)
            return false;
    }
    return true;
}

/// Removes empty folders, from `folder` up to but excluding `root`.
void removeEmpty(const QString &root, const QString &folder)
{
    for (qsizetype end = folder.size() - 1; end > root.size();
         end = folder.lastIndexOf(QLatin1Char('/'), end - 1))
        QDir().rmdir(folder.left(end));
}

/// Fills the buffer, or reads to the end of the file; -1 when it cannot be read.
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

/// The contents of a folder.
struct FolderMove::Listing {
    QStringList files;   // below the folder
    QStringList folders; // likewise, with "/" at the end; outer ones before inner ones
    QStringList unreadable;
    qsizetype links = 0;
};

FolderMove::FolderMove(const Task &task, Advance advance)
    : m_sourceRoot(cleanFolder(task.sourceRoot)), m_targetRoot(cleanFolder(task.targetRoot)),
      m_source(cleanFolder(task.sourceRoot + task.folder)),
      m_target(cleanFolder(task.targetRoot + task.folder)), m_scratch(task.scratch),
      m_skipped(task.skipped), m_advance(std::move(advance)),
      m_buffer(bufferSize, Qt::Uninitialized), m_otherBuffer(bufferSize, Qt::Uninitialized)
{
}

FolderMove::Listing FolderMove::list(const QString &root, const QString &folder,
                                     const QStringList &skipped)
{
    using Type = std::filesystem::file_type;
    const auto typeOf = [](const QFileInfo &info) {
        std::error_code error;
        return std::filesystem::symlink_status(info.filesystemFilePath(), error).type();
    };
    const auto isUnknown = [](Type type) { return type == Type::none || type == Type::unknown; };

    Listing listing;
    if (skipped.contains(QString()))
        return listing;
    if (leadsThroughLink(root, folder))
        listing.links = 1;
    else if (const Type type = typeOf(QFileInfo(folder.chopped(1))); isUnknown(type))
        listing.unreadable.append(QString());
    else if (type == Type::directory)
        listing.folders.append(QString());
    for (qsizetype i = 0; i < listing.folders.size(); ++i) {
        const QString within = listing.folders.at(i);
        const QString path = folder + within;
        // Qt's iterator does not report what it cannot read.
        std::error_code error;
        std::filesystem::directory_iterator entry(QFileInfo(path).filesystemFilePath(), error);
        for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
            const QFileInfo info(entry->path());
            const QString name = within + info.fileName();
            if (skipped.contains(name))
                continue;
            std::error_code typeError;
            const Type type = entry->symlink_status(typeError).type();
            if (type == Type::directory && !isLink(info))
                listing.folders.append(name + QLatin1Char('/'));
            else if (isUnknown(type)
                     || (name.contains(QChar(QChar::ReplacementCharacter))
                         && !QFileInfo::exists(folder + name))) // its name is no valid text
                listing.unreadable.append(name);
            else if (type == Type::regular)
                listing.files.append(name);
            else if (type != Type::not_found)
                ++listing.links; // a pipe or the like, which stays, too
        }
        if (error && QFileInfo::exists(path))
            listing.unreadable.append(within);
    }
    return listing;
}

qint64 FolderMove::size(const QString &root, const QString &folder)
{
    const QString path = cleanFolder(root + folder);
    qint64 size = 0;
    for (const QString &name : list(cleanFolder(root), path, {}).files)
        size += QFileInfo(path + name).size();
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

bool FolderMove::isFresh(const Stamp &stamp)
{
    return stamp.modified + coarseTime > std::filesystem::file_time_type::clock::now();
}

bool FolderMove::isInUse(const QString &path) const
{
    return FileInUse::contains(path) || Util::isOpenForWriting(path);
}

FolderMove::Result FolderMove::copy()
{
    m_copies.clear();
    m_problems.clear();
    m_worst = Done;
    const Listing listing = list(m_sourceRoot, m_source, m_skipped);
    if (listing.links > 0)
        log("links are left where they are", QString::number(listing.links));
    for (const QString &name : listing.unreadable)
        note(m_source + name, Unreadable);
    for (const QString &name : listing.files) {
        m_worst = std::max(m_worst, copyFile(name));
        if (m_worst >= NoSpace)
            return m_worst;
    }
    if (!m_copies.isEmpty() && !Util::syncFolder(m_target)) {
        log("the copies do not reach the disk");
        m_copies.clear();
        m_worst = NoSpace;
    }
    return m_worst;
}

QString FolderMove::nameOf(const Problem &problem) const
{
    QString name = problem.path.mid(m_source.size());
    return name.endsWith(QLatin1Char('/')) ? name.chopped(1) : name;
}

QList<std::pair<QString, QString>> FolderMove::renamed() const
{
    QList<std::pair<QString, QString>> names;
    for (const Copy &copy : m_copies) {
        if (const QString name = copy.path.mid(m_target.size()); name != copy.name)
            names.append({copy.name, name});
    }
    return names;
}

FolderMove::Result FolderMove::copyFile(const QString &name)
{
    const QString from = m_source + name;
    if (isInUse(from))
        return note(from, BeingWritten);
    if (const Result made = makeFolder(folderOf(m_target + name), from); made != Done)
        return made;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::optional<Stamp> stamp = stampOf(from);
        if (!stamp)
            return Done; // deleted meanwhile, nothing to move
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
                m_copies.append({name, *stamp, to, presentStamp, false, isFresh(*stamp)});
                return m_advance(stamp->size) ? Done : Cancelled;
            }
        }
        if (const std::optional<Result> result = copyContent(from, to, *stamp)) {
            if (*result == Done)
                m_copies.append({name, *stamp, to, stampOf(to), true, isFresh(*stamp)});
            return *result;
        }
    }
    return note(from, BeingWritten);
}

std::optional<FolderMove::Result> FolderMove::copyContent(const QString &from, const QString &to,
                                                          const Stamp &stamp)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        if (!stampOf(from))
            return {};
        return note(from, Unreadable, in.errorString());
    }
    QFile::remove(m_scratch);
    QFile out(m_scratch);
    if (!out.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered,
                  privatefile::forOwner)) {
        const bool isTaken = QFileInfo::exists(m_scratch);
        return note(from, isTaken ? InTheWay : NotWritable, out.errorString(),
                    isTaken ? m_scratch : QString());
    }
    qint64 written = 0;
    auto undo = qScopeGuard([&] {
        out.remove();
        m_advance(-written);
    });

    while (true) {
        const qint64 count = fill(in, m_buffer);
        if (count < 0)
            return note(from, Unreadable, in.errorString());
        if (count == 0)
            break;
        if (!writeWithHoles(out, m_buffer, count)) {
            log("a file cannot be written", out.errorString());
            return NoSpace;
        }
        written += count;
        if (!m_advance(count))
            return Cancelled;
    }

    const bool same = out.resize(written) && in.seek(0) && out.seek(0) && hasSameContent(in, out);
    if (!same && !m_advance(0))
        return Cancelled;
    // Ignore failures: the target's file system may not support these attributes.
    if (!(in.permissions() & QFile::WriteOwner))
        out.setPermissions(QFile::ReadOwner);
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
        return note(from, NotWritable);
    }
    undo.dismiss();
    return Done;
}

FolderMove::Result FolderMove::makeFolder(const QString &folder, const QString &from)
{
    if (folder == m_madeFolder)
        return Done;
    const QString obstacle = firstOnTheWay(m_targetRoot, folder, [](const QFileInfo &info) {
        return isLink(info) || (info.exists() && !info.isDir());
    });
    if (!obstacle.isEmpty())
        return note(from, InTheWay, {}, obstacle);
    if (!Util::mkpath(folder))
        return note(from, NotWritable);
    m_madeFolder = folder;
    return Done;
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
    m_moved.clear();
    bool all = true;
    for (const Copy &copy : std::as_const(m_copies))
        all = removeOriginal(copy) && all;
    m_copies.clear();
    removeEmptyFolders();
    QStringList known = m_skipped;
    for (const Problem &problem : std::as_const(m_problems))
        known.append(nameOf(problem));
    return all && list(m_sourceRoot, m_source, known).files.isEmpty();
}

bool FolderMove::removeOriginal(const Copy &copy)
{
    const QString path = m_source + copy.name;
    // The stamp does not show a change within the same tick of the clock.
    const bool isSame = !copy.isFresh || hasSameContent(path, copy.path);
    bool isRemoved = false;
    bool isStale = false;
    QString reason;
    if (!copy.made || stampOf(copy.path) != copy.made)
        return !QFileInfo::exists(path); // the copy has been changed
    FileInUse::unlessUsed(path, [&] {
        const std::optional<Stamp> stamp = stampOf(path);
        if (!isSame || stamp != copy.original) {
            // A file that was deleted or renamed must not return. But do not destroy anything
            // because a disk was unplugged.
            isStale = stamp || QFileInfo(folderOf(path)).isDir();
        } else if (!Util::isOpenForWriting(path)) {
            BaseFile::followFile(path, copy.path);
            QFile file(path);
            // On some systems a read-only file can be removed only after making it writable.
            isRemoved = file.remove()
                || (file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) && file.remove());
            reason = file.errorString();
            isStale = !isRemoved && !QFileInfo::exists(path); // someone else removed it
        }
    });
    if (isRemoved) {
        m_moved.append(copy.path);
        return true;
    }
    const bool isInPlace = QFileInfo::exists(path);
    // Also whoever uses a file may delete it.
    isStale = isStale || (!isInPlace && QFileInfo(folderOf(path)).isDir());
    if (!isStale && isInPlace && !reason.isEmpty()) {
        note(path, NotRemovable, reason);
        return true;
    }
    // The copy must not keep the name that the file has now, or will get.
    if ((isStale || isInPlace) && copy.isOurs && stampOf(copy.path) == copy.made)
        QFile::remove(copy.path);
    if (!isStale && isInPlace)
        note(path, BeingWritten);
    return !isStale || !isInPlace;
}

void FolderMove::removeEmptyFolders()
{
    if (leadsThroughLink(m_sourceRoot, m_source))
        return;
    QStringList folders = list(m_sourceRoot, m_source, m_skipped).folders;
    std::reverse(folders.begin(), folders.end());
    for (const QString &folder : std::as_const(folders))
        QDir().rmdir(m_source + folder);
    const qsizetype account = m_source.indexOf(QLatin1Char('/'), m_sourceRoot.size());
    removeEmpty(m_source.left(account + 1), m_source);
}

bool FolderMove::moveAway(const QString &root, const QString &folder, const QString &place)
{
    const QString cleanRoot = cleanFolder(root);
    const QString path = cleanFolder(root + folder);
    if (!QFileInfo(path).isDir() || leadsThroughLink(cleanRoot, path))
        return true;
    const QString base = cleanFolder(place);
    int number = 1;
    while (QFileInfo::exists(base + QString::number(number)))
        ++number;
    if (!Util::mkpath(place) || !QDir().rename(path, base + QString::number(number)))
        return false;
    removeEmpty(cleanRoot, path);
    return true;
}

FolderMove::Result FolderMove::note(const QString &path, Cause cause, const QString &reason,
                                    const QString &obstacle)
{
    static constexpr const char *texts[] = {
        "a file is being written and is left for later", "a file or folder cannot be read",
        "a file cannot be made at the target",           "something is in the way at the target",
        "an original cannot be removed and is left",
    };
    log(texts[cause], reason);
    m_problems.append({path, cause, obstacle});
    const Result result = cause == BeingWritten ? InUse : cause == NotRemovable ? Done : Failed;
    m_worst = std::max(m_worst, result);
    return result;
}

void FolderMove::log(const char *problem, const QString &reason) const
{
    // Names of files are private.
    QString text = QStringLiteral("Moving %1: %2")
                       .arg(m_source.mid(m_sourceRoot.size()), QLatin1String(problem));
    if (!reason.isEmpty())
        text += QStringLiteral(": ") + reason;
    ImLog::error(lcSettings(), text);
}
