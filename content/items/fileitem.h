#pragma once

#include "content/contentitem.h"

#include <QPointer>

#include <memory>

class FileData;
class FileProvider;

namespace im::content
{
class FileInfo;
} // namespace im::content

/// A file, and what all kinds of content with files are made of: the record of the file, a
/// thumbnail, a caption.
///
/// The records are shared: with an account, items that refer to the same file have the same record
/// (AccountBase::fileProvider()). QML reads them by the properties `sourceFile` and `thumbnailFile`
/// and never owns them. An empty record counts as null.
///
/// The stored map has "thumbNail" (Base64), "displayName", and the keys of the records of the
/// source and of the thumbnail (FileData::serialize()).
class MODELBASE_EXPORT FileItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("content/filedata.h")
    Q_PROPERTY(FileData *sourceFile READ sourceFileObject NOTIFY sourceFileChanged)
    Q_PROPERTY(FileData *thumbnailFile READ thumbnailFileObject NOTIFY thumbnailFileChanged)
    Q_PROPERTY(QByteArray thumbNail READ thumbNail WRITE setThumbNail NOTIFY thumbNailChanged)
    Q_PROPERTY(QString displayName READ displayName WRITE setDisplayName NOTIFY displayNameChanged)
    Q_PROPERTY(int fileType READ fileType NOTIFY fileTypeChanged)
    Q_PROPERTY(UploadState uploadState READ uploadState NOTIFY uploadStateChanged)
    Q_PROPERTY(bool isUploading READ isUploading NOTIFY uploadStateChanged)
    Q_PROPERTY(bool uploadFailed READ uploadFailed NOTIFY uploadStateChanged)

public:
    /// As what a file is shown.
    enum DisplayClass { PlainFile = 0, PictureFile = 1, VideoFile = 2, PdfFile = 3 };
    Q_ENUM(DisplayClass)

    /// How far the files of the content are on their way to the server. Of several files the one
    /// with the highest number speaks for all.
    enum UploadState {
        NoUpload, ///< nothing to upload, or all done
        WaitingForUpload,
        Uploading,
        UploadPaused,
        UploadFailed,
    };
    Q_ENUM(UploadState)

    FileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    FileItem(const im::content::Content &content, int source, AccountBase *account);
    FileItem(int source, AccountBase *account);
    /// A copy that shares the records of the files.
    explicit FileItem(const FileItem *other);
    ~FileItem() override;

    const QSharedPointer<FileData> &sourceFile() const { return m_sourceFile; }
    void setSourceFile(const QSharedPointer<FileData> &file);
    const QSharedPointer<FileData> &thumbnailFile() const { return m_thumbnailFile; }
    void setThumbnailFile(const QSharedPointer<FileData> &file);
    /// A small image (JPEG, PNG, ...) that travels within the message, to be shown, blurred, until
    /// the files are there. Bytes of that image.
    const QByteArray &thumbNail() const { return m_thumbNail; }
    void setThumbNail(const QByteArray &thumbNail);
    bool hasThumbBytes() const override { return !m_thumbNail.isEmpty(); }
    /// A name to be shown in place of the file's own, as people may see it (Util::shownFileName()).
    /// Mostly empty; not sent.
    const QString &displayName() const { return m_displayName; }
    void setDisplayName(const QString &displayName);
    /// What a view shows as the name: displayName() or else the file's.
    Q_INVOKABLE QString name() const;

    /// A DisplayClass.
    int fileType() const;
    /// Finds the display class anew, from the extension of the file. Done by itself whenever the
    /// files of the item change, or the name in their records. A file does not begin to be shown as
    /// a picture or video while there is neither a thumbnail's record nor thumbnail bytes.
    void calcFileType();

    UploadState uploadState() const;
    bool isUploading() const;
    bool uploadFailed() const { return uploadState() == UploadFailed; }

    /// Makes a thumbnail from the file where it is a picture, a video or music with a cover that
    /// lies on this device, and has none yet or lost the one that was made here. The image goes
    /// into the account's directory for media, without an account into that for temporary files.
    /// For a file that is to be uploaded the thumbnail is to be uploaded, too, and a preview is put
    /// into thumbNail(); otherwise the thumbnail stays on this device.
    ///
    /// The work is done on the thread pool (ThreadManager::run()). Ends with thumbnailCaptured() on
    /// the item's thread, unless the item is gone by then; before this returns where there is
    /// nothing to do. A call while one is under way is ignored.
    Q_INVOKABLE void captureThumbnail();

    /// The size, in pixels, of what stands above the caption in a view that can give `maxWidth`
    /// (0 or less: it does not say).
    Q_INVOKABLE virtual QSize mediaSize(int maxWidth, bool inThread) const;

    using ContentItem::serialize;
    using ContentItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    QString getKeyword() const override;
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

    /// Appends the records of all files of the item: source, thumbnail, and those that a kind has
    /// besides.
    void getFile(QList<QSharedPointer<FileData>> &files) override;
    QSharedPointer<FileData> getThumbFile() override { return m_thumbnailFile; }

