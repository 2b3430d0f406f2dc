#include "content/items/stickeritem.h"

#include "content/fields_p.h"
#include "content/items/mediabox_p.h"
#include "content/stickerdata.h"
#include "protocol/common_data.pb.h"

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
enum class Stored { Always, IfNotEmpty, IfOnDevice };

/// The keys of a value of a file's record: in maps of the record and of the still picture, of the
/// animated one, and, where they have it, of both in favourites.
struct FileKey {
    QString still;
    QString animated;
    Stored stored = Stored::Always;
    QString favorite = {};
    QString animatedFavorite = {};
};

const QList<FileKey> &fileKeys()
{
    static const QList<FileKey> keys{
        {QStringLiteral("fileId"), QStringLiteral("animateId"), Stored::Always,
         QStringLiteral("fileid"), QStringLiteral("a_fileid")},
        {QStringLiteral("size"), QStringLiteral("animateSize"), Stored::Always,
         QStringLiteral("size"), QStringLiteral("a_size")},
        {QStringLiteral("fileMd5"), QStringLiteral("animateFileMd5"), Stored::Always,
         QStringLiteral("filemd5"), QStringLiteral("a_filemd5")},
        {QStringLiteral("aesKey"), QStringLiteral("animateAesKey"), Stored::Always,
         QStringLiteral("aeskey"), QStringLiteral("a_aeskey")},
        {QStringLiteral("filePath"), QStringLiteral("animatePath"), Stored::IfOnDevice},
        {QStringLiteral("fileState"), QStringLiteral("animateFileState"), Stored::IfOnDevice},
        {QStringLiteral("fileName"), QStringLiteral("animateName"), Stored::IfNotEmpty},
        {QStringLiteral("localName"), QStringLiteral("animateLocalName"), Stored::IfNotEmpty},
        {QStringLiteral("sentSize"), QStringLiteral("animateSentSize"), Stored::IfNotEmpty},
        {QStringLiteral("version"), QStringLiteral("animateVersion"), Stored::IfNotEmpty},
        {QStringLiteral("iv"), QStringLiteral("animateIv"), Stored::IfNotEmpty},
        {QStringLiteral("mediaType"), QStringLiteral("animateMediaType"), Stored::IfNotEmpty},
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

/// Null for a record without id and path.
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
            record.insert(key.still, *value);
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
    switch (key.stored) {
    case Stored::IfOnDevice:
        return isOnDevice;
    case Stored::IfNotEmpty:
        return !value.toString().isEmpty();
    case Stored::Always:
        break;
    }
    return true;
}

void writePicture(StickerData &file, bool animated, Map &map)
{
    // A record that lies nowhere needs no look at the disk.
    const bool mayBeHere = !file.filePath().isEmpty() || !file.cacheFilePath().isEmpty();
    const bool isOnDevice = mayBeHere && file.exists();
    QVariantMap record = static_cast<const StickerData &>(file).serialize();
    record.insert(QStringLiteral("fileState"), int(file.fileState()));
    for (const FileKey &key : fileKeys()) {
        const QVariant value = record.value(key.still);
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

void writeThumbnail(const StickerItem::Thumbnail &thumbnail, Map &map)
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

/// The record to hold after an update: the held one when the incoming one equals it. Another
/// record of the same file takes over its place on this device.
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

// Comparisons with the protocol's records, for each sticker of a history: nothing is converted.

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

template <typename File>
QSharedPointer<File> copyOf(const QSharedPointer<File> &file)
{
    return file ? QSharedPointer<File>::create(file.data()) : QSharedPointer<File>();
}

} // namespace

template <>
struct Fields<StickerItem>
    : KindOf<ContentItem, &im::content::Content::has_sticker, &im::content::Content::sticker,
             &im::content::Content::mutable_sticker> {
    using Record = im::content::Sticker;

    /// A row for the id of the pack, which a record never decreases.
    struct Pid : Field<&StickerItem::m_pid, pidKey, none, none, &StickerItem::pidChanged,
                       Written::Always> {
        static void readRecord(StickerItem &item, const Record &sticker)
        {
            item.m_pid = std::max(sticker.pid(), item.m_pid);
        }
        static void writeRecord(const StickerItem &item, Record *sticker)
        {
            if (item.m_pid != 0) // a negative one that never became ours is in the remainder
                sticker->set_pid(item.m_pid);
        }
    };

    /// A row for one of the pictures.
    template <auto Member, bool animated, auto Signal>
    struct Picture : Held<Member, Signal> {
        static void copy(StickerItem &item, const StickerItem &other)
        {
            item.*Member = copyOf(other.*Member);
        }
        static void read(StickerItem &item, const Map &map)
        {
            item.*Member = merged(item.*Member, fileOf(map, animated, {}));
        }
        static void write(const StickerItem &item, Map &map)
        {
            if (item.*Member)
                writePicture(*(item.*Member), animated, map);
        }
        // What has no file id is no file; it is kept with the remainder.
        static void readRecord(StickerItem &item, const Record &sticker)
        {
            FilePointer file;
            if constexpr (animated) {
                if (!sticker.animated_file().file().file_id().empty())
                    file = FilePointer::create(sticker.animated_file());
            } else if (!sticker.sticker_file().id().empty()) {
                file = FilePointer::create(sticker.sticker_file());
            }
            item.*Member = merged(item.*Member, file);
        }
        static void writeRecord(const StickerItem &item, Record *sticker)
        {
            const FilePointer &file = item.*Member;
            if (!file)
                return;
            if constexpr (animated)
                file->serialize(sticker->mutable_animated_file());
            else
                file->FileData::serialize(sticker->mutable_sticker_file());
        }
    };

    /// A row for the thumbnail.
    struct Thumb : Row {
        using Thumbnail = StickerItem::Thumbnail;

        static auto value(const StickerItem &item)
        {
            const Thumbnail &held = item.m_thumbnail;
            return std::tuple(held.file, held.bytes, held.w, held.h);
        }
        static void notify(Change &change)
        {
            change.add(&emitPlain<&StickerItem::thumbnailChanged>);
        }
        static void copy(StickerItem &item, const StickerItem &other)
        {
            item.m_thumbnail = other.m_thumbnail;
            item.m_thumbnail.file = copyOf(other.m_thumbnail.file);
        }
        static void replace(StickerItem &item, Thumbnail &&thumbnail)
        {
            thumbnail.file = merged(item.m_thumbnail.file, thumbnail.file);
            item.m_thumbnail = std::move(thumbnail);
        }
        static void read(StickerItem &item, const Map &map) { replace(item, thumbnailOf(map)); }
        static void write(const StickerItem &item, Map &map)
        {
            writeThumbnail(item.m_thumbnail, map);
        }
        static void readRecord(StickerItem &item, const Record &sticker)
        {
            const im::content::FileThumb &thumb = sticker.thumb();
            Thumbnail thumbnail;
            if (!thumb.thumb_file().id().empty())
                thumbnail.file = QSharedPointer<FileData>::create(thumb.thumb_file());
            thumbnail.bytes = fromRecord<QByteArray>(thumb.thumb_nail());
            thumbnail.w = thumb.width();
            thumbnail.h = thumb.height();
            replace(item, std::move(thumbnail));
        }
        static void writeRecord(const StickerItem &item, Record *sticker)
        {
            const Thumbnail &held = item.m_thumbnail;
            if (areSame(held, Thumbnail()))
                return;
            im::content::FileThumb *thumb = sticker->mutable_thumb();
            if (held.file)
                held.file->serialize(thumb->mutable_thumb_file());
            thumb->set_width(held.w);
            thumb->set_height(held.h);
            thumb->set_thumb_nail(held.bytes.toStdString());
        }
    };

    static constexpr std::tuple table{
        Pid(),
        field<&StickerItem::m_shortcut, shortcutKey, &Record::shortcut, &Record::mutable_shortcut,
              &StickerItem::shortcutChanged>,
        field<&StickerItem::m_hint, hintKey, &Record::hint, &Record::mutable_hint,
              &StickerItem::hintChanged>,
        field<&StickerItem::m_w, wKey, &Record::width, &Record::set_width, &StickerItem::wChanged>,
        field<&StickerItem::m_h, hKey, &Record::height, &Record::set_height,
              &StickerItem::hChanged>,
        // Only favourites have it.
        storedField<&StickerItem::m_uploadUserId, uploadUserIdKey,
                    &StickerItem::uploadUserIdChanged, Written::UnlessEmpty>,
        Picture<&StickerItem::m_file, false, &StickerItem::fileChanged>(),
        Picture<&StickerItem::m_animatedFile, true, &StickerItem::animatedFileChanged>(),
        Thumb(),
    };
};

CONTENT_KIND(StickerItem, ContentItem, Sticker)

StickerItem::~StickerItem() = default;

// Fields

SET_BY_FIELD(StickerItem, setPid, qint32, m_pid)
SET_BY_FIELD(StickerItem, setShortcut, const QString &, m_shortcut)
SET_BY_FIELD(StickerItem, setHint, const QString &, m_hint)
SET_BY_FIELD(StickerItem, setW, qint32, m_w)
SET_BY_FIELD(StickerItem, setH, qint32, m_h)
SET_BY_FIELD(StickerItem, setUploadUserId, qint64, m_uploadUserId)
SET_BY_FIELD(StickerItem, setFile, const QSharedPointer<StickerData> &, m_file)
SET_BY_FIELD(StickerItem, setAnimatedFile, const QSharedPointer<StickerData> &, m_animatedFile)

void StickerItem::setThumbnail(const Thumbnail &thumbnail)
{
    if (!areSame(m_thumbnail, thumbnail))
        Changes(this)->m_thumbnail = thumbnail;
}

StickerData *StickerItem::fileObject() const
{
    return m_file.data();
}

StickerData *StickerItem::animatedFileObject() const
{
    return m_animatedFile.data();
}

// Favourites

void StickerItem::deserializeFavorite(const Map &favorite)
{
    // A favourite is a record of its own: keys of the stored form that it does not share are not
    // read.
    Map map;
    const auto take = [&](const QString &key, const QString &storedKey) {
        // Some records have both spellings, one of them empty.
        const auto value = favorite.constFind(key);
        if (value != favorite.constEnd()
            && (!value->toString().isEmpty() || !map.contains(storedKey)))
            map.insert(storedKey, *value);
    };
    for (const QString &key :
         {pidKey(), shortcutKey(), hintKey(), wKey(), hKey(), formatKey(false)})
        take(key, key);
    for (const FileKey &key : fileKeys()) {
        if (key.favorite.isEmpty())
            continue;
        take(key.still, key.still);
        take(key.favorite, key.still);
        take(key.animatedFavorite, key.animated);
    }
    take(QStringLiteral("upload_user_id"), uploadUserIdKey());
    take(QStringLiteral("a_w"), animateWKey());
    take(QStringLiteral("a_h"), animateHKey());
    take(QStringLiteral("a_fileType"), formatKey(true));

    const Changes changes(this);
    const auto held = std::tuple(m_pid, m_file, m_animatedFile, m_thumbnail);
    ItemFields::read(*this, map);
    m_pid = std::max(m_pid, std::get<0>(held));
    // What a favourite leaves out of its files stays, and it knows nothing of a thumbnail.
    m_file = merged(std::get<1>(held), fileOf(map, false, std::get<1>(held)));
    m_animatedFile = merged(std::get<2>(held), fileOf(map, true, std::get<2>(held)));
    m_thumbnail = std::get<3>(held);
}

// Protocol

void StickerItem::deserialize(const im::content::Sticker &sticker)
{
    const Changes changes(this);
    ItemFields::readParts(*this, sticker);
}

bool StickerItem::matches(const im::content::Sticker &sticker) const
{
    return !hasRemainder() && areSame(m_shortcut, sticker.shortcut())
        && areSame(m_hint, sticker.hint()) && m_w == sticker.width() && m_h == sticker.height()
        && areSame(m_file.data(), sticker.sticker_file())
        && areSame(m_animatedFile.data(), sticker.animated_file())
        && areSame(m_thumbnail, sticker.thumb());
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
