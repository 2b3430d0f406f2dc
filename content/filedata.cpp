#include "content/filedata.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/diskfile_p.h"
#include "content/mediaplace_p.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QFileInfo>
#include <QJSEngine>
#include <QPointer>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <optional>

namespace
{

/// The name with the extension that its record names beside it.
QString completed(const QString &name, const QString &extension)
{
    // On purpose without the dot: "notapdf" stays as it is.
    if (name.isEmpty() || extension.isEmpty() || name.endsWith(extension, Qt::CaseInsensitive))
        return name;
    const qsizetype dot = name.lastIndexOf(u'.');
    return (dot > 0 ? name.first(dot) : name) + u'.' + extension;
}

/// A count of bytes as a transfer reports it.
qint64 byteCount(double bytes)
{
    constexpr double limit = 9223372036854774784.0;        // the largest double that 64 bits hold
    return bytes > 0 ? qint64(std::min(bytes, limit)) : 0; // NaN is not above 0
}

quint8 percentOf(qint64 done, qint64 total)
{
    if (total <= 0)
        return 0;
    if (done >= total)
        return 100;
    // What rounds up to the whole is not the whole.
    return quint8(std::min(99.0, std::floor(double(done) / double(total) * 100)));
}

} // namespace

/// What most of a hundred thousand records do not have.
struct FileData::Extra {
    QString extension; // only where it differs from that of the name
    QByteArray iv;
    FileTimes times;
    FileTimes cacheTimes;
    std::optional<qint64> sentSize; // only where it is not size()
    qint64 done = 0;
    quint8 percent = 0;
    bool isNameLocal = false; // nothing was sent as a name
    /// From the first byte up to the one behind the last; in order, apart from each other.
    std::vector<Range> ranges;
};

struct FileData::OwnKeys : StoredKeys {
    QString name, localName, extension, sentSize, iv, downloadedRange;

    static const OwnKeys &of(ParseType type)
    {
        static const OwnKeys source = {
            sourceKeys(),
            QStringLiteral("fileName"),
            QStringLiteral("localName"),
            QStringLiteral("fileExtension"),
            QStringLiteral("sentSize"),
            QStringLiteral("iv"),
            QStringLiteral("downloadedRange"),
        };
        static const OwnKeys thumbnail = {
            {
                QStringLiteral("thumbnailId"),
                QStringLiteral("thumbnailAesKey"),
                QStringLiteral("thumbnailFileMd5"),
                QStringLiteral("thumbPath"),
                QStringLiteral("thumbnailSize"),
                QStringLiteral("thumbnailVersion"),
                QStringLiteral("thumbnailFileState"),
                QStringLiteral("thumbnailCachePath"),
                QStringLiteral("thumbnailMediaType"),
                false,
            },
            QStringLiteral("thumbnailName"),
            QStringLiteral("thumbnailLocalName"),
            QStringLiteral("thumbnailExtension"),
            QStringLiteral("thumbnailSentSize"),
            QStringLiteral("thumbnailIv"),
            QStringLiteral("thumbnailDownloadedRange"),
        };
        return type == ParseType::Thumbnail ? thumbnail : source;
    }
};

const FileData::Extra &FileData::extra() const
{
    static const Extra none;
    return m_extra ? *m_extra : none;
}

FileData::Extra &FileData::ownExtra()
{
    if (!m_extra)
        m_extra = std::make_unique<Extra>();
    return *m_extra;
}

// Life

FileData::FileData() = default;

FileData::FileData(const QVariantMap &map, ParseType type, const BaseFile *base) : BaseFile(base)
{
    parse(map, type, true);
}

FileData::FileData(const FileData *other) : BaseFile(other)
{
    if (!other)
        return;
    const ReadLocker locker(other->m_mutex);
    m_fileName = other->m_fileName;
    m_cacheFileExist = other->m_cacheFileExist;
    if (other->m_extra)
        m_extra = std::make_unique<Extra>(*other->m_extra);
}

FileData::FileData(const BaseFile *base) : BaseFile(base)
{
    recordFile();
    noticeLoss();
}

