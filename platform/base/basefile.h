#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>

#include <mutex>

/// The record of one file: what the server knows it by, the key its bytes are encrypted with, and
/// where it lies on this device.
///
/// Thread: any. One recursive mutex guards a record; getters give copies. A change signal fires on
/// a change only, after the value is in place, on the thread that made the change, once the
/// outermost operation has let go of the mutex. A change made while others wait for their signals
/// may be told of together with them; the values given are those at that time.
class MODELBASE_BASE_EXPORT BaseFile : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString fileId READ fileId WRITE setFileId NOTIFY fileIdChanged)
    Q_PROPERTY(QString filePath READ filePath WRITE setFilePath NOTIFY filePathChanged)
    Q_PROPERTY(qint64 size READ size WRITE setSize NOTIFY sizeChanged)
    Q_PROPERTY(FileState fileState READ fileState WRITE setFileState NOTIFY fileStateChanged)
    Q_PROPERTY(bool fileExist READ fileExist NOTIFY fileExistChanged)

public:
    /// How far the file has come between this device and the server. Stored by number.
    enum FileState : quint8 {
        WaitingForUpload = 0,
        Uploading = 1,
        UploadFailed = 2,
        Downloading = 3,
        Downloaded = 4,
        NotDownloaded = 5, ///< what a received record starts with
        DownloadFailed = 6,
        DownloadPaused = 7,
        Local = 8,    ///< made on this device; there is nothing to transfer
        Uploaded = 9, ///< sent from this device, the source is in its place
        Missing = 10, ///< was Downloaded or Uploaded, and is neither in its place nor in the cache
        UploadPaused = 11,
    };
    Q_ENUM(FileState)

    explicit BaseFile(QObject *parent = nullptr);
    explicit BaseFile(const QString &fileId, int fileType = 0);
    /// A copy of all fields, without parent or connections. Of null: an empty record.
    explicit BaseFile(const BaseFile *other);
    ~BaseFile() override;

    QString fileId() const;
    void setFileId(const QString &fileId);
    /// The key of the file's content: raw bytes.
    QByteArray aesKey() const;
    void setAesKey(const QByteArray &aesKey);
    /// The checksum of the file's content: raw bytes.
    QByteArray fileMd5() const;
    void setFileMd5(const QByteArray &fileMd5);
    /// Bytes, as recorded: what a stranger wrote into a record may be negative.
    qint64 size() const;
    virtual void setSize(qint64 size);
    qint32 version() const;
    void setVersion(qint32 version);
    /// The kind of media folder that the file belongs into, a number of
    /// ModelBaseUtil::getFileTypeString(); 0 when nobody has said.
    int fileType() const;
    void setFileType(int fileType);
    FileState fileState() const;
    virtual void setFileState(FileState state);

    /// Where the file lies on this device; empty when it does not.
    QString filePath() const;
    /// Takes the path as it is; the disk is not looked at.
    virtual void setFilePath(const QString &path);
    /// Where a copy lies in the cache.
    QString cacheFilePath() const;
    virtual void setCacheFilePath(const QString &path);
    /// Whether the file was there when the disk was last looked at.
    bool fileExist() const;

    // A file of ours that is put elsewhere takes its records along. Paths are absolute; how their
    // slashes are written does not matter.

    /// To be called before the file at `from` goes, when it is at `to` as well: every record that
    /// had it at `from`, or its cached copy, has it at `to` when the call returns. No signal fires.
    static void followFile(const QString &from, const QString &to);
    /// Has filePathChanged() fired, on the calling thread, for the records that followFile() has
    /// brought to one of these paths, where nothing else has fired it since.
    static void tellFollowers(const QStringList &paths);

    /// Without the dot, in the letter case that it came in; empty when there is none.
    virtual QString fileExtension() const;
    /// What people call the file, as it was sent. The base class has nothing better than the id.
    virtual QString fileName() const;
    /// fileName() as it may be given to a file system (Util::safeFileName).
    QString diskName() const;

    /// What follows the last dot of a name, where it is a valid extension and the dot is not the
    /// first character.
    static QString extensionOf(const QString &name);
    /// The validity check of an extension: 1 to 32 letters, digits and "_-+~". Whatever else a
    /// record claims to be an extension (a path, a sentence, "pdf" in reverse) is no extension.
    static bool isValidExtension(QStringView extension);
    /// The validity check of the path: fileExist() becomes, and the result is, whether it leads to
    /// a regular file that can be read. Links are followed.
    bool checkFilePath();

    /// Writes the stored form: "aesKey" and "fileMd5" (Base64), "fileId", "size", "filePath"; and
    /// where they are not the defaults "version", "fileState", "cachePath" and "mediaType", the
    /// fileType().
    virtual void serialize(QVariantMap &map) const;

