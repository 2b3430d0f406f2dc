#include "content/items/fileitem.h"

#include "account/accountbase.h"
#include "account/fileprovider.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "content/items/background_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/thumbnail_p.h"
#include "content/modelbaseutil.h"
#include "content/providers_p.h"
#include "core/logs_p.h"
#include "cryptobase/cryptoaes.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"
#include "settings/appdirmanager.h"

#include <QMetaMethod>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{

bool isEmpty(const im::content::FileInfo &info)
{
    return info.id().empty() && info.key().empty() && info.checksum().empty() && info.name().empty()
        && info.size() == 0 && info.version() == 0;
}

bool isEmpty(const FileData &file)
{
    return file.fileId().isEmpty() && file.aesKey().isEmpty() && file.fileMd5().isEmpty()
        && file.fileName().isEmpty() && file.sentName().isEmpty() && file.size() == 0
        && file.version() == 0 && file.BaseFile::filePath().isEmpty()
        && file.cacheFilePath().isEmpty();
}

FileItem::UploadState uploadStateOf(const BaseFile &file)
{
    switch (file.fileState()) {
    case BaseFile::WaitingForUpload:
        return FileItem::WaitingForUpload;
    case BaseFile::Uploading:
        return FileItem::Uploading;
    case BaseFile::UploadPaused:
        return FileItem::UploadPaused;
    case BaseFile::UploadFailed:
        return FileItem::UploadFailed;
    default:
        return FileItem::NoUpload;
    }
}

/// As what files of an extension are shown. Kept apart from the vocabularies of ModelBaseUtil,
/// which differ: TIFF is no picture here, and WMA is a video. A list, since comparing lengths costs
/// less than hashing the extension of every file that arrives.
FileItem::DisplayClass displayClassOf(const QString &extension)
{
    constexpr std::pair<QLatin1StringView, FileItem::DisplayClass> classes[] = {
        {"jpeg"_L1, FileItem::PictureFile}, {"jpg"_L1, FileItem::PictureFile},
        {"png"_L1, FileItem::PictureFile},  {"gif"_L1, FileItem::PictureFile},
        {"webp"_L1, FileItem::PictureFile}, {"bmp"_L1, FileItem::PictureFile},
        {"heic"_L1, FileItem::PictureFile}, {"svg"_L1, FileItem::PictureFile},
        {"mp4"_L1, FileItem::VideoFile},    {"mpeg"_L1, FileItem::VideoFile},
        {"avi"_L1, FileItem::VideoFile},    {"mov"_L1, FileItem::VideoFile},
        {"wmv"_L1, FileItem::VideoFile},    {"mkv"_L1, FileItem::VideoFile},
        {"flv"_L1, FileItem::VideoFile},    {"rmvb"_L1, FileItem::VideoFile},
        {"rm"_L1, FileItem::VideoFile},     {"3gp"_L1, FileItem::VideoFile},
        {"wma"_L1, FileItem::VideoFile},    {"m4v"_L1, FileItem::VideoFile},
        {"pdf"_L1, FileItem::PdfFile},
    };
    for (const auto &[known, shownAs] : classes) {
        if (extension == known)
            return shownAs;
    }
    return FileItem::PlainFile;
}

} // namespace

QSharedPointer<FileData> storedFile(const QVariantMap &map, FileData::ParseType type)
{
    if (!FileData::isStored(map, type)) // most have no thumbnail
        return {};
    auto file = QSharedPointer<FileData>::create(map, type);
    return isEmpty(*file) ? QSharedPointer<FileData>() : file;
}

QByteArray storedBytes(const QVariantMap &map, const QString &key)
{
    return StoredValue::toBytes(map.value(key), key);
}

QSharedPointer<FileData> fileForUpload(const QString &path, int fileType)
{
    BaseFile base(QString(), fileType);
    base.setFilePath(path);
    if (!base.checkFilePath()) {
        ImLog::error(
            lcModel(),
            QStringLiteral("\"%1\" cannot be sent: it is no file that can be read.").arg(path));
        return {};
    }
    base.setAesKey(CryptoAES::createKey(32));
    base.setFileState(BaseFile::WaitingForUpload);
    return QSharedPointer<FileData>::create(&base);
}

QSharedPointer<FileData> localThumbnail(const QString &path)
{
    BaseFile base(QString(), imageFileType);
    base.setFilePath(path);
    if (!base.checkFilePath()) {
        ImLog::error(
            lcModel(),
            QStringLiteral("\"%1\" cannot be shown: it is no file that can be read.").arg(path));
        return {};
    }
    base.setFileState(BaseFile::Local);
    return QSharedPointer<FileData>::create(&base);
}

