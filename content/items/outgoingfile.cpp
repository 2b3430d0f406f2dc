#include "content/items/outgoingfile.h"

#include "base/util.h"
#include "content/items/fileitem_p.h"
#include "content/items/imageitem.h"
#include "content/items/musicitem.h"
#include "content/items/thumbnail_p.h"
#include "content/items/videoitem.h"
#include "content/items/voiceitem.h"
#include "content/modelbaseutil.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "multimedia/audioplayer.h"
#include "multimedia/videocapture.h"

namespace
{

QSharedPointer<ImageItem> makeImage(const QString &path, int source, AccountBase *account)
{
    const QSize size = pictureSize(path);
    if (size.isEmpty()) {
        ImLog::error(lcModel(),
                     QStringLiteral("\"%1\" cannot be sent as a picture: it is none.").arg(path));
        return {};
    }
    auto item = QSharedPointer<ImageItem>::create(source, account);
    item->setSize(size.width(), size.height());
    return item;
}

template <typename Item>
QSharedPointer<Item> makeAudio(const QVariantMap &album, int source, AccountBase *account)
{
    auto item = QSharedPointer<Item>::create(source, account);
    item->setDuration(wholeSeconds(album.value(QStringLiteral("Duration")).toLongLong()));
    return item;
}

QSharedPointer<MusicItem> makeMusic(const QString &path, int source, AccountBase *account)
{
    const QVariantMap album = AudioPlayer::getAlbumInfo(path);
    auto item = makeAudio<MusicItem>(album, source, account);
    item->setTitle(album.value(QStringLiteral("Name")).toString());
    item->setAuthor(album.value(QStringLiteral("Artist")).toString());
    return item;
}

QSharedPointer<FileItem> makeItem(const QString &path, ContentItem::Type type, int source,
                                  AccountBase *account)
{
    switch (type) {
    case ContentItem::Image:
        return makeImage(path, source, account);
    case ContentItem::Video:
        if (!VideoCapture::isVideoFile(path))
            return {};
        return QSharedPointer<VideoItem>::create(source, account);
    case ContentItem::Voice:
        return makeAudio<VoiceItem>(AudioPlayer::getAlbumInfo(path), source, account);
    case ContentItem::Music:
        return makeMusic(path, source, account);
    case ContentItem::File:
        return QSharedPointer<FileItem>::create(source, account);
    default:
        ImLog::error(lcModel(),
                     QStringLiteral("No file can be sent as a content of type %1.").arg(int(type)));
        return {};
    }
}

} // namespace

QSharedPointer<FileItem> makeOutgoingFile(const QString &path, ContentItem::Type type, int source,
                                          AccountBase *account)
{
    const QString file = Util::toLocalFile(path);
    const auto record = fileForUpload(file, ModelBaseUtil::getMsgTypeToFileType(type));
    if (!record)
        return {};
    auto item = makeItem(file, type, source, account);
    if (!item)
        return {};
    item->setSourceFile(record);
    item->captureThumbnail();
    return item;
}
