#include "base/basefile.h"

#include "base/storedvalue.h"
#include "base/util.h"

#include <QDir>
#include <QFileInfo>
#include <QMultiHash>
#include <QPointer>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <optional>
#include <thread>
#include <utility>

namespace
{

/// A longer one is not an extension but the end of a sentence.
constexpr qsizetype maxExtension = 32;

std::optional<BaseFile::FileState> storedState(const QVariant &value)
{
    bool isNumber = false;
    const int state = value.toInt(&isNumber);
    if (!isNumber || state < BaseFile::WaitingForUpload || state > BaseFile::UploadPaused)
        return {};
    return BaseFile::FileState(state);
}

} // namespace

/// The records that have paths, by path. A record in use is pinned: it may leave the list
/// meanwhile, but another thread that destroys it waits.
class BaseFile::Followers
{
public:
    static Followers &instance()
    {
        static Followers *all = new Followers; // never deleted: records may outlive statics
        return *all;
    }

    void enter(BaseFile *record, const QString &path)
    {
        if (path.isEmpty())
            return;
        const QString key = keyOf(path);
        const std::lock_guard lock(m_mutex);
        m_records.insert(key, record);
    }

    /// False when the record was not listed with that path.
    bool leave(BaseFile *record, const QString &path)
    {
        if (path.isEmpty())
            return false;
        const QString key = keyOf(path);
        const std::lock_guard lock(m_mutex);
        const auto entry = m_records.constFind(key, record);
        if (entry == m_records.constEnd())
            return false;
        m_records.erase(entry); // one entry: the cached copy may have the same path
        return true;
    }

    /// For a record that has left with all its paths.
    void waitUntilUnpinned(const BaseFile *record)
    {
        const auto thread = std::this_thread::get_id();
        std::unique_lock lock(m_mutex);
        m_unpinned.wait(lock, [&] {
            return std::none_of(m_pins.cbegin(), m_pins.cend(), [&](const Pin &pin) {
                return pin.record == record && pin.thread != thread;
            });
        });
    }

    /// Calls `work` with each record that has this path.
    template <typename Work>
    void each(const QString &path, Work work)
    {
        const QString key = keyOf(path);
        std::unique_lock lock(m_mutex);
        for (BaseFile *record : m_records.values(key)) {
            if (!m_records.contains(key, record)) // left while another one was handled
                continue;
            const auto pin = m_pins.insert(m_pins.end(), {record, std::this_thread::get_id()});
            lock.unlock();
            work(record);
            lock.lock();
            m_pins.erase(pin);
            m_unpinned.notify_all();
        }
    }

    static QString keyOf(const QString &path)
    {
        return QDir::cleanPath(QDir::fromNativeSeparators(path));
    }

private:
    struct Pin {
        BaseFile *record;
        std::thread::id thread;
    };

    std::mutex m_mutex; // locked after a record's mutex, never before it
    std::condition_variable m_unpinned;
    QMultiHash<QString, BaseFile *> m_records;
    std::list<Pin> m_pins;
};

BaseFile::BaseFile(QObject *parent) : QObject(parent) { }

BaseFile::BaseFile(const QString &fileId, int fileType) : m_fileId(fileId), m_fileType(fileType) { }

BaseFile::BaseFile(Identity &&identity)
    : m_fileId(std::move(identity.id)), m_aesKey(std::move(identity.aesKey)),
      m_fileMd5(std::move(identity.md5)), m_size(identity.size), m_version(identity.version)
{
}

BaseFile::BaseFile(const BaseFile *other)
{
    if (!other)
        return;
    const ReadLocker locker(other->m_mutex);
    m_fileId = other->m_fileId;
    m_aesKey = other->m_aesKey;
    m_fileMd5 = other->m_fileMd5;
    m_filePath = other->m_filePath;
    m_cacheFilePath = other->m_cacheFilePath;
    m_size = other->m_size;
    m_version = other->m_version;
    m_fileType = other->m_fileType;
    m_fileState = other->m_fileState;
    m_fileExist = other->m_fileExist;
    m_followed = other->m_followed;
    m_listed = !m_filePath.isEmpty() || !m_cacheFilePath.isEmpty();
    if (m_listed) {
        Followers::instance().enter(this, m_filePath);
        Followers::instance().enter(this, m_cacheFilePath);
    }
}