FileItem::FileItem(int source, AccountBase *account)
    : ContentItem(source, account), m_account(account)
{
    setType(File);
}

FileItem::FileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_account(account)
{
    Changes<FileItem> changes(this);
    read(map, changes);
}

FileItem::FileItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_account(account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_file()) {
        const im::content::File &file = content.file();
        updateFiles(file.attach_file(), file.thumb_file(), file.thumb_nail(), file.caption());
    }
}

FileItem::FileItem(const FileItem *other)
    : ContentItem(other), m_sourceFile(other->m_sourceFile),
      m_thumbnailFile(other->m_thumbnailFile), m_thumbNail(other->m_thumbNail),
      m_displayName(other->m_displayName), m_account(other->m_account),
      m_fileType(other->m_fileType)
{
}

FileItem::~FileItem() = default;

AccountBase *FileItem::account() const
{
    return m_account;
}

FileProvider *FileItem::fileProvider() const
{
    return fileProviderOf(m_account);
}

QString FileItem::mediaDirectory(int fileType) const
{
    const QString base = m_account ? m_account->userCacheDataPath() : QString();
    return base.isEmpty() ? AppDirManager::instance()->tempDir()
                          : ModelBaseUtil::makeMediaPath(base, source(), fileType);
}

QString FileItem::suffix() const
{
    return m_sourceFile ? m_sourceFile->suffix() : QString();
}

QString FileItem::name() const
{
    return m_displayName.isEmpty() && m_sourceFile ? m_sourceFile->fileName() : m_displayName;
}

// Fields

void FileItem::setSourceFile(const QSharedPointer<FileData> &file)
{
    Update<FileItem> changes(this);
    setFiles(file, m_thumbnailFile, m_thumbNail, changes);
}

void FileItem::setThumbnailFile(const QSharedPointer<FileData> &file)
{
    Update<FileItem> changes(this);
    setFiles(m_sourceFile, file, m_thumbNail, changes);
}

void FileItem::setThumbNail(const QByteArray &thumbNail)
{
    Update<FileItem> changes(this);
    setFiles(m_sourceFile, m_thumbnailFile, thumbNail, changes);
}

void FileItem::setDisplayName(const QString &displayName)
{
    Update<FileItem>(this).set(m_displayName, Util::shownFileName(displayName),
                               &FileItem::displayNameChanged);
}

void FileItem::setFiles(const QSharedPointer<FileData> &source,
                        const QSharedPointer<FileData> &thumbnail, const QByteArray &thumbNail,
                        Changes<FileItem> &changes)
{
    const auto replace = [&](QSharedPointer<FileData> &held, const QSharedPointer<FileData> &file,
                             Changes<FileItem>::Signal changed) {
        if (m_noted && held && held != file)
            disconnect(held.data(), nullptr, this, nullptr);
        return changes.set(held, file, changed);
    };
    const bool sourceIsNew = replace(m_sourceFile, source, &FileItem::sourceFileChanged);
    const bool thumbnailIsNew =
        replace(m_thumbnailFile, thumbnail, &FileItem::thumbnailFileChanged);
    const bool bytesAreNew = changes.set(m_thumbNail, thumbNail, &FileItem::thumbNailChanged);
    if (sourceIsNew || thumbnailIsNew || bytesAreNew)
        changes.set(m_fileType, displayClass(), &FileItem::emitFileType);
    if (m_noted) {
        watchFiles();
        changes.set(m_noted->uploadState, uploadState(), &FileItem::uploadStateChanged);
    }
}

QSharedPointer<FileData> FileItem::updated(const QSharedPointer<FileData> &held,
                                           QSharedPointer<FileData> said) const
{
    if (!said || said == held)
        return said;
    FileProvider *provider = fileProvider();
    if (held && held->isSameRecord(*said)) {
        held->updateFile(*said);
        if (provider) // that of an upload has not been there: it has got its id since
            provider->add(held);
        return held;
    }
    // The same file, of which more is known by now: an upload that has got its id.
    if (held && held->aesKey() == said->aesKey()
        && (held->fileId() == said->fileId()
            || (held->fileId().isEmpty() && !said->aesKey().isEmpty())))
        said->updateFile(*held);
    if (!provider)
        return said;
    const QSharedPointer<FileData> shared = provider->add(said);
    if (shared && shared != said)
        shared->updateFile(*said);
    return shared;
}

QSharedPointer<FileData> FileItem::updated(const QSharedPointer<FileData> &held,
                                           const im::content::FileInfo &said) const
{
    return isEmpty(said) ? QSharedPointer<FileData>()
                         : updated(held, QSharedPointer<FileData>::create(said));
}