Q_SIGNALS:
    void fileIdChanged(const QString &fileId);
    void filePathChanged(const QString &filePath);
    void sizeChanged(qint64 size);
    void fileStateChanged(BaseFile::FileState fileState);
    void fileExistChanged(bool fileExist);

protected:
    enum Change : quint16 {
        NoChange = 0,
        IdChange = 1,
        PathChange = 2,
        SizeChange = 4,
        StateChange = 8,
        ExistChange = 16,
        FirstOwnChange = 32, ///< where the flags of a subclass begin
    };

    /// What a protocol record says of a file.
    struct Identity {
        QString id;
        QByteArray aesKey;
        QByteArray md5;
        qint64 size = 0;
        qint32 version = 0;
    };
    /// Sets everything at once, without locks and signals.
    explicit BaseFile(Identity &&identity);

    /// Holds the record's mutex. The last one that a thread lets go of has the signals of all
    /// changes emitted, outside the mutex.
    class MODELBASE_BASE_EXPORT Locker
    {
    public:
        explicit Locker(BaseFile *file);
        ~Locker();

    private:
        Q_DISABLE_COPY_MOVE(Locker)
        BaseFile *m_file;
    };
    using ReadLocker = std::lock_guard<std::recursive_mutex>;

    /// Emits the signals that stand for the flags. Called without the mutex.
    virtual void emitChanges(quint16 changes);
    /// Notes that signals are due. Under the mutex.
    void noteChange(quint16 changes) { m_changes |= changes; }
    /// Sets a field and notes the change, if it is one.
    template <typename T>
    void assign(T &field, const T &value, quint16 change)
    {
        const Locker locker(this);
        if (field == value)
            return;
        field = value;
        noteChange(change);
    }
    void setFileExist(bool exist);
    enum Place : quint8 { FilePlace = 1, CachePlace = 2 };
    /// Whether followFile() has changed that path since it was set, or since this was asked last:
    /// what was recorded of the file's times is not that of the copy. Under the mutex.
    bool takeFollowed(Place place);

    /// The names that a stored map has for the fields of one of its files.
    struct StoredKeys {
        QString id, aesKey, md5, path, size, version, state, cachePath, type;
        bool emptySize = true; ///< a size of 0 is written, too
    };
    static const StoredKeys &sourceKeys();
    void write(QVariantMap &map, const StoredKeys &keys) const;
    /// Reads what every kind of record has, but the path, as StoredValue reads it; with `all` false
    /// a key that is not in the map leaves its field alone.
    void read(const QVariantMap &map, const StoredKeys &keys, bool all);

    mutable std::recursive_mutex m_mutex;

private:
    class Followers;

    void setPlace(Place place, const QString &path, quint16 change);
    void follow(const QString &from, const QString &to);
    void tellPath();

    QString m_fileId;
    QByteArray m_aesKey;
    QByteArray m_fileMd5;
    QString m_filePath;
    QString m_cacheFilePath;
    qint64 m_size = 0;
    qint32 m_version = 0;
    qint32 m_fileType = 0;
    FileState m_fileState = NotDownloaded;
    bool m_fileExist = false;
    quint8 m_followed = 0; // Places whose paths followFile() has changed
    bool m_listed = false; // among the followers, once it had a path
    quint16 m_depth = 0;   // of Lockers
    quint16 m_changes = 0; // whose signals are due
};