BaseFile::~BaseFile()
{
    // Another thread that works with a follower uses only the members that still exist.
    if (!m_listed)
        return;
    {
        const ReadLocker locker(m_mutex);
        Followers::instance().leave(this, m_filePath);
        Followers::instance().leave(this, m_cacheFilePath);
    }
    Followers::instance().waitUntilUnpinned(this);
}

// Fields

QString BaseFile::fileId() const
{
    const ReadLocker locker(m_mutex);
    return m_fileId;
}

void BaseFile::setFileId(const QString &fileId)
{
    assign(m_fileId, fileId, IdChange);
}

QByteArray BaseFile::aesKey() const
{
    const ReadLocker locker(m_mutex);
    return m_aesKey;
}

void BaseFile::setAesKey(const QByteArray &aesKey)
{
    assign(m_aesKey, aesKey, NoChange);
}

QByteArray BaseFile::fileMd5() const
{
    const ReadLocker locker(m_mutex);
    return m_fileMd5;
}

void BaseFile::setFileMd5(const QByteArray &fileMd5)
{
    assign(m_fileMd5, fileMd5, NoChange);
}

qint64 BaseFile::size() const
{
    const ReadLocker locker(m_mutex);
    return m_size;
}

void BaseFile::setSize(qint64 size)
{
    assign(m_size, size, SizeChange);
}

qint32 BaseFile::version() const
{
    const ReadLocker locker(m_mutex);
    return m_version;
}

void BaseFile::setVersion(qint32 version)
{
    assign(m_version, version, NoChange);
}

int BaseFile::fileType() const
{
    const ReadLocker locker(m_mutex);
    return m_fileType;
}

void BaseFile::setFileType(int fileType)
{
    assign(m_fileType, fileType, NoChange);
}

BaseFile::FileState BaseFile::fileState() const
{
    const ReadLocker locker(m_mutex);
    return m_fileState;
}

void BaseFile::setFileState(FileState state)
{
    assign(m_fileState, state, StateChange);
}

QString BaseFile::filePath() const
{
    const ReadLocker locker(m_mutex);
    return m_filePath;
}

void BaseFile::setFilePath(const QString &path)
{
    setPlace(FilePlace, path, PathChange);
}

QString BaseFile::cacheFilePath() const
{
    const ReadLocker locker(m_mutex);
    return m_cacheFilePath;
}

void BaseFile::setCacheFilePath(const QString &path)
{
    setPlace(CachePlace, path, NoChange);
}

bool BaseFile::fileExist() const
{
    const ReadLocker locker(m_mutex);
    return m_fileExist;
}

void BaseFile::setFileExist(bool exist)
{
    assign(m_fileExist, exist, ExistChange);
}

// Following

void BaseFile::setPlace(Place place, const QString &path, quint16 change)
{
    const Locker locker(this);
    QString &field = place == FilePlace ? m_filePath : m_cacheFilePath;
    if (field == path)
        return;
    const QString before = std::exchange(field, path);
    m_followed &= ~place;
    m_listed = true;
    Followers::instance().leave(this, before);
    Followers::instance().enter(this, path);
    noteChange(change);
}

void BaseFile::followFile(const QString &from, const QString &to)
{
    Followers::instance().each(from, [&](BaseFile *record) { record->follow(from, to); });
}

void BaseFile::tellFollowers(const QStringList &paths)
{
    for (const QString &path : paths)
        Followers::instance().each(path, [](BaseFile *record) { record->emitPathChange(); });
}

// Another thread may have destroyed all of the record except this class when the two below run.

void BaseFile::follow(const QString &from, const QString &to)
{
    const ReadLocker locker(m_mutex);
    const QString key = Followers::keyOf(from);
    for (const Place place : {FilePlace, CachePlace}) {
        QString &field = place == FilePlace ? m_filePath : m_cacheFilePath;
        if (field.isEmpty() || Followers::keyOf(field) != key
            || !Followers::instance().leave(this, field))
            continue;
        Followers::instance().enter(this, to);
        field = to;
        m_followed |= place;
        if (place == FilePlace)
            m_changes |= PathChange;
    }
}

void BaseFile::emitPathChange()
{
    QString path;
    {
        const ReadLocker locker(m_mutex);
        if (m_depth > 0 || !(m_changes & PathChange))
            return;
        m_changes &= ~PathChange;
        path = m_filePath;
    }
    Q_EMIT filePathChanged(path); // nothing after it: a handler may have destroyed the record
}

bool BaseFile::takeFollowed(Place place)
{
    const bool followed = m_followed & place;
    m_followed &= ~place;
    return followed;
}

