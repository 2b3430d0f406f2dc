#include "content/items/musicitem.h"

#include "account/accountbase.h"
#include "account/fileprovider.h"
#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "content/items/background_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "core/logs_p.h"
#include "multimedia/audioplayer.h"
#include "protocol/message_content.pb.h"

#include <QFileInfo>

MusicItem::MusicItem(int source, AccountBase *account) : FileItem(source, account)
{
    setType(Music);
}

MusicItem::MusicItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : FileItem(map, source, account)
{
    Changes<MusicItem> changes(this);
    read(map, changes);
}

MusicItem::MusicItem(const im::content::Content &content, int source, AccountBase *account)
    : FileItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_audio())
        read(content);
}

MusicItem::MusicItem(const MusicItem *other)
    : FileItem(other), m_duration(other->m_duration), m_title(other->m_title),
      m_author(other->m_author)
{
}

void MusicItem::setDuration(qint32 duration)
{
    Changes<MusicItem>(this).set(m_duration, duration, &MusicItem::durationChanged);
}

void MusicItem::setTitle(const QString &title)
{
    Update<MusicItem>(this).set(m_title, title, &MusicItem::titleChanged);
}

void MusicItem::setAuthor(const QString &author)
{
    Update<MusicItem>(this).set(m_author, author, &MusicItem::authorChanged);
}

// What the file tells

void MusicItem::audioInfo()
{
    const QSharedPointer<FileData> file = sourceFile();
    const QString path = file ? file->BaseFile::filePath() : QString();
    if (!fileProvider() || path.isEmpty())
        return;
    struct Info {
        QVariantMap album;
        QString cover;
    };
    const bool wantsCover = file->fileState() == BaseFile::Downloaded && lacksThumbnail();
    runInBackground(
        this,
        [path, wantsCover, directory = mediaDirectory(imageFileType)] {
            return Info{AudioPlayer::getAlbumInfo(path),
                        wantsCover ? AudioPlayer::getCover(path, directory) : QString()};
        },
        [this, file](const Info &info) {
            // Meanwhile the item may have become one of another file.
            if (sourceFile() != file)
                return;
            {
                Update<MusicItem> changes(this);
                if (const QString title = info.album.value(QStringLiteral("Name")).toString();
                    !title.isEmpty())
                    changes.set(m_title, title, &MusicItem::titleChanged);
                if (const QString author = info.album.value(QStringLiteral("Artist")).toString();
                    !author.isEmpty())
                    changes.set(m_author, author, &MusicItem::authorChanged);
            }
            if (!info.cover.isEmpty() && QFileInfo::exists(info.cover) && lacksThumbnail())
                useCover(info.cover);
        });
}

void MusicItem::useCover(const QString &path)
{
    FileProvider *provider = fileProvider();
    if (!provider)
        return;
    // All songs without an id would have the same cover.
    if (sourceFile()->fileId().isEmpty()) {
        if (const auto cover = localThumbnail(path))
            setThumbnailFile(cover);
        return;
    }
    const QString id = u'M' + sourceFile()->fileId();
    QSharedPointer<FileData> cover = provider->file(id);
    // A file of the server may happen to have such an id; it is none of ours.
    if (!cover || cover->fileState() != BaseFile::Local) {
        BaseFile base(id, imageFileType);
        base.setFileState(BaseFile::Local);
        cover = provider->add(QSharedPointer<FileData>::create(&base));
    }
    cover->updateFilePath(path, false, true);
    setThumbnailFile(cover);
}

// Stored form

void MusicItem::serialize(QMap<QString, QVariant> &map) const
{
    FileItem::serialize(map);
    map.insert(QStringLiteral("duration"), m_duration);
    if (!m_title.isEmpty())
        map.insert(QStringLiteral("title"), m_title);
    if (!m_author.isEmpty())
        map.insert(QStringLiteral("author"), m_author);
}

void MusicItem::read(const QMap<QString, QVariant> &map, Changes<MusicItem> &changes)
{
    changes.set(m_duration, StoredValue::toInt32(map.value(QStringLiteral("duration"))),
                &MusicItem::durationChanged);
    changes.set(m_title, map.value(QStringLiteral("title")).toString(), &MusicItem::titleChanged);
    changes.set(m_author, map.value(QStringLiteral("author")).toString(),
                &MusicItem::authorChanged);
}

void MusicItem::deserialize(const QMap<QString, QVariant> &map)
{
    Update<MusicItem> changes(this);
    read(map, changes);
    FileItem::deserialize(map);
}

// Protocol

void MusicItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Audio *body = content->mutable_audio();
    if (sourceFile())
        writeFile(sourceFile(), body->mutable_audio_file());
    if (isThumbnailSent())
        writeFile(thumbnailFile(), body->mutable_thumb_file());
    body->set_thumb_nail(thumbNail().constData(), std::size_t(thumbNail().size()));
    body->set_title(m_title.toStdString());
    body->set_authors(m_author.toStdString());
    body->set_duration(m_duration);
    writeCaption(body);
}

void MusicItem::setContent(const im::content::Content &content)
{
    if (!content.has_audio()) {
        qCDebug(lcModel, "Music cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    read(content);
    keepRemainder(content);
}

void MusicItem::read(const im::content::Content &content)
{
    const im::content::Audio &body = content.audio();
    Update<MusicItem> changes(this);
    changes.set(m_duration, body.duration(), &MusicItem::durationChanged);
    changes.set(m_title, Util::fromUtf8(body.title()), &MusicItem::titleChanged);
    changes.set(m_author, Util::fromUtf8(body.authors()), &MusicItem::authorChanged);
    updateFiles(body.audio_file(), body.thumb_file(), body.thumb_nail(), body.caption());
}

QString MusicItem::getKeyword() const
{
    QStringList words{FileItem::getKeyword(), m_title, m_author};
    words.removeAll(QString());
    return words.join(u'\n');
}

QVariantList MusicItem::measured() const
{
    return {rowTexts()};
}

QSize MusicItem::mediaSize(int maxWidth, bool inThread) const
{
    return MediaBox::row(ContentMetrics::MusicCoverSide, rowTexts(),
                         MediaBox::messageWidth(maxWidth, inThread));
}
