#include "content/items/stickeritem.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "content/items/mediabox_p.h"
#include "content/stickerdata.h"
#include "core/logs_p.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <algorithm>
#include <utility>

namespace
{

using Map = StickerItem::Map;
using FilePointer = QSharedPointer<StickerData>;

/// The side of the square that stickers are shown within, in pixels.
constexpr int greatestSide = 192;

constexpr auto pidKey = [] { return QStringLiteral("pid"); };
constexpr auto shortcutKey = [] { return QStringLiteral("shortcut"); };
constexpr auto hintKey = [] { return QStringLiteral("hint"); };
constexpr auto wKey = [] { return QStringLiteral("w"); };
constexpr auto hKey = [] { return QStringLiteral("h"); };
constexpr auto uploadUserIdKey = [] { return QStringLiteral("uploadUserId"); };
constexpr auto thumbWKey = [] { return QStringLiteral("thumbW"); };
constexpr auto thumbHKey = [] { return QStringLiteral("thumbH"); };
constexpr auto thumbNailKey = [] { return QStringLiteral("thumbNail"); };
constexpr auto thumbnailIdKey = [] { return QStringLiteral("thumbnailId"); };
constexpr auto thumbPathKey = [] { return QStringLiteral("thumbPath"); };

/// When a value of a file's record is stored.
enum class Written { Always, IfNotEmpty, IfOnDevice };

/// A value of a file's record: under which key the record itself has it, and under which ones maps
/// of stickers have it.
struct FileKey {
    QString inRecord;
    QString still;
    QString animated;
    Written written = Written::Always;
};

const QList<FileKey> &fileKeys()
{
    static const QList<FileKey> keys{
        {QStringLiteral("fileId"), QStringLiteral("fileId"), QStringLiteral("animateId")},
        {QStringLiteral("size"), QStringLiteral("size"), QStringLiteral("animateSize")},
        {QStringLiteral("fileMd5"), QStringLiteral("fileMd5"), QStringLiteral("animateFileMd5")},
        {QStringLiteral("aesKey"), QStringLiteral("aesKey"), QStringLiteral("animateAesKey")},
        {QStringLiteral("filePath"), QStringLiteral("filePath"), QStringLiteral("animatePath"),
         Written::IfOnDevice},
        {QStringLiteral("fileState"), QStringLiteral("fileState"),
         QStringLiteral("animateFileState"), Written::IfOnDevice},
        {QStringLiteral("fileName"), QStringLiteral("fileName"), QStringLiteral("animateName"),
         Written::IfNotEmpty},
        {QStringLiteral("localName"), QStringLiteral("localName"),
         QStringLiteral("animateLocalName"), Written::IfNotEmpty},
        {QStringLiteral("sentSize"), QStringLiteral("sentSize"), QStringLiteral("animateSentSize"),
         Written::IfNotEmpty},
        {QStringLiteral("version"), QStringLiteral("version"), QStringLiteral("animateVersion"),
         Written::IfNotEmpty},
        {QStringLiteral("iv"), QStringLiteral("iv"), QStringLiteral("animateIv"),
         Written::IfNotEmpty},
        {QStringLiteral("mediaType"), QStringLiteral("mediaType"),
         QStringLiteral("animateMediaType"), Written::IfNotEmpty},
    };
    return keys;
}

// What the record of a file keeps for stickers.

QString formatKey(bool animated)
{
    return animated ? QStringLiteral("animateFileType") : QStringLiteral("fileType");
}

constexpr auto animateWKey = [] { return QStringLiteral("animateW"); };
constexpr auto animateHKey = [] { return QStringLiteral("animateH"); };

/// A record that has neither an id nor a place is none.
template <typename File>
QSharedPointer<File> unlessEmpty(const QSharedPointer<File> &file)
{
    const bool isEmpty = file->fileId().isEmpty() && file->BaseFile::filePath().isEmpty();
    return isEmpty ? QSharedPointer<File>() : file;
}

/// Null when the map names neither a file nor a path that leads to one. A map of the file that is
/// `held` changes what it has keys for.
FilePointer fileOf(const Map &map, bool animated, const FilePointer &held)
{
    QVariantMap record;
    for (const FileKey &key : fileKeys()) {
        const auto value = map.constFind(animated ? key.animated : key.still);
        if (value != map.constEnd())
            record.insert(key.inRecord, *value);
    }
    const QString id = record.value(QStringLiteral("fileId")).toString();
    if (id.isEmpty() && record.value(QStringLiteral("filePath")).toString().isEmpty())
        return {};
    const bool isHeld = held && !id.isEmpty() && held->fileId() == id;
    auto file = FilePointer::create(isHeld ? held.data() : nullptr);
    file->update(record);
    if (const auto value = map.constFind(formatKey(animated)); value != map.constEnd())
        file->setFormat(value->toString());
    if (animated) {
        if (const auto value = map.constFind(animateWKey()); value != map.constEnd())
            file->setWidth(StoredValue::toInt32(*value));
        if (const auto value = map.constFind(animateHKey()); value != map.constEnd())
            file->setHeight(StoredValue::toInt32(*value));
    }
    return unlessEmpty(file);
}

bool isWritten(const FileKey &key, const QVariant &value, bool isOnDevice)
{
    switch (key.written) {
    case Written::IfOnDevice:
        return isOnDevice;
    case Written::IfNotEmpty:
        return !value.toString().isEmpty();
    case Written::Always:
        break;
    }
    return true;
}

void write(StickerData &file, bool animated, Map &map)
{
    // A record that lies nowhere needs no look at the disk.
    const bool mayBeHere = !file.filePath().isEmpty() || !file.cacheFilePath().isEmpty();
    const bool isOnDevice = mayBeHere && file.exists();
    QVariantMap record = static_cast<const StickerData &>(file).serialize();
    record.insert(QStringLiteral("fileState"), int(file.fileState()));
    for (const FileKey &key : fileKeys()) {
        const QVariant value = record.value(key.inRecord);
        if (isWritten(key, value, isOnDevice))
            map.insert(animated ? key.animated : key.still, value);
    }
    map.insert(formatKey(animated), file.format());
    if (!animated)
        return;
    if (file.width() != 0)
        map.insert(animateWKey(), file.width());
    if (file.height() != 0)
        map.insert(animateHKey(), file.height());
}

void write(const StickerItem::Thumbnail &thumbnail, Map &map)
{
    if (thumbnail.file)
        thumbnail.file->serialize(map, true);
    if (thumbnail.w != 0)
        map.insert(thumbWKey(), thumbnail.w);
    if (thumbnail.h != 0)
        map.insert(thumbHKey(), thumbnail.h);
    if (!thumbnail.bytes.isEmpty())
        map.insert(thumbNailKey(), StoredValue::fromBytes(thumbnail.bytes));
}

StickerItem::Thumbnail thumbnailOf(const Map &map)
{
    StickerItem::Thumbnail thumbnail;
    if (!map.value(thumbnailIdKey()).toString().isEmpty()
        || !map.value(thumbPathKey()).toString().isEmpty()) {
        thumbnail.file =
            unlessEmpty(QSharedPointer<FileData>::create(map, FileData::ParseType::Thumbnail));
    }
    thumbnail.bytes = StoredValue::toBytes(map.value(thumbNailKey()), thumbNailKey());
    thumbnail.w = StoredValue::toInt32(map.value(thumbWKey()));
    thumbnail.h = StoredValue::toInt32(map.value(thumbHKey()));
    return thumbnail;
}

bool areSame(const StickerItem::Thumbnail &a, const StickerItem::Thumbnail &b)
{
    return a.file == b.file && a.bytes == b.bytes && a.w == b.w && a.h == b.h;
}

bool areSame(const FileData &a, const FileData &b)
{
    return a.isSameRecord(b);
}

bool areSame(const StickerData &a, const StickerData &b)
{
    return a.isSameRecord(b) && a.format() == b.format() && a.width() == b.width()
        && a.height() == b.height();
}

/// The record to hold from now on: the held one as long as the new one says the same. A new one of
/// the same file takes over where that lies.
template <typename File>
QSharedPointer<File> merged(const QSharedPointer<File> &held, const QSharedPointer<File> &incoming)
{
    if (!held || !incoming || held == incoming)
        return incoming;
    if (areSame(*held, *incoming)) {
        held->updateFile(*incoming);
        return held;
    }
    if (!held->fileId().isEmpty() && held->fileId() == incoming->fileId())
        incoming->updateFile(*held);
    return incoming;
}

// Comparisons with the protocol's records, which take over nothing.

bool areSame(const QString &a, const std::string &b)
{
    return QAnyStringView::equal(a, QUtf8StringView(b.data(), qsizetype(b.size())));
}

bool areSame(const QByteArray &a, const std::string &b)
{
    return QByteArrayView(a) == QByteArrayView(b.data(), qsizetype(b.size()));
}

bool areSame(const FileData *file, const im::content::FileInfo &info)
{
    if (!file)
        return info.id().empty();
    return areSame(file->fileId(), info.id()) && areSame(file->aesKey(), info.key())
        && areSame(file->fileMd5(), info.checksum()) && areSame(file->sentName(), info.name())
        && file->sentSize() == info.size() && file->version() == info.version();
}

bool areSame(const StickerData *file, const im::AnimatedSticker &animated)
{
    const im::FileInfo &info = animated.file();
    if (!file)
        return info.file_id().empty();
    return areSame(file->fileId(), info.file_id()) && areSame(file->aesKey(), info.key())
        && areSame(file->fileMd5(), info.check_sum()) && areSame(file->iv(), info.iv())
        && areSame(file->format(), animated.file_type()) && file->sentSize() == info.size()
        && file->width() == animated.width() && file->height() == animated.height();
}

bool areSame(const StickerItem::Thumbnail &thumbnail, const im::content::FileThumb &thumb)
{
    return areSame(thumbnail.file.data(), thumb.thumb_file())
        && areSame(thumbnail.bytes, thumb.thumb_nail()) && thumbnail.w == thumb.width()
        && thumbnail.h == thumb.height();
}

QSharedPointer<StickerData> copyOf(const QSharedPointer<StickerData> &file)
{
    return file ? FilePointer::create(file.data()) : FilePointer();
}

} // namespace