void FileItem::updateFiles(const im::content::FileInfo &file,
                           const im::content::FileInfo &thumbnail, const std::string &thumbNail,
                           const im::content::Text &caption)
{
    Update<FileItem> changes(this);
    const QSharedPointer<FileData> source = updated(m_sourceFile, file);
    QSharedPointer<FileData> image = updated(m_thumbnailFile, thumbnail);
    // Messages know nothing of a thumbnail that was made here.
    if (!image && source == m_sourceFile && !isThumbnailSent())
        image = m_thumbnailFile;
    setFiles(source, image, QByteArray(thumbNail.data(), qsizetype(thumbNail.size())), changes);
    updateText(caption);
}

bool FileItem::lacksThumbnail() const
{
    return !m_thumbnailFile
        || (m_thumbnailFile->fileState() == BaseFile::Local && !m_thumbnailFile->exists());
}

bool FileItem::isThumbnailSent() const
{
    return m_thumbnailFile && m_thumbnailFile->fileState() != BaseFile::Local;
}

qint16 FileItem::displayClass() const
{
    const qint16 found =
        m_sourceFile ? displayClassOf(m_sourceFile->fileExtension()) : DisplayClass::PlainFile;
    const bool needsImage = found == PictureFile || found == VideoFile;
    return needsImage && !m_thumbnailFile && !hasThumbBytes() ? m_fileType : found;
}

int FileItem::fileType() const
{
    if (!m_noted)
        m_fileType = displayClass();
    return m_fileType;
}

void FileItem::calcFileType()
{
    Update<FileItem>(this).set(m_fileType, displayClass(), &FileItem::emitFileType);
}

// Upload

FileItem::UploadState FileItem::uploadState() const
{
    QList<QSharedPointer<FileData>> files;
    const_cast<FileItem *>(this)->getFile(files);
    UploadState state = NoUpload;
    for (const auto &file : files)
        state = std::max(state, uploadStateOf(*file));
    return state;
}

bool FileItem::isUploading() const
{
    const UploadState state = uploadState();
    return state == WaitingForUpload || state == Uploading;
}

void FileItem::connectNotify(const QMetaMethod &signal)
{
    // Nobody listens to most items: a connection to each file of each item would be a waste.
    static const QMetaMethod wanted[] = {QMetaMethod::fromSignal(&FileItem::uploadStateChanged),
                                         QMetaMethod::fromSignal(&FileItem::fileTypeChanged),
                                         QMetaMethod::fromSignal(&FileItem::needRecalcSize)};
    if (!m_noted && std::find(std::begin(wanted), std::end(wanted), signal) != std::end(wanted)) {
        m_fileType = displayClass();
        m_noted = std::make_unique<Noted>(Noted{uploadState(), measured()});
        watchFiles();
    }
    ContentItem::connectNotify(signal);
}

void FileItem::watchFiles()
{
    QList<QSharedPointer<FileData>> files;
    getFile(files);
    for (const auto &file : files) {
        connect(file.data(), &BaseFile::fileStateChanged, this, &FileItem::noteUploadState,
                Qt::UniqueConnection);
    }
    if (const FileData *file = m_sourceFile.data()) {
        connect(file, &FileData::fileNameChanged, this, &FileItem::noteRecord,
                Qt::UniqueConnection);
        connect(file, &FileData::fileExtensionChanged, this, &FileItem::noteRecord,
                Qt::UniqueConnection);
        connect(file, &FileData::sizeChanged, this, &FileItem::noteRecord, Qt::UniqueConnection);
    }
}

void FileItem::filesReplaced()
{
    if (!m_noted)
        return;
    watchFiles();
    noteUploadState();
}

void FileItem::noteUploadState()
{
    Changes<FileItem>(this).set(m_noted->uploadState, uploadState(), &FileItem::uploadStateChanged);
}

void FileItem::noteRecord()
{
    calcFileType();
    if (!m_isUpdating)
        noteMeasured();
}

void FileItem::noteMeasured()
{
    QVariantList now = measured();
    if (std::exchange(m_noted->measured, now) != now)
        Q_EMIT needRecalcSize();
}

// Thumbnail

