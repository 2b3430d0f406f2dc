#include "content/items/fileitem.h"

#include "account/accountbase.h"
#include "account/fileprovider.h"
#include "content/items/background_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/thumbnail_p.h"
#include "content/modelbaseutil.h"
#include "content/providers_p.h"
#include "cryptobase/cryptoaes.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"

#include <QMetaMethod>
#include <QPointer>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{

/// Bytes of the key that a file is encrypted with.
constexpr int keySize = 32;

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
    base.setAesKey(CryptoAES::createKey(keySize));
    base.setFileState(BaseFile::WaitingForUpload);
    return QSharedPointer<FileData>::create(&base);
}

QSharedPointer<FileData> localThumbnail(const QString &path)
{
    BaseFile base(QString(), FileType::Image);
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

/// The files that are listened to, and what was last signalled of them.
struct FileItem::Observed {
    QList<QSharedPointer<FileData>> files;
    UploadState uploadState = NoUpload;
    QVariantList measured;
};

FileItem::FileItem(int source, AccountBase *account)
    : ContentItem(source, account), m_account(account)
{
    ItemFields::setType(*this, File);
}

FileItem::FileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_account(account)
{
    ItemFields::read(*this, map);
}

FileItem::FileItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_account(account)
{
    ItemFields::readRecord(*this, content);
}

FileItem::FileItem(const FileItem *other)
    : ContentItem(other), m_account(other->m_account), m_fileType(other->m_fileType)
{
    ItemFields::copy(*this, *other);
}

FileItem::~FileItem()
{
    // The end of one record may change another.
    if (m_observed) {
        for (const auto &file : std::as_const(m_observed->files))
            file->disconnect(this);
    }
}

STORE_BY_FIELDS(FileItem, ContentItem)
SEND_BY_FIELDS(FileItem)

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

SET_BY_FIELD(FileItem, setSourceFile, const QSharedPointer<FileData> &, m_sourceFile)
SET_BY_FIELD(FileItem, setThumbnailFile, const QSharedPointer<FileData> &, m_thumbnailFile)
SET_BY_FIELD(FileItem, setThumbNail, const QByteArray &, m_thumbNail)

void FileItem::setDisplayName(const QString &displayName)
{
    Changes(this)->m_displayName = Util::shownFileName(displayName);
}

QSharedPointer<FileData> FileItem::updated(QSharedPointer<FileData> held,
                                           QSharedPointer<FileData> incoming) const
{
    if (!incoming || incoming == held)
        return incoming;
    FileProvider *provider = fileProvider();
    if (held && held->isSameRecord(*incoming)) {
        held->updateFile(*incoming);
        if (provider) // the record of an upload is new there: it has just got its id
            provider->add(held);
        return held;
    }
    // The same file with more fields set: an upload that has got its id.
    if (held && held->aesKey() == incoming->aesKey()
        && (held->fileId() == incoming->fileId()
            || (held->fileId().isEmpty() && !incoming->aesKey().isEmpty())))
        incoming->updateFile(*held);
    if (!provider)
        return incoming;
    const QSharedPointer<FileData> shared = provider->add(incoming);
    if (shared && shared != incoming)
        shared->updateFile(*incoming);
    return shared;
}

QSharedPointer<FileData> FileItem::updated(const QSharedPointer<FileData> &held,
                                           const im::content::FileInfo &incoming) const
{
    return isEmpty(incoming) ? QSharedPointer<FileData>()
                             : updated(held, QSharedPointer<FileData>::create(incoming));
}

void FileItem::readFiles(const im::content::FileInfo &file, const im::content::FileInfo &thumbnail,
                         const std::string &thumbNail)
{
    const QSharedPointer<FileData> source = updated(m_sourceFile, file);
    QSharedPointer<FileData> image = updated(m_thumbnailFile, thumbnail);
    // A thumbnail that was made on this device is in no message.
    if (!image && source == m_sourceFile && !isThumbnailSent())
        image = m_thumbnailFile;
    m_sourceFile = source;
    m_thumbnailFile = image;
    m_thumbNail = QByteArray(thumbNail.data(), qsizetype(thumbNail.size()));
}

void FileItem::updateFiles(const im::content::FileInfo &file,
                           const im::content::FileInfo &thumbnail, const std::string &thumbNail,
                           const im::content::Text &caption)
{
    const Changes changes(this);
    readFiles(file, thumbnail, thumbNail);
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
    if (!m_observed)
        m_fileType = displayClass();
    return m_fileType;
}

void FileItem::calcFileType()
{
    recordChanged();
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
    // Most items have no listeners, and need no connections to their files.
    static const QMetaMethod wanted[] = {QMetaMethod::fromSignal(&FileItem::uploadStateChanged),
                                         QMetaMethod::fromSignal(&FileItem::fileTypeChanged),
                                         QMetaMethod::fromSignal(&FileItem::needRecalcSize)};
    if (!m_observed
        && std::find(std::begin(wanted), std::end(wanted), signal) != std::end(wanted)) {
        m_observed = std::make_unique<Observed>();
        observe();
    }
    ContentItem::connectNotify(signal);
}

/// Brings up to date what follows from the files and their records.
void FileItem::observe()
{
    if (!m_observed)
        return;
    QList<QSharedPointer<FileData>> files;
    getFile(files);
    if (files != m_observed->files) {
        for (const auto &file : std::as_const(m_observed->files))
            file->disconnect(this);
        for (const auto &file : std::as_const(files)) {
            const auto follow = [this, &file](auto signal) {
                connect(file.data(), signal, this, &FileItem::recordChanged, Qt::UniqueConnection);
            };
            follow(&BaseFile::fileStateChanged);
            follow(&FileData::fileNameChanged);
            follow(&FileData::fileExtensionChanged);
            follow(&BaseFile::sizeChanged);
        }
        m_observed->files = files;
    }
    m_fileType = displayClass();
    m_observed->uploadState = uploadState();
    m_observed->measured = measured();
}

void FileItem::recordChanged()
{
    const Changes changes(this);
}

void FileItem::filesReplaced()
{
    recordChanged();
}

FileItem::UploadState FileItem::observedUpload() const
{
    return m_observed ? m_observed->uploadState : NoUpload;
}

QVariantList FileItem::observedMeasures() const
{
    return m_observed ? m_observed->measured : QVariantList();
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
        [path, kind = *kind, directory = mediaDirectory(FileType::Image)] {
            return Thumbnail::make(path, kind, directory);
        },
        [this, path](const std::optional<Thumbnail> &made) {
            m_isCapturing = false;
            // Meanwhile the item may have become one of another file.
            const bool isWanted = made && lacksThumbnail() && m_sourceFile
                && m_sourceFile->BaseFile::filePath() == path;
            const QPointer alive(this); // a handler of the new thumbnail may delete the item
            const bool isTaken = isWanted && useThumbnail(*made);
            if (alive)
                Q_EMIT thumbnailCaptured(isTaken);
        });
}

bool FileItem::useThumbnail(const Thumbnail &thumbnail)
{
    const bool isSent = uploadStateOf(*m_sourceFile) != NoUpload;
    const auto file =
        isSent ? fileForUpload(thumbnail.path, FileType::Image) : localThumbnail(thumbnail.path);
    if (!file)
        return false;
    const Changes changes(this);
    m_thumbnailFile = file;
    if (isSent)
        m_thumbNail = thumbnail.preview;
    takeOver(thumbnail);
    return true;
}

// Records of files

void FileItem::writeFile(const QSharedPointer<FileData> &file, im::content::FileInfo *info) const
{
    file->serialize(info);
    if (FileProvider *provider = fileProvider())
        provider->add(file);
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