struct StickerItem::Fields {
    qint32 pid = 0;
    QString shortcut;
    QString hint;
    qint32 w = 0;
    qint32 h = 0;
    qint64 uploadUserId = 0;
    FilePointer file;
    FilePointer animatedFile;
    Thumbnail thumbnail;
};

StickerItem::StickerItem(const Map &map, int source, AccountBase *account)
    : ContentItem(map, source, account)
{
    setType(Sticker);
    Changes changes(this);
    take(changes, read(map));
}

StickerItem::StickerItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    setType(Sticker);
    deserialize(content.sticker());
}

StickerItem::StickerItem(int source, AccountBase *account) : ContentItem(source, account)
{
    setType(Sticker);
}

StickerItem::StickerItem(const StickerItem *other)
    : ContentItem(other), m_shortcut(other->m_shortcut), m_hint(other->m_hint),
      m_file(copyOf(other->m_file)), m_animatedFile(copyOf(other->m_animatedFile)),
      m_thumbnail(other->m_thumbnail), m_uploadUserId(other->m_uploadUserId), m_pid(other->m_pid),
      m_w(other->m_w), m_h(other->m_h)
{
    if (m_thumbnail.file)
        m_thumbnail.file = QSharedPointer<FileData>::create(m_thumbnail.file.data());
}