FileData::FileData(const im::content::FileInfo &info)
    : BaseFile(Identity{Util::fromUtf8(info.id()), QByteArray::fromStdString(info.key()),
                        QByteArray::fromStdString(info.checksum()), info.size(), info.version()}),
      m_fileName(Util::fromUtf8(info.name()))
{
}

FileData::FileData(const im::FileInfo &info)
    : BaseFile(Identity{Util::fromUtf8(info.file_id()), QByteArray::fromStdString(info.key()),
                        QByteArray::fromStdString(info.check_sum()), info.size()})
{
    setIv(QByteArray::fromStdString(info.iv()));
}

FileData::~FileData()
{
    Q_EMIT startDestroy();
}

// Name

QString FileData::fileName() const
{
    const ReadLocker locker(m_mutex);
    return Util::shownFileName(m_fileName);
}

void FileData::setFileName(const QString &fileName)
{
    setNameAndExtension(fileName, {});
}

QString FileData::fileExtension() const
{
    const ReadLocker locker(m_mutex);
    return extra().extension.isEmpty() ? extensionOf(m_fileName) : extra().extension;
}

QString FileData::suffix() const
{
    return fileExtension().toLower();
}

void FileData::setNameAndExtension(const QString &name, const QString &extension)
{
    const Locker locker(this);
    const QString before = fileExtension();
    assign(m_fileName, name, NameChange);
    if (m_extra)
        m_extra->isNameLocal = false;
    const QString apart = extension == extensionOf(name) ? QString() : extension;
    if (apart != extra().extension)
        ownExtra().extension = apart;
    if (fileExtension() != before)
        noteChange(ExtensionChange);
}

QByteArray FileData::iv() const
{
    const ReadLocker locker(m_mutex);
    return extra().iv;
}

void FileData::setIv(const QByteArray &iv)
{
    const ReadLocker locker(m_mutex);
    if (iv != extra().iv)
        ownExtra().iv = iv;
}

// What is sent

void FileData::setSize(qint64 size)
{
    const Locker locker(this);
    if (m_extra)
        m_extra->sentSize.reset();
    BaseFile::setSize(size);
}

QString FileData::sentName() const
{
    const ReadLocker locker(m_mutex);
    return extra().isNameLocal ? QString() : m_fileName;
}

qint64 FileData::sentSize() const
{
    const ReadLocker locker(m_mutex);
    return extra().sentSize.value_or(size());
}

// Stored form

void FileData::serialize(QVariantMap &map, bool thumbnail) const
{
    const ParseType type = thumbnail ? ParseType::Thumbnail : ParseType::Source;
    const OwnKeys &keys = OwnKeys::of(type);
    const ReadLocker locker(m_mutex);
    write(map, keys);
    if (!m_fileName.isEmpty() || !thumbnail)
        map.insert(keys.name, m_fileName);
    if (extra().isNameLocal)
        map.insert(keys.localName, true);
    if (extra().sentSize)
        map.insert(keys.sentSize, *extra().sentSize);
    if (!extra().iv.isEmpty())
        map.insert(keys.iv, StoredValue::fromBytes(extra().iv));
    if (!extra().ranges.empty())
        map.insert(keys.downloadedRange, downloadedRange());
}

QVariantMap FileData::serialize() const
{
    QVariantMap map;
    serialize(map, false);
    return map;
}

void FileData::serialize(im::content::FileInfo *info) const
{
    const ReadLocker locker(m_mutex);
    info->set_id(fileId().toStdString());
    info->set_key(aesKey().toStdString());
    info->set_checksum(fileMd5().toStdString());
    info->set_name(sentName().toStdString());
    info->set_size(sentSize());
    info->set_version(version());
}

void FileData::serialize(im::FileInfo *info) const
{
    const ReadLocker locker(m_mutex);
    info->set_file_id(fileId().toStdString());
    info->set_key(aesKey().toStdString());
    info->set_check_sum(fileMd5().toStdString());
    info->set_size(sentSize());
    info->set_iv(extra().iv.toStdString());
}

