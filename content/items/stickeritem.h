#pragma once

#include "content/contentitem.h"

#include <QByteArray>

class StickerData;

namespace im::content
{
class Sticker;
}

/// A sticker: a small picture, still, animated or both.
///
/// One item may stand for the same sticker in many messages: the account's sticker provider makes
/// and shares the items, and with them the records of their files.
///
/// Stored after the base keys: "pid", "shortcut", "hint", "w", "h"; of the still picture "fileId",
/// "size", "fileMd5", "aesKey", "fileType", and while it is on this device "filePath" and
/// "fileState"; of the animated one the same as "animateId", "animateSize", "animateFileMd5",
/// "animateAesKey", "animateFileType", "animatePath" and "animateFileState". What else there is,
/// where it is not the default: "fileName", "localName", "sentSize", "version", "iv",
/// "animateName", "animateLocalName", "animateSentSize", "animateVersion", "animateIv", "animateW",
/// "animateH", "uploadUserId", and of the thumbnail "thumbW", "thumbH", "thumbNail" (Base64) and
/// the keys of a FileData. Keys, checksums and vectors are Base64 text.
class MODELBASE_EXPORT StickerItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("content/stickerdata.h")
    Q_PROPERTY(qint32 pid READ pid WRITE setPid NOTIFY pidChanged)
    Q_PROPERTY(QString shortcut READ shortcut WRITE setShortcut NOTIFY shortcutChanged)
    Q_PROPERTY(QString hint READ hint WRITE setHint NOTIFY hintChanged)
    Q_PROPERTY(qint32 w READ w WRITE setW NOTIFY wChanged)
    Q_PROPERTY(qint32 h READ h WRITE setH NOTIFY hChanged)
    Q_PROPERTY(
        qint64 uploadUserId READ uploadUserId WRITE setUploadUserId NOTIFY uploadUserIdChanged)
    Q_PROPERTY(StickerData *file READ fileObject NOTIFY fileChanged)
    Q_PROPERTY(StickerData *animatedFile READ animatedFileObject NOTIFY animatedFileChanged)
    Q_PROPERTY(FileData *thumbFile READ thumbFileObject NOTIFY thumbnailChanged)
    Q_PROPERTY(QByteArray thumbBytes READ thumbBytes NOTIFY thumbnailChanged)

public:
    using Map = QMap<QString, QVariant>;

    /// A small picture that stands in until the file is there.
    struct Thumbnail {
        QSharedPointer<FileData> file; ///< may be null
        QByteArray bytes;              ///< the picture itself, may be empty
        qint32 w = 0;                  ///< pixels
        qint32 h = 0;
    };

    StickerItem(const Map &map, int source, AccountBase *account);
    StickerItem(const im::content::Content &content, int source, AccountBase *account);
    StickerItem(int source, AccountBase *account);
    /// A copy with file records of its own.
    explicit StickerItem(const StickerItem *other);
    ~StickerItem() override;

    /// The id of the pack that the sticker belongs to; 0 when it belongs to none that is known.
    qint32 pid() const { return m_pid; }
    void setPid(qint32 pid);
    /// The text that the sticker stands for, an emoji for the most part.
    const QString &shortcut() const { return m_shortcut; }
    void setShortcut(const QString &shortcut);
    /// What is on the picture, in words.
    const QString &hint() const { return m_hint; }
    void setHint(const QString &hint);
    /// Pixels, as the sticker was made; what a stranger sent may be absurd.
    qint32 w() const { return m_w; }
    void setW(qint32 w);
    qint32 h() const { return m_h; }
    void setH(qint32 h);
    /// Who made it: known of favourites only; 0 of others.
    qint64 uploadUserId() const { return m_uploadUserId; }
    void setUploadUserId(qint64 uploadUserId);

    /// The still picture, and the animated one; each may be null.
    const QSharedPointer<StickerData> &file() const { return m_file; }
    void setFile(const QSharedPointer<StickerData> &file);
    const QSharedPointer<StickerData> &animatedFile() const { return m_animatedFile; }
    void setAnimatedFile(const QSharedPointer<StickerData> &file);
    const Thumbnail &thumbnail() const { return m_thumbnail; }
    void setThumbnail(const Thumbnail &thumbnail);
    const QByteArray &thumbBytes() const { return m_thumbnail.bytes; }
    bool hasThumbBytes() const override { return !m_thumbnail.bytes.isEmpty(); }

    void serialize(Map &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const Map &map) override;
    /// Updates from a record. The pack id never decreases: the larger one stays.
    void deserialize(const im::content::Sticker &sticker);
    /// Updates from the record of a favourite sticker, whose keys are other ones: "pid",
    /// "shortcut", "hint", "w", "h", "upload_user_id", "fileid" or "fileId", "aeskey" or "aesKey",
    /// "filemd5" or "fileMd5", "size", "fileType", and of the animated picture "a_fileid",
    /// "a_aeskey", "a_filemd5", "a_size", "a_w", "a_h", "a_fileType". The pack id never decreases.
    void deserializeFavorite(const Map &map);
    using ContentItem::setContent;
    void setContent(const im::content::Content &content) override;
    /// Whether item and record are equal, apart from their pack ids. Only for records of which a
    /// StickerItem keeps no remainder.
    bool matches(const im::content::Sticker &sticker) const;

    /// Shortcut and hint.
    QString getKeyword() const override;
    /// The sticker's own size within a square of 192 pixels, as MediaFileItem::mediaSize(). Of a
    /// sticker without a size, that of its animated picture or thumbnail counts.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

    /// The pictures' records and the thumbnail's.
    void getFile(QList<QSharedPointer<FileData>> &files) override;
    QSharedPointer<FileData> getThumbFile() override { return m_thumbnail.file; }

Q_SIGNALS:
    void pidChanged();
    void shortcutChanged();
    void hintChanged();
    void wChanged();
    void hChanged();
    void uploadUserIdChanged();
    void fileChanged();
    void animatedFileChanged();
    void thumbnailChanged();

private:
    template <typename>
    friend struct Fields;

    StickerData *fileObject() const;
    StickerData *animatedFileObject() const;
    FileData *thumbFileObject() const { return m_thumbnail.file.data(); }

    QString m_shortcut;
    QString m_hint;
    QSharedPointer<StickerData> m_file;
    QSharedPointer<StickerData> m_animatedFile;
    Thumbnail m_thumbnail;
    qint64 m_uploadUserId = 0;
    qint32 m_pid = 0;
    qint32 m_w = 0;
    qint32 m_h = 0;
};