void FileItem::captureThumbnail()
{
    const auto kind = [this]() -> std::optional<Thumbnail::Kind> {
        if (type() == Image)
            return Thumbnail::Picture;
        if (type() == Video)
            return Thumbnail::Video;
        if (type() == Music)
            return Thumbnail::Music;
        switch (displayClassOf(suffix())) {
        case PictureFile:
            return Thumbnail::Picture;
        case VideoFile:
            return Thumbnail::Video;
        default:
            return {};
        }
    }();
    const QString path = m_sourceFile ? m_sourceFile->BaseFile::filePath() : QString();
    if (m_isCapturing)
        return;
    if (!kind || path.isEmpty() || !lacksThumbnail()) {
        Q_EMIT thumbnailCaptured(false);
        return;
    }
    m_isCapturing = true;
    runInBackground(
        this,
        [path, kind = *kind, directory = mediaDirectory(imageFileType)] {
            return Thumbnail::make(path, kind, directory);
        },
        [this, path](const std::optional<Thumbnail> &made) {
            m_isCapturing = false;
            // Meanwhile the item may have become one of another file.
            const bool isWanted = made && lacksThumbnail() && m_sourceFile
                && m_sourceFile->BaseFile::filePath() == path;
            Q_EMIT thumbnailCaptured(isWanted && useThumbnail(*made));
        });
}

bool FileItem::useThumbnail(const Thumbnail &thumbnail)
{
    const bool isSent = uploadStateOf(*m_sourceFile) != NoUpload;
    const auto file =
        isSent ? fileForUpload(thumbnail.path, imageFileType) : localThumbnail(thumbnail.path);
    if (!file)
        return false;
    const Measured measured(this);
    {
        Changes<FileItem> changes(this);
        setFiles(m_sourceFile, file, isSent ? thumbnail.preview : m_thumbNail, changes);
    }
    takeOver(thumbnail);
    return true;
}

// Stored form

void FileItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    map.insert(QStringLiteral("thumbNail"), StoredValue::fromBytes(m_thumbNail));
    map.insert(QStringLiteral("displayName"), m_displayName);
    if (m_sourceFile)
        m_sourceFile->serialize(map, false);
    if (m_thumbnailFile)
        m_thumbnailFile->serialize(map, true);
}

void FileItem::read(const QMap<QString, QVariant> &map, Changes<FileItem> &changes)
{
    changes.set(m_displayName,
                Util::shownFileName(map.value(QStringLiteral("displayName")).toString()),
                &FileItem::displayNameChanged);
    setFiles(updated(m_sourceFile, storedFile(map, FileData::ParseType::Source)),
             updated(m_thumbnailFile, storedFile(map, FileData::ParseType::Thumbnail)),
             storedBytes(map, QStringLiteral("thumbNail")), changes);
}

void FileItem::deserialize(const QMap<QString, QVariant> &map)
{
    Update<FileItem> changes(this);
    read(map, changes);
    ContentItem::deserialize(map);
}

// Protocol

void FileItem::writeFile(const QSharedPointer<FileData> &file, im::content::FileInfo *info) const
{
    file->serialize(info);
    if (FileProvider *provider = fileProvider())
        provider->add(file);
}

void FileItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::File *body = content->mutable_file();
    if (m_sourceFile)
        writeFile(m_sourceFile, body->mutable_attach_file());
    if (isThumbnailSent())
        writeFile(m_thumbnailFile, body->mutable_thumb_file());
    body->set_thumb_nail(m_thumbNail.constData(), std::size_t(m_thumbNail.size()));
    writeCaption(body);
}

void FileItem::setContent(const im::content::Content &content)
{
    if (!content.has_file()) {
        qCDebug(lcModel, "A file cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    const im::content::File &file = content.file();
    updateFiles(file.attach_file(), file.thumb_file(), file.thumb_nail(), file.caption());
    keepRemainder(content);
}

// Files

void FileItem::getFile(QList<QSharedPointer<FileData>> &files)
{
    if (m_sourceFile)
        files.append(m_sourceFile);
    if (m_thumbnailFile)
        files.append(m_thumbnailFile);
}

QString FileItem::getKeyword() const
{
    QStringList words{ContentItem::getKeyword(), m_displayName,
                      m_sourceFile ? m_sourceFile->fileName() : QString()};
    words.removeAll(QString());
    words.removeDuplicates();
    return words.join(u'\n');
}

// Layout

QSize FileItem::mediaSize(int maxWidth, bool inThread) const
{
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    const int side = hasImage() ? ContentMetrics::FileThumbnailSide : ContentMetrics::FileIconSide;
    return MediaBox::row(side, rowTexts(), limit);
}

QStringList FileItem::rowTexts() const
{
    return {name(), m_sourceFile ? Util::intToSizeStr(m_sourceFile->size()) : QString()};
}

QVariantList FileItem::measured() const
{
    return {hasImage(), rowTexts()};
}

QSize FileItem::calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread)
{
    const QSize media = mediaSize(maxWidth, inThread);
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    const int captionWidth =
        std::max(media.width(), std::min<int>(limit, ContentMetrics::LeastCaptionWidth));
    return MediaBox::stacked(media, calcCaptionSize(lineCount, captionWidth, maxRowCount));
}
