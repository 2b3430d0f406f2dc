#pragma once

#include "base/basefile.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <memory>
#include <utility>
#include <vector>

namespace im
{
class FileInfo;
namespace content
{
class FileInfo;
}
} // namespace im

/// The record of a file that a message refers to: a source file or a thumbnail.
///
/// Ownership: held by QSharedPointer<FileData>; a record is shared by all items that show the file.
/// QML never owns it as long as it gets it from a property or a model's role; a function that QML
/// calls returns forQml(). Thread: any, see BaseFile.
///
/// Making a record of a protocol record copies fields and touches no disk; of a stored map it looks
/// at the disk only when the map has a path.
class MODELBASE_EXPORT FileData : public BaseFile
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QString fileName READ fileName WRITE setFileName NOTIFY fileNameChanged)
    Q_PROPERTY(QString fileExtension READ fileExtension NOTIFY fileExtensionChanged)
    Q_PROPERTY(QString progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(quint8 percent READ percent NOTIFY percentChanged)
    Q_PROPERTY(QList<QVariant> downloadedRange READ downloadedRange WRITE setDownloadedRange NOTIFY
                   downloadedRangeChanged)

public:
    /// Which of the files of a stored map a record is about.
    enum class ParseType {
        Source,   ///< "fileId", "fileName", ...
        Thumbnail ///< "thumbnailId", "thumbPath", ...
    };
    Q_ENUM(ParseType)

    FileData();
    /// From a stored map, on top of `base` (which may be null). Id, key, checksum, name and size
    /// are the map's, empty where it has none; everything else stays where it has none. A path that
    /// leads nowhere is passed over; a file that is there is Downloaded, unless a state says
    /// otherwise, and its size is taken from the disk. A media file is found where a data move
    /// (AppDataMove) has brought it, whatever directory its path names. Where there is no file, a
    /// state that says there is one becomes Missing, unless the cached copy stands in (exists()).
    FileData(const QVariantMap &map, ParseType type, const BaseFile *base = nullptr);
    /// A copy of everything but the use count. Of null: an empty record.
    explicit FileData(const FileData *other);
    /// Of a file that has a path, name, size and times are taken from the disk, and so is what the
    /// record says of them. A state that says there is a file becomes Missing where there is none,
    /// as with a map.
    explicit FileData(const BaseFile *base);
    explicit FileData(const im::content::FileInfo &info);
    explicit FileData(const im::FileInfo &info);
    ~FileData() override;

    // What the file is called

    /// The name that the record came with, as people may see it (Util::shownFileName()).
    QString fileName() const override;
    void setFileName(const QString &fileName);
    /// The extension that the record came with; without one, what follows the last dot of the
    /// name, unless that dot is its first character or what follows is no valid extension.
    QString fileExtension() const override;
    /// fileExtension() in lower case.
    QString suffix() const;
    /// The vector of the file's encryption, of records that carry one: raw bytes.
    QByteArray iv() const;
    void setIv(const QByteArray &iv);

    // Name and size as they are sent. A file with an id came with a message, which may have no
    // name, or another size (that of the encrypted file): then name and size of the local copy are
    // shown but not sent, and not compared by isSameRecord(). A file without an id is still to be
    // sent: its local name and size are sent.

    void setSize(qint64 size) override;
    QString sentName() const;
    qint64 sentSize() const;

    // The stored form. For a source: "aesKey", "fileId", "fileMd5", "fileName", "size",
    // "filePath"; for a thumbnail: "thumbnailAesKey", "thumbnailId", "thumbnailFileMd5",
    // "thumbPath". Keys and checksums are Base64 text. What is not the default is also written as
    // "version", "iv", "fileState", "cachePath", "mediaType", "downloadedRange"; of a thumbnail as
    // "thumbnailName", "thumbnailSize", "thumbnailVersion", "thumbnailIv", "thumbnailFileState",
    // "thumbnailCachePath", "thumbnailMediaType", "thumbnailDownloadedRange". Where the name is
    // only that of the copy on this device, "localName" is true, and a size that was sent and is
    // not that copy's is "sentSize"; of a thumbnail "thumbnailLocalName" and "thumbnailSentSize".

    using BaseFile::serialize;
    virtual void serialize(QVariantMap &map, bool thumbnail) const;
    void serialize(QVariantMap &map) const override { serialize(map, false); }
    Q_INVOKABLE QVariantMap serialize() const;
    void serialize(im::content::FileInfo *info) const;
    void serialize(im::FileInfo *info) const;

    /// Whether a stored map has a key of that file.
    static bool isStored(const QVariantMap &map, ParseType type);
    /// Takes over what the map has; fields whose keys it has not stay.
    void update(const QVariantMap &map, ParseType type = ParseType::Source);
    /// Takes over what the record has; fields that it leaves at their defaults stay. So does the
    /// path: the record of an upload that has just got its id is still about the same file.
    void update(const im::content::FileInfo &info);
    void update(const im::FileInfo &info);
    /// True when both records say the same of what was sent: id, key, checksum, sentName(),
    /// sentSize(), version and vector.
    bool isSameRecord(const FileData &other) const;

    // Where it lies

    using BaseFile::filePath;
    /// @param checked first make sure by exists() that the file is still there
    /// @param asUrl   give a "file:" URL, which QML can show
    QString filePath(bool checked, bool asUrl);
    /// Forgets the times recorded for the file at the old path.
    void setFilePath(const QString &path) override;
    /// Forgets the times recorded for the old copy.
    void setCacheFilePath(const QString &path) override;
    /// The record is from now on about the file at `path`.
    /// @param downloaded a transfer has just put it there: the state becomes Downloaded
    /// @param check      look at the disk now: existence, times, the size of a regular file and,
    ///                   where there is no name yet, the name (but see sentName()). Otherwise
    ///                   exists() will.
    void updateFilePath(const QString &path, bool downloaded, bool check);
    /// Takes over from another record of the same file where it lies, its state and its cached
    /// copy, unless this record's own file is there (exists()). True when it did.
    bool updateFile(const FileData &other);

    /// Whether the recorded file, and no other that has replaced it, is still in its place, or
    /// where a data move has brought it; then the path is updated. If it is not, the record moves
    /// onto the cached copy; when that is gone, too, both paths become empty. The state follows:
    /// Missing, when a file that was Downloaded or Uploaded is gone, Downloaded when the cached
    /// copy stands in, while what concerns an upload stays.
    ///
    /// A file is taken for the recorded one when it was made and last changed at the recorded
    /// times; where a file system keeps no times of making, those of changing count for both.
    Q_INVOKABLE bool exists();
    /// The same check of the cached copy. The first look at a copy records its times.
    bool cacheFileExist();
    /// What the last cacheFileExist() found; does not touch the disk.
    bool hasCacheFile() const;
    /// Bytes on the disk at this moment; 0 when there is no regular file.
    qint64 fileSize() const;
    qint64 cacheFileSize() const;

    /// When the recorded file was made and last changed, in milliseconds since 1970, UTC (records
    /// of others: also in seconds). Below 1: not recorded yet.
    qint64 createTime() const;
    qint64 lastModified() const;
    void setFileTimes(qint64 createTime, qint64 lastModified);
    void setCacheFileTimes(qint64 createTime, qint64 lastModified);

    // How far a transfer has come

    /// Whether there is an upload that is not done: waiting, under way, paused or failed.
    bool awaitsUpload() const;
    /// The bytes that were transferred, for people (Util::intToSizeStr).
    QString progress() const;
    /// 0 to 100; 100 only when nothing is missing.
    quint8 percent() const;
    /// Bytes. What is negative or no number counts as 0; of an unknown total (0 or less) the
    /// percentage is 0.
    void updateTransferProgress(double done, double total);
    /// As before the transfer; also forgets the downloaded ranges. (The name has a slip that every
    /// caller shares.)
    void resetTransferProgerss();

    /// Which bytes of the file are on the disk already: maps {"from": qint64, "to": qint64} with
    /// `to` behind the last byte, in order, neither touching nor overlapping.
    QList<QVariant> downloadedRange() const;
    /// Accepts such maps in any order; what is no range is left out.
    void setDownloadedRange(const QList<QVariant> &ranges);
    void addDownloadedRange(qint64 from, qint64 to);

    // Who needs it

    /// Counts those who need the file on the disk (a view that shows it, a transfer), so that
    /// clearing the cache can leave it alone. Gives the new count, which is never below zero.
    int addref();
    int deref();
    int useCount() const;

    /// The record for a function that QML calls: without this, QML would own what it gets from a
    /// function, and delete it.
    FileData *forQml();

Q_SIGNALS:
    void fileNameChanged(const QString &fileName);
    void fileExtensionChanged();
    void progressChanged(const QString &progress);
    void percentChanged(quint8 percent);
    void downloadedRangeChanged(QList<QVariant> downloadedRange);
    /// The record is being destroyed and its fields can be read for the last time.
    void startDestroy();

protected:
    /// Where the flags of a subclass begin.
    static constexpr quint16 FirstFreeChange = FirstOwnChange << 5;

    void emitChanges(quint16 changes) override;

private:
    struct Extra;
    struct OwnKeys;
    using Range = std::pair<qint64, qint64>;

    enum OwnChange : quint16 {
        NameChange = FirstOwnChange,
        ExtensionChange = FirstOwnChange << 1,
        ProgressChange = FirstOwnChange << 2,
        PercentChange = FirstOwnChange << 3,
        RangeChange = FirstOwnChange << 4,
    };

    void parse(const QVariantMap &map, ParseType type, bool all);
    void setNameAndExtension(const QString &name, const QString &extension);
    void recordFile();
    void recordCopy();
    /// Calls exists() when the record has a file on this device.
    void noticeLoss();
    void forgetFollowedTimes();
    const Extra &extra() const;
    Extra &ownExtra();
    void takeRanges(std::vector<Range> &&ranges);

    QString m_fileName;
    std::unique_ptr<Extra> m_extra; // null until there is something in it
    int m_useCount = 0;
    bool m_cacheFileExist = false;
};
