#pragma once

#include "base/base_export.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>

#include <mutex>

/// The record of one file: its identity on the server, the key that encrypts its bytes, and its
/// place on this device.
///
/// Thread: any. A recursive mutex guards each record; getters return copies. A change signal fires
/// only on a change, after the value is set, on the thread that made the change, once the outermost
/// operation has released the mutex. It may also report changes made while it was pending; it
/// carries the values at the time of emission.
class MODELBASE_BASE_EXPORT BaseFile : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString fileId READ fileId WRITE setFileId NOTIFY fileIdChanged)
    Q_PROPERTY(QString filePath READ filePath WRITE setFilePath NOTIFY filePathChanged)
    Q_PROPERTY(qint64 size READ size WRITE setSize NOTIFY sizeChanged)
    Q_PROPERTY(FileState fileState READ fileState WRITE setFileState NOTIFY fileStateChanged)
    Q_PROPERTY(bool fileExist READ fileExist NOTIFY fileExistChanged)

public:
    /// The state of the file's transfer between this device and the server. Stored by number.
    enum FileState : quint8 {
        WaitingForUpload = 0,
        Uploading = 1,
        UploadFailed = 2,
        Downloading = 3,
        Downloaded = 4,
        NotDownloaded = 5, ///< the initial state of a received record
        DownloadFailed = 6,
        DownloadPaused = 7,
        Local = 8,    ///< made on this device; nothing to transfer
        Uploaded = 9, ///< sent from this device, and the source still exists
        Missing = 10, ///< was Downloaded or Uploaded; neither file nor cached copy exists
        UploadPaused = 11,
    };
    Q_ENUM(FileState)

    explicit BaseFile(QObject *parent = nullptr);
    explicit BaseFile(const QString &fileId, int fileType = 0);
    /// A copy of all fields, without parent or connections. For null: an empty record.
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
    /// Bytes, as recorded: a record from outside may hold a negative number.
    qint64 size() const;
    virtual void setSize(qint64 size);
    qint32 version() const;
    void setVersion(qint32 version);
    /// The kind of media folder for the file, a number of ModelBaseUtil::getFileTypeString(); 0
    /// when not set.
    int fileType() const;
    void setFileType(int fileType);
    FileState fileState() const;
    virtual void setFileState(FileState state);

    /// The file's path on this device; empty if it is not here.
    QString filePath() const;
    /// Stores the path without looking at the disk.
    virtual void setFilePath(const QString &path);
    /// The path of a copy in the cache.
    QString cacheFilePath() const;
    virtual void setCacheFilePath(const QString &path);
    /// Whether the file existed when the disk was last checked.
    bool fileExist() const;

    // When the client moves one of its files, its records follow. Paths are absolute; either kind
    // of slash will do.

    /// Call it before the file at `from` is removed, when it exists at `to` as well: on return
    /// every record with `from` as its path, or its cached copy's, has `to` instead. No signal
    /// fires.
    static void followFile(const QString &from, const QString &to);
    /// Emits filePathChanged(), on the calling thread, for the records that followFile() moved to
    /// one of these paths, unless it was emitted since.
    static void tellFollowers(const QStringList &paths);

    /// Without the dot, in its original letter case; empty when there is none.
    virtual QString fileExtension() const;
    /// The file's name for the user, as it was sent. The base class returns the id.
    virtual QString fileName() const;
    /// fileName() made safe for a file system (Util::safeFileName).
    QString diskName() const;

    /// What follows the last dot of a name, if it is a valid extension and the dot is not the first
    /// character.
    static QString extensionOf(const QString &name);
    /// Checks an extension: 1 to 32 letters, digits and "_-+~". Anything else that a record offers
    /// as an extension (a path, a sentence, "pdf" in reverse) is invalid.
    static bool isValidExtension(QStringView extension);
    /// Checks the path: returns, and stores as fileExist(), whether it leads to a readable regular
    /// file. Links are followed.
    bool checkFilePath();

    /// Writes the stored form: "aesKey" and "fileMd5" (Base64), "fileId", "size", "filePath"; and,
    /// if they differ from the defaults, "version", "fileState", "cachePath" and "mediaType", the
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
        FirstOwnChange = 32, ///< the first flag of a subclass
    };

    /// A file as a protocol record describes it.
    struct Identity {
        QString id;
        QByteArray aesKey;
        QByteArray md5;
        qint64 size = 0;
        qint32 version = 0;
    };
    /// Sets everything at once, without locks and signals.
    explicit BaseFile(Identity &&identity);

    /// Holds the record's mutex. When a thread releases its last one, the signals of all changes
    /// are emitted, outside the mutex.
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

    /// Emits the signals for these flags. Called without the mutex.
    virtual void emitChanges(quint16 changes);
    /// Notes that signals are due. Call it under the mutex.
    void noteChange(quint16 changes) { m_changes |= changes; }
    /// Sets a field and notes the change, if there is one.
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
    /// Whether followFile() has changed that path since it was set, or since the last call: the
    /// recorded file times are not those of the copy. Call it under the mutex.
    bool takeFollowed(Place place);

    /// The keys of a file's fields in a stored map.
    struct StoredKeys {
        QString id, aesKey, md5, path, size, version, state, cachePath, type;
        bool emptySize = true; ///< a size of 0 is written, too
    };
    static const StoredKeys &sourceKeys();
    void write(QVariantMap &map, const StoredKeys &keys) const;
    /// Reads the fields that all records have, except the path, as StoredValue reads them; with
    /// `all` false a key missing in the map leaves its field unchanged.
    void read(const QVariantMap &map, const StoredKeys &keys, bool all);

    mutable std::recursive_mutex m_mutex;

private:
    class Followers;

    void setPlace(Place place, const QString &path, quint16 change);
    void follow(const QString &from, const QString &to);
    void emitPathChange();

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
    bool m_listed = false; // among the followers, since it first had a path
    quint16 m_depth = 0;   // of Lockers
    quint16 m_changes = 0; // flags of the signals that are due
};