Q_SIGNALS:
    void sourceFileChanged();
    void thumbnailFileChanged();
    void thumbNailChanged();
    void displayNameChanged();
    void fileTypeChanged(int fileType);
    void uploadStateChanged();
    /// The end of a captureThumbnail(). True: the item has got the thumbnail, and its image lies on
    /// this device. False: there was nothing to do, the file cannot be read, the image was lost at
    /// once, or the item has got a thumbnail or another file meanwhile.
    void thumbnailCaptured(bool ok);

protected:
    struct Thumbnail;

    AccountBase *account() const;
    /// Null without an account.
    FileProvider *fileProvider() const;
    /// Where media of the item are put, of a file type of ModelBaseUtil::getFileTypeString(). Ends
    /// in a separator.
    QString mediaDirectory(int fileType) const;
    /// The extension of the source file, in lower case.
    QString suffix() const;

    /// Writes the record of a file into a body. What was sent may come back: from then on the
    /// account's other items share the record, also where it got its id after the item was made.
    void writeFile(const QSharedPointer<FileData> &file, im::content::FileInfo *info) const;
    /// Updates what all kinds have from a body of the protocol. What a body does not have is given
    /// as the default record. Call it last, so that no signal fires before the kind's own fields
    /// are in place.
    void updateFiles(const im::content::FileInfo &file, const im::content::FileInfo &thumbnail,
                     const std::string &thumbNail, const im::content::Text &caption);
    /// The record to hold after an update from `incoming`: `held` itself when both are equal. Null
    /// for a record without content.
    QSharedPointer<FileData> updated(QSharedPointer<FileData> held,
                                     QSharedPointer<FileData> incoming) const;
    QSharedPointer<FileData> updated(const QSharedPointer<FileData> &held,
                                     const im::content::FileInfo &incoming) const;
    /// Whether there is a thumbnail to be made: none is there, or one that was made here and whose
    /// image has gone since, as from a cache that was cleared. Looks at the disk, and the record
    /// of an image that has gone learns of it (FileData::exists()).
    bool lacksThumbnail() const;
    /// Whether the thumbnail goes along with the message: not one that was made here to be shown
    /// here.
    bool isThumbnailSent() const;
    /// To be called when a file other than source and thumbnail was replaced and no update of these
    /// follows.
    void filesReplaced();
    /// The values that mediaSize() depends on: a change of them asks for a new size.
    virtual QVariantList measured() const;
    /// A thumbnail was made and is already in place.
    virtual void takeOver(const Thumbnail &) { }

    void connectNotify(const QMetaMethod &signal) override;

private:
    template <typename>
    friend struct Fields;
    struct Observed;

    FileData *sourceFileObject() const { return m_sourceFile.data(); }
    FileData *thumbnailFileObject() const { return m_thumbnailFile.data(); }
    void readFiles(const im::content::FileInfo &file, const im::content::FileInfo &thumbnail,
                   const std::string &thumbNail);
    qint16 displayClass() const;
    bool hasImage() const { return fileType() == PictureFile || fileType() == VideoFile; }
    QStringList rowTexts() const;
    bool useThumbnail(const Thumbnail &thumbnail); ///< @return whether its image is still there
    void observe();
    void recordChanged();
    UploadState observedUpload() const;
    QVariantList observedMeasures() const;

    QSharedPointer<FileData> m_sourceFile;
    QSharedPointer<FileData> m_thumbnailFile;
    QByteArray m_thumbNail;
    QString m_displayName;
    QPointer<AccountBase> m_account;
    std::unique_ptr<Observed> m_observed;  ///< null until somebody listens
    mutable qint16 m_fileType = PlainFile; ///< found anew when asked for, while nobody listens
    bool m_isCapturing = false;
};