void FileData::parse(const QVariantMap &map, ParseType type, bool all)
{
    const OwnKeys &keys = OwnKeys::of(type);
    const auto has = [&](const QString &key) { return map.contains(key); };
    const Locker locker(this);
    read(map, keys, all);
    if (all || has(keys.name) || has(keys.extension)) {
        const QString given = map.value(keys.extension).toString();
        const QString extension = isValidExtension(given) ? given : QString();
        const QString name = all || has(keys.name) ? map.value(keys.name).toString() : m_fileName;
        setNameAndExtension(completed(name, extension), extension);
    }
    if (map.value(keys.localName).toBool())
        ownExtra().isNameLocal = true;
    if (has(keys.sentSize))
        ownExtra().sentSize = StoredValue::toInt64(map.value(keys.sentSize));
    if (has(keys.iv))
        setIv(StoredValue::toBytes(map.value(keys.iv), keys.iv));
    if (has(keys.downloadedRange))
        setDownloadedRange(map.value(keys.downloadedRange).toList());

    const QString path = findMediaFile(map.value(keys.path).toString());
    if (path.isEmpty()) {
        noticeLoss();
        return;
    }
    setFilePath(path);
    recordCopy();
    if (all && !has(keys.size) && !has(keys.sentSize)) // the size that was sent is unknown
        setSize(size());
    if (fileState() == NotDownloaded) // nothing is known but that it is here
        setFileState(Downloaded);
}

void FileData::update(const QVariantMap &map, ParseType type)
{
    parse(map, type, false);
}

void FileData::update(const im::content::FileInfo &info)
{
    const Locker locker(this);
    if (!info.id().empty())
        setFileId(Util::fromUtf8(info.id()));
    if (!info.key().empty())
        setAesKey(QByteArray::fromStdString(info.key()));
    if (!info.checksum().empty())
        setFileMd5(QByteArray::fromStdString(info.checksum()));
    if (!info.name().empty())
        setFileName(Util::fromUtf8(info.name()));
    if (info.size() != 0)
        setSize(info.size());
    if (info.version() != 0)
        setVersion(info.version());
}

void FileData::update(const im::FileInfo &info)
{
    const Locker locker(this);
    if (!info.file_id().empty())
        setFileId(Util::fromUtf8(info.file_id()));
    if (!info.key().empty())
        setAesKey(QByteArray::fromStdString(info.key()));
    if (!info.check_sum().empty())
        setFileMd5(QByteArray::fromStdString(info.check_sum()));
    if (info.size() != 0)
        setSize(info.size());
    if (!info.iv().empty())
        setIv(QByteArray::fromStdString(info.iv()));
}

bool FileData::isStored(const QVariantMap &map, ParseType type)
{
    const OwnKeys &keys = OwnKeys::of(type);
    const QString *const which[] = {&keys.id,   &keys.path, &keys.name,    &keys.aesKey,
                                    &keys.size, &keys.md5,  &keys.version, &keys.cachePath};
    return std::any_of(std::begin(which), std::end(which),
                       [&map](const QString *key) { return map.contains(*key); });
}

bool FileData::isSameRecord(const FileData &other) const
{
    if (&other == this)
        return true;
    const std::scoped_lock locker(m_mutex, other.m_mutex);
    return fileId() == other.fileId() && aesKey() == other.aesKey() && fileMd5() == other.fileMd5()
        && sentName() == other.sentName() && sentSize() == other.sentSize()
        && version() == other.version() && extra().iv == other.extra().iv;
}

// Place

QString FileData::filePath(bool checked, bool asUrl)
{
    const Locker locker(this);
    if (checked)
        exists();
    const QString path = filePath();
    return asUrl && !path.isEmpty() ? QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) : path;
}

void FileData::setFilePath(const QString &path)
{
    const Locker locker(this);
    if (m_extra && path != filePath())
        m_extra->times = {};
    BaseFile::setFilePath(path);
}

void FileData::setCacheFilePath(const QString &path)
{
    const Locker locker(this);
    if (path != cacheFilePath()) {
        if (m_extra)
            m_extra->cacheTimes = {};
        m_cacheFileExist = false;
    }
    BaseFile::setCacheFilePath(path);
}