StickerItem::~StickerItem() = default;

// Fields

void StickerItem::setPid(qint32 pid)
{
    Changes(this).set(m_pid, pid, &StickerItem::pidChanged);
}

void StickerItem::setShortcut(const QString &shortcut)
{
    Changes(this).set(m_shortcut, shortcut, &StickerItem::shortcutChanged);
}

void StickerItem::setHint(const QString &hint)
{
    Changes(this).set(m_hint, hint, &StickerItem::hintChanged);
}

void StickerItem::setW(qint32 w)
{
    Changes(this).set(m_w, w, &StickerItem::wChanged);
}

void StickerItem::setH(qint32 h)
{
    Changes(this).set(m_h, h, &StickerItem::hChanged);
}

void StickerItem::setUploadUserId(qint64 uploadUserId)
{
    Changes(this).set(m_uploadUserId, uploadUserId, &StickerItem::uploadUserIdChanged);
}

void StickerItem::setFile(const QSharedPointer<StickerData> &file)
{
    Changes(this).set(m_file, file, &StickerItem::fileChanged);
}

void StickerItem::setAnimatedFile(const QSharedPointer<StickerData> &file)
{
    Changes(this).set(m_animatedFile, file, &StickerItem::animatedFileChanged);
}

void StickerItem::setThumbnail(const Thumbnail &thumbnail)
{
    if (areSame(m_thumbnail, thumbnail))
        return;
    m_thumbnail = thumbnail;
    Q_EMIT thumbnailChanged();
}

StickerData *StickerItem::fileObject() const
{
    return m_file.data();
}

StickerData *StickerItem::animatedFileObject() const
{
    return m_animatedFile.data();
}

