// Songs and voice messages from a message: their tags are as the player documents, and a cover is a
// valid image.

#include "multimedia/audioplayer.h"
#include "support/fuzzing.h"

#include <QFileInfo>
#include <QImageReader>

using fuzzing::check;

namespace
{

void checkAlbum(const QVariantMap &album)
{
    static const QStringList texts{QStringLiteral("Name"), QStringLiteral("Artist"),
                                   QStringLiteral("Album"), QStringLiteral("Genre")};
    static const QStringList numbers{QStringLiteral("Year"),       QStringLiteral("Track"),
                                     QStringLiteral("Duration"),   QStringLiteral("Bitrate"),
                                     QStringLiteral("SampleRate"), QStringLiteral("Channels")};
    for (auto entry = album.begin(); entry != album.end(); ++entry) {
        const QString text = entry->toString();
        if (texts.contains(entry.key())) {
            check(entry->typeId() == QMetaType::QString && !text.isEmpty(), "a text is one");
            check(text.size() <= 1000 && text.simplified() == text, "a text is a line, not long");
            check(text.isValidUtf16(), "a text is Unicode");
        } else {
            check(numbers.contains(entry.key()), "the album has the keys that are known");
            check(entry->typeId() == QMetaType::Int && entry->toInt() > 0, "a number is positive");
        }
    }
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const QDir folder = fuzzing::folderWith(QStringLiteral("song"), input);
    const QString song = folder.filePath(QStringLiteral("song"));
    const QVariantMap album = AudioPlayer::getAlbumInfo(song);
    checkAlbum(album);

    const QString cover = AudioPlayer::getCover(song, folder.path());
    if (cover.isEmpty()) {
        check(folder.entryList(QDir::Files).size() == 1, "without a cover there is no file of it");
        return;
    }
    check(!album.isEmpty(), "only what has an album has a cover");
    check(QFileInfo(cover).dir() == folder, "the cover lies where it was asked for");
    check(!QImageReader(cover).size().isEmpty(), "the cover's name tells what image it is");
    check(AudioPlayer::getCover(song, folder.path()) == cover, "one cover is one file");
}