void FileData::updateFilePath(const QString &path, bool downloaded, bool check)
{
    const Locker locker(this);
    if (m_extra)
        m_extra->times = {};
    setFilePath(path);
    if (check)
        recordCopy();
    if (downloaded)
        setFileState(Downloaded);
}

void FileData::noticeLoss()
{
    const FileState state = fileState();
    if (fileExist() || state == Downloaded || state == Uploaded)
        exists();
}

void FileData::recordFile()
{
    const Locker locker(this);
    const QString path = filePath();
    const DiskFile file(path);
    setFileExist(file.exists);
    if (!file.exists)
        return;
    ownExtra().times = file.times;
    if (file.isRegular)
        setSize(file.size);
    if (m_fileName.isEmpty())
        setNameAndExtension(QFileInfo(path).fileName(), extra().extension);
}

void FileData::recordCopy()
{
    const Locker locker(this);
    const QString name = sentName();
    const qint64 sizeSent = sentSize();
    recordFile();
    if (fileId().isEmpty())
        return;
    if (sizeSent != size())
        ownExtra().sentSize = sizeSent;
    if (name != m_fileName)
        ownExtra().isNameLocal = true;
}

bool FileData::updateFile(const FileData &other)
{
    if (&other == this || (other.filePath().isEmpty() && other.cacheFilePath().isEmpty()))
        return false;
    FileData copy(&other); // no two records are locked at a time
    copy.forgetFollowedTimes();
    const Locker locker(this);
    if (fileExist() && exists()) // it may have gone since the last look
        return false;
    setFilePath(copy.filePath());
    setCacheFilePath(copy.cacheFilePath());
    ownExtra().times = copy.extra().times;
    ownExtra().cacheTimes = copy.extra().cacheTimes;
    m_cacheFileExist = copy.m_cacheFileExist;
    setFileExist(copy.fileExist());
    setFileState(copy.fileState());
    return true;
}

bool FileData::exists()
{
    const Locker locker(this);
    forgetFollowedTimes();
    DiskFile file(filePath());
    if (!file.exists) {
        if (const QString place = findMediaFile(filePath()); !place.isEmpty()) {
            setFilePath(place);
            file = DiskFile(place);
        }
    }
    if (file.exists && !extra().times.areKnown())
        ownExtra().times = file.times;
    if (file.exists && file.times.match(extra().times)) {
        setFileExist(true);
        return true;
    }
    const FileState state = fileState();
    if (cacheFileExist()) {
        updateFilePath(cacheFilePath(), false, true);
        if (state != Uploaded && !awaitsUpload())
            setFileState(Downloaded);
        return fileExist();
    }
    if (state == Downloaded || state == Uploaded)
        setFileState(Missing);
    setCacheFilePath({});
    setFilePath({});
    setFileExist(false);
    return false;
}

bool FileData::cacheFileExist()
{
    const Locker locker(this);
    forgetFollowedTimes();
    DiskFile copy(cacheFilePath());
    if (!copy.exists) {
        if (const QString place = findMediaFile(cacheFilePath()); !place.isEmpty()) {
            setCacheFilePath(place);
            copy = DiskFile(place);
        }
    }
    if (copy.exists && !extra().cacheTimes.areKnown())
        ownExtra().cacheTimes = copy.times;
    m_cacheFileExist = copy.exists && copy.times.match(extra().cacheTimes);
    return m_cacheFileExist;
}

void FileData::forgetFollowedTimes()
{
    if (takeFollowed(FilePlace) && m_extra)
        m_extra->times = {};
    if (takeFollowed(CachePlace) && m_extra)
        m_extra->cacheTimes = {};
}

bool FileData::hasCacheFile() const
{
    const ReadLocker locker(m_mutex);
    return m_cacheFileExist;
}

qint64 FileData::fileSize() const
{
    return DiskFile(filePath()).regularSize();
}

qint64 FileData::cacheFileSize() const
{
    return DiskFile(cacheFilePath()).regularSize();
}