void StickerItem::take(Changes<StickerItem> &changes, Fields &&fields)
{
    changes.set(m_pid, fields.pid, &StickerItem::pidChanged);
    changes.set(m_shortcut, std::move(fields.shortcut), &StickerItem::shortcutChanged);
    changes.set(m_hint, std::move(fields.hint), &StickerItem::hintChanged);
    changes.set(m_w, fields.w, &StickerItem::wChanged);
    changes.set(m_h, fields.h, &StickerItem::hChanged);
    changes.set(m_uploadUserId, fields.uploadUserId, &StickerItem::uploadUserIdChanged);
    changes.set(m_file, merged(m_file, fields.file), &StickerItem::fileChanged);
    changes.set(m_animatedFile, merged(m_animatedFile, fields.animatedFile),
                &StickerItem::animatedFileChanged);
    fields.thumbnail.file = merged(m_thumbnail.file, fields.thumbnail.file);
    if (!areSame(m_thumbnail, fields.thumbnail)) {
        m_thumbnail = std::move(fields.thumbnail);
        changes.add(&StickerItem::thumbnailChanged);
    }
}

// Stored form

StickerItem::Fields StickerItem::read(const Map &map, const StickerItem *held)
{
    return {StoredValue::toInt32(map.value(pidKey())),
            map.value(shortcutKey()).toString(),
            map.value(hintKey()).toString(),
            StoredValue::toInt32(map.value(wKey())),
            StoredValue::toInt32(map.value(hKey())),
            StoredValue::toInt64(map.value(uploadUserIdKey())),
            fileOf(map, false, held ? held->m_file : FilePointer()),
            fileOf(map, true, held ? held->m_animatedFile : FilePointer()),
            thumbnailOf(map)};
}

void StickerItem::serialize(Map &map) const
{
    ContentItem::serialize(map);
    map.insert(pidKey(), m_pid);
    map.insert(shortcutKey(), m_shortcut);
    map.insert(hintKey(), m_hint);
    map.insert(wKey(), m_w);
    map.insert(hKey(), m_h);
    if (m_file)
        write(*m_file, false, map);
    if (m_animatedFile)
        write(*m_animatedFile, true, map);
    write(m_thumbnail, map);
    if (m_uploadUserId != 0)
        map.insert(uploadUserIdKey(), m_uploadUserId);
}

void StickerItem::deserialize(const Map &map)
{
    Changes changes(this);
    take(changes, read(map));
    ContentItem::deserialize(map);
}

// Favourites

StickerItem::Fields StickerItem::readFavorite(const Map &favorite) const
{
    static const std::pair<QString, QString> otherKeys[] = {
        {QStringLiteral("fileid"), QStringLiteral("fileId")},
        {QStringLiteral("aeskey"), QStringLiteral("aesKey")},
        {QStringLiteral("filemd5"), QStringLiteral("fileMd5")},
        {QStringLiteral("upload_user_id"), uploadUserIdKey()},
        {QStringLiteral("a_fileid"), QStringLiteral("animateId")},
        {QStringLiteral("a_aeskey"), QStringLiteral("animateAesKey")},
        {QStringLiteral("a_filemd5"), QStringLiteral("animateFileMd5")},
        {QStringLiteral("a_size"), QStringLiteral("animateSize")},
        {QStringLiteral("a_w"), animateWKey()},
        {QStringLiteral("a_h"), animateHKey()},
        {QStringLiteral("a_fileType"), formatKey(true)},
    };
    // Of what stands in a favourite under other keys nothing is read: it is a record of its own.
    static const QString sameKeys[] = {
        pidKey(),
        shortcutKey(),
        hintKey(),
        wKey(),
        hKey(),
        formatKey(false),
        QStringLiteral("fileId"),
        QStringLiteral("aesKey"),
        QStringLiteral("fileMd5"),
        QStringLiteral("size"),
    };
    Map map;
    for (const QString &key : sameKeys) {
        if (const auto value = favorite.constFind(key); value != favorite.constEnd())
            map.insert(key, *value);
    }
    for (const auto &[key, storedKey] : otherKeys) {
        // Some have both spellings, and nothing under one of them.
        const auto value = favorite.constFind(key);
        if (value != favorite.constEnd()
            && (!value->toString().isEmpty() || !map.contains(storedKey)))
            map.insert(storedKey, *value);
    }
    return read(map, this);
}

void StickerItem::deserializeFavorite(const Map &map)
{
    Fields fields = readFavorite(map);
    fields.pid = std::max(fields.pid, m_pid);
    // A favourite knows nothing of a thumbnail.
    fields.thumbnail = m_thumbnail;
    Changes changes(this);
    take(changes, std::move(fields));
}