// Names and checks

QString BaseFile::fileName() const
{
    return fileId();
}

QString BaseFile::fileExtension() const
{
    return extensionOf(fileName());
}

QString BaseFile::diskName() const
{
    return Util::safeFileName(fileName());
}

QString BaseFile::extensionOf(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QStringView extension = dot > 0 ? QStringView(name).mid(dot + 1) : QStringView();
    return isValidExtension(extension) ? extension.toString() : QString();
}

bool BaseFile::isValidExtension(QStringView extension)
{
    return !extension.isEmpty() && extension.size() <= maxExtension
        && std::all_of(extension.begin(), extension.end(), [](QChar c) {
               return c.isLetterOrNumber() || QStringView(u"_-+~").contains(c);
           });
}

bool BaseFile::checkFilePath()
{
    const Locker locker(this);
    const QFileInfo file(m_filePath);
    const bool valid = !m_filePath.isEmpty() && file.isFile() && file.isReadable();
    setFileExist(valid);
    return valid;
}

// Stored form

const BaseFile::StoredKeys &BaseFile::sourceKeys()
{
    static const StoredKeys keys = {
        QStringLiteral("fileId"),    QStringLiteral("aesKey"),    QStringLiteral("fileMd5"),
        QStringLiteral("filePath"),  QStringLiteral("size"),      QStringLiteral("version"),
        QStringLiteral("fileState"), QStringLiteral("cachePath"), QStringLiteral("mediaType"),
    };
    return keys;
}

void BaseFile::serialize(QVariantMap &map) const
{
    write(map, sourceKeys());
}

void BaseFile::write(QVariantMap &map, const StoredKeys &keys) const
{
    const ReadLocker locker(m_mutex);
    map.insert(keys.id, m_fileId);
    map.insert(keys.aesKey, StoredValue::fromBytes(m_aesKey));
    map.insert(keys.md5, StoredValue::fromBytes(m_fileMd5));
    map.insert(keys.path, m_filePath);
    if (m_size != 0 || keys.emptySize)
        map.insert(keys.size, m_size);
    if (m_version != 0)
        map.insert(keys.version, m_version);
    if (m_fileState != NotDownloaded)
        map.insert(keys.state, int(m_fileState));
    if (!m_cacheFilePath.isEmpty())
        map.insert(keys.cachePath, m_cacheFilePath);
    if (m_fileType != 0)
        map.insert(keys.type, m_fileType);
}

void BaseFile::read(const QVariantMap &map, const StoredKeys &keys, bool all)
{
    const Locker locker(this);
    const auto has = [&](const QString &key) { return map.contains(key); };
    if (all || has(keys.id))
        setFileId(map.value(keys.id).toString());
    if (all || has(keys.aesKey))
        setAesKey(StoredValue::toBytes(map.value(keys.aesKey), keys.aesKey));
    if (all || has(keys.md5))
        setFileMd5(StoredValue::toBytes(map.value(keys.md5), keys.md5));
    if (all || has(keys.size))
        setSize(StoredValue::toInt64(map.value(keys.size)));
    if (has(keys.version))
        setVersion(StoredValue::toInt32(map.value(keys.version)));
    if (const auto state = storedState(map.value(keys.state)))
        setFileState(*state);
    if (has(keys.cachePath))
        setCacheFilePath(map.value(keys.cachePath).toString());
    if (has(keys.type))
        setFileType(StoredValue::toInt32(map.value(keys.type)));
}

// Signals

BaseFile::Locker::Locker(BaseFile *file) : m_file(file)
{
    file->m_mutex.lock();
    ++file->m_depth;
}

BaseFile::Locker::~Locker()
{
    const bool isLast = --m_file->m_depth == 0;
    const quint16 changes = isLast ? std::exchange(m_file->m_changes, 0) : quint16(0);
    m_file->m_mutex.unlock();
    if (changes != 0)
        m_file->emitChanges(changes);
}

void BaseFile::emitChanges(quint16 changes)
{
    const QPointer alive(this); // a handler may delete the file
    if (changes & IdChange)
        Q_EMIT fileIdChanged(fileId());
    if (alive && changes & PathChange)
        Q_EMIT filePathChanged(filePath());
    if (alive && changes & SizeChange)
        Q_EMIT sizeChanged(size());
    if (alive && changes & ExistChange)
        Q_EMIT fileExistChanged(fileExist());
    if (alive && changes & StateChange)
        Q_EMIT fileStateChanged(fileState());
}