qint64 FileData::createTime() const
{
    const ReadLocker locker(m_mutex);
    return extra().times.created;
}

qint64 FileData::lastModified() const
{
    const ReadLocker locker(m_mutex);
    return extra().times.modified;
}

void FileData::setFileTimes(qint64 createTime, qint64 lastModified)
{
    const ReadLocker locker(m_mutex);
    ownExtra().times = {createTime, lastModified};
}

void FileData::setCacheFileTimes(qint64 createTime, qint64 lastModified)
{
    const ReadLocker locker(m_mutex);
    ownExtra().cacheTimes = {createTime, lastModified};
}

// Transfer

bool FileData::awaitsUpload() const
{
    const FileState state = fileState();
    return state == WaitingForUpload || state == Uploading || state == UploadFailed
        || state == UploadPaused;
}

QString FileData::progress() const
{
    const ReadLocker locker(m_mutex);
    return Util::intToSizeStr(extra().done);
}

quint8 FileData::percent() const
{
    const ReadLocker locker(m_mutex);
    return extra().percent;
}

void FileData::updateTransferProgress(double done, double total)
{
    const Locker locker(this);
    const QString before = progress();
    ownExtra().done = byteCount(done);
    if (progress() != before)
        noteChange(ProgressChange);
    assign(ownExtra().percent, percentOf(byteCount(done), byteCount(total)), PercentChange);
}

void FileData::resetTransferProgerss()
{
    const Locker locker(this);
    updateTransferProgress(0, 0);
    setDownloadedRange({});
}

QList<QVariant> FileData::downloadedRange() const
{
    const ReadLocker locker(m_mutex);
    QList<QVariant> list;
    for (const auto &[from, to] : extra().ranges)
        list.append(QVariantMap{{QStringLiteral("from"), from}, {QStringLiteral("to"), to}});
    return list;
}

void FileData::setDownloadedRange(const QList<QVariant> &ranges)
{
    std::vector<Range> wanted;
    for (const QVariant &element : ranges) {
        const QVariantMap map = element.toMap();
        wanted.emplace_back(StoredValue::toInt64(map.value(QStringLiteral("from"))),
                            StoredValue::toInt64(map.value(QStringLiteral("to"))));
    }
    takeRanges(std::move(wanted));
}

void FileData::addDownloadedRange(qint64 from, qint64 to)
{
    const Locker locker(this);
    std::vector<Range> wanted = extra().ranges;
    wanted.emplace_back(from, to);
    takeRanges(std::move(wanted));
}

void FileData::takeRanges(std::vector<Range> &&ranges)
{
    std::erase_if(
        ranges, [](const Range &range) { return range.first < 0 || range.second <= range.first; });
    std::sort(ranges.begin(), ranges.end());
    std::vector<Range> joined;
    for (const Range &range : ranges) {
        if (!joined.empty() && range.first <= joined.back().second)
            joined.back().second = std::max(joined.back().second, range.second);
        else
            joined.push_back(range);
    }
    const Locker locker(this);
    assign(ownExtra().ranges, joined, RangeChange);
}

// Use

int FileData::addref()
{
    const ReadLocker locker(m_mutex);
    return ++m_useCount;
}

int FileData::deref()
{
    const ReadLocker locker(m_mutex);
    m_useCount = std::max(0, m_useCount - 1);
    return m_useCount;
}

int FileData::useCount() const
{
    const ReadLocker locker(m_mutex);
    return m_useCount;
}

FileData *FileData::forQml()
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    return this;
}

void FileData::emitChanges(quint16 changes)
{
    const QPointer alive(this);
    BaseFile::emitChanges(changes);
    if (alive && changes & NameChange)
        Q_EMIT fileNameChanged(fileName());
    if (alive && changes & ExtensionChange)
        Q_EMIT fileExtensionChanged();
    if (alive && changes & ProgressChange)
        Q_EMIT progressChanged(progress());
    if (alive && changes & PercentChange)
        Q_EMIT percentChanged(percent());
    if (alive && changes & RangeChange)
        Q_EMIT downloadedRangeChanged(downloadedRange());
}