// Protocol

StickerItem::Fields StickerItem::read(const im::content::Sticker &sticker)
{
    Fields fields;
    fields.pid = sticker.pid();
    fields.shortcut = Util::fromUtf8(sticker.shortcut());
    fields.hint = Util::fromUtf8(sticker.hint());
    fields.w = sticker.width();
    fields.h = sticker.height();
    // What has no file id is no file; it is kept with the remainder.
    if (!sticker.sticker_file().id().empty())
        fields.file = FilePointer::create(sticker.sticker_file());
    if (!sticker.animated_file().file().file_id().empty())
        fields.animatedFile = FilePointer::create(sticker.animated_file());
    if (sticker.has_thumb()) {
        const im::content::FileThumb &thumb = sticker.thumb();
        if (!thumb.thumb_file().id().empty())
            fields.thumbnail.file = QSharedPointer<FileData>::create(thumb.thumb_file());
        fields.thumbnail.bytes = QByteArray::fromStdString(thumb.thumb_nail());
        fields.thumbnail.w = thumb.width();
        fields.thumbnail.h = thumb.height();
    }
    return fields;
}

void StickerItem::deserialize(const im::content::Sticker &sticker)
{
    Fields fields = read(sticker);
    fields.pid = std::max(fields.pid, m_pid);
    fields.uploadUserId = m_uploadUserId; // only favourites know
    Changes changes(this);
    take(changes, std::move(fields));
}

bool StickerItem::says(const im::content::Sticker &sticker) const
{
    return !hasRemainder() && areSame(m_shortcut, sticker.shortcut())
        && areSame(m_hint, sticker.hint()) && m_w == sticker.width() && m_h == sticker.height()
        && areSame(m_file.data(), sticker.sticker_file())
        && areSame(m_animatedFile.data(), sticker.animated_file())
        && areSame(m_thumbnail, sticker.thumb());
}

void StickerItem::setContent(const im::content::Content &content)
{
    if (!content.has_sticker()) {
        qCDebug(lcModel, "A sticker cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    deserialize(content.sticker());
    keepRemainder(content);
}

void StickerItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Sticker *sticker = content->mutable_sticker();
    if (m_pid != 0) // a negative one that never became ours is in the remainder
        sticker->set_pid(m_pid);
    sticker->set_shortcut(m_shortcut.toStdString());
    sticker->set_hint(m_hint.toStdString());
    sticker->set_width(m_w);
    sticker->set_height(m_h);
    if (m_file)
        m_file->FileData::serialize(sticker->mutable_sticker_file());
    if (m_animatedFile)
        m_animatedFile->serialize(sticker->mutable_animated_file());
    if (!areSame(m_thumbnail, Thumbnail())) {
        im::content::FileThumb *thumb = sticker->mutable_thumb();
        if (m_thumbnail.file)
            m_thumbnail.file->serialize(thumb->mutable_thumb_file());
        thumb->set_width(m_thumbnail.w);
        thumb->set_height(m_thumbnail.h);
        thumb->set_thumb_nail(m_thumbnail.bytes.toStdString());
    }
}

// Views

QString StickerItem::getKeyword() const
{
    return QStringList{m_shortcut, m_hint}.join(QLatin1Char('\n')).trimmed();
}

QSize StickerItem::calcContentSize(int &lineCount, int maxWidth, int, bool inThread)
{
    lineCount = 0;
    setLineCount(0);
    const QSize sizes[] = {
        QSize(m_w, m_h),
        m_animatedFile ? QSize(m_animatedFile->width(), m_animatedFile->height()) : QSize(),
        QSize(m_thumbnail.w, m_thumbnail.h),
    };
    QSize natural;
    for (const QSize &size : sizes) {
        if (natural.isEmpty())
            natural = size;
    }
    const int side = std::min(greatestSide, MediaBox::messageWidth(maxWidth, inThread));
    // What is higher than wide fits when its width is as much less than the square's.
    int width = side;
    if (natural.height() > natural.width() && natural.width() > 0)
        width = int(qint64(side) * natural.width() / natural.height());
    return MediaBox::box(natural, width).boundedTo({side, side});
}

void StickerItem::getFile(QList<QSharedPointer<FileData>> &files)
{
    for (const QSharedPointer<FileData> &file :
         {m_file.staticCast<FileData>(), m_animatedFile.staticCast<FileData>(), m_thumbnail.file}) {
        if (file)
            files.append(file);
    }
}
