#include "client/downloads.h"

#include "account/accountbase.h"
#include "base/privatefile.h"
#include "base/util.h"
#include "client/clienterror.h"
#include "content/contentitem.h"
#include "content/filedata.h"
#include "content/modelbaseutil.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace
{

constexpr int ordinaryChats = 1;   // the source of media
constexpr qint64 blockSize = 4096; // bytes of each step of a transfer

QByteArray checksum(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

/// The path of a file in `directory`, existing or new: "notes.txt", or if another file has that
/// name, "notes (2).txt".
QString placeOf(const FileData &file, const QString &directory)
{
    // The name came from a stranger and may be unsafe on a disk. The files of moving stickers have
    // no name.
    const QString given = file.fileName();
    const QFileInfo name(Util::safeFileName(given.isEmpty() ? file.fileId() : given));
    QString path = directory + name.fileName();
    for (int i = 2; QFileInfo::exists(path) && checksum(path) != file.fileMd5(); ++i)
        path = directory
            + QStringLiteral("%1 (%2).%3").arg(name.completeBaseName()).arg(i).arg(name.suffix());
    return path;
}

} // namespace

Downloads::Downloads(const AccountBase *account, const QString &folder)
    : m_account(account), m_server(folder)
{
}

void Downloads::fetch(ContentItem &item)
{
    QList<QSharedPointer<FileData>> files;
    item.getFile(files);
    const QString directory =
        ModelBaseUtil::makeMediaPath(m_account->userCacheDataPath(), ordinaryChats,
                                     ModelBaseUtil::getMsgTypeToFileType(item.type()));
    for (const QSharedPointer<FileData> &file : std::as_const(files)) {
        // A file that was made here (a cover, a thumbnail) need not be fetched.
        if (file && file->fileState() != BaseFile::Local)
            fetch(*file, directory);
    }
}

void Downloads::fetch(FileData &file, const QString &directory)
{
    const bool isKnown = file.fileState() == BaseFile::Downloaded && file.exists();
    const QString place = isKnown ? file.filePath() : placeOf(file, directory);
    if (isKnown || QFileInfo::exists(place)) { // fetched for another message, or by an earlier run
        if (!isKnown)
            file.updateFilePath(place, true, true);
        if (!m_fetched.contains(file.fileId()))
            m_kept.insert(file.fileId());
        return;
    }
    const QString source = m_server.pathOf(file.fileId());
    if (!QFileInfo(source).isFile()) {
        file.setFileState(BaseFile::DownloadFailed);
        m_missing.insert(file.fileId());
        return;
    }
    transfer(file, source, place);
    m_fetched.insert(file.fileId());
    m_bytes += file.size();
}

void Downloads::transfer(FileData &file, const QString &from, const QString &to)
{
    file.setFileState(BaseFile::Downloading);
    QFile source(from);
    QSaveFile target(to);
    bool ok = Util::mkpath(QFileInfo(to).path()) && source.open(QIODevice::ReadOnly)
        && privatefile::open(target);
    while (ok && !source.atEnd()) {
        const QByteArray block = source.read(blockSize);
        ok = target.write(block) == block.size();
        file.updateTransferProgress(double(source.pos()), double(file.size()));
    }
    if (!ok || !target.commit()) {
        file.setFileState(BaseFile::DownloadFailed);
        throw ClientError(BadData,
                          QStringLiteral("%1 cannot be written: %2.")
                              .arg(QDir::toNativeSeparators(to), target.errorString()));
    }
    file.updateFilePath(to, true, true);
}

QString Downloads::summary() const
{
    QString text = QStringLiteral("%1 fetched, %2 together; already here: %3")
                       .arg(m_fetched.size())
                       .arg(Util::intToSizeStr(m_bytes))
                       .arg(m_kept.size());
    if (!m_missing.isEmpty())
        text += QStringLiteral("; %1 CANNOT BE FETCHED").arg(m_missing.size());
    return text;
}
