#include "content/items/musicitem.h"

#include "account/accountbase.h"
#include "account/fileprovider.h"
#include "content/items/background_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "multimedia/audioplayer.h"

#include <QFileInfo>
#include <QPointer>

using im::content::Audio;
using im::content::Content;

template <>
struct Fields<MusicItem>
    : KindOf<FileItem, &Content::has_audio, &Content::audio, &Content::mutable_audio> {
    static constexpr std::tuple table{
        sentFiles<&Audio::audio_file, &Audio::mutable_audio_file>,
        field<&MusicItem::m_duration, KEY("duration"), &Audio::duration, &Audio::set_duration,
              &MusicItem::durationChanged>,
        field<&MusicItem::m_title, KEY("title"), &Audio::title, &Audio::mutable_title,
              &MusicItem::titleChanged, Written::UnlessEmpty>,
        field<&MusicItem::m_author, KEY("author"), &Audio::authors, &Audio::mutable_authors,
              &MusicItem::authorChanged, Written::UnlessEmpty>,
    };
};

CONTENT_KIND(MusicItem, FileItem, ContentItem::Music)

SET_BY_FIELD(MusicItem, setDuration, qint32, m_duration)
SET_BY_FIELD(MusicItem, setTitle, const QString &, m_title)
SET_BY_FIELD(MusicItem, setAuthor, const QString &, m_author)

// Tags of the file

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
        [path, wantsCover, directory = mediaDirectory(FileType::Image)] {
            return Info{AudioPlayer::getAlbumInfo(path),
                        wantsCover ? AudioPlayer::getCover(path, directory) : QString()};
        },
        [this, file](const Info &info) {
            // Meanwhile the item may have become one of another file.
            if (sourceFile() != file)
                return;
            const QPointer alive(this); // a handler of the title may delete the item
            {
                const Changes changes(this);
                const QString title = info.album.value(QStringLiteral("Name")).toString();
                const QString author = info.album.value(QStringLiteral("Artist")).toString();
                m_title = title.isEmpty() ? m_title : title;
                m_author = author.isEmpty() ? m_author : author;
            }
            if (alive && !info.cover.isEmpty() && QFileInfo::exists(info.cover) && lacksThumbnail())
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
        BaseFile base(id, FileType::Image);
        base.setFileState(BaseFile::Local);
        cover = provider->add(QSharedPointer<FileData>::create(&base));
    }
    setThumbnailFile(cover);
    cover->updateFilePath(path, false, true); // last: a handler may delete the item
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
