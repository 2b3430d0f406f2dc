#include "damaged.h"

#include "multimedia/audioplayer.h"

#include <QDateTime>
#include <QImage>
#include <QTemporaryDir>
#include <QtEndian>

using namespace Qt::StringLiterals;
using namespace damaged;

namespace
{

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// Seven bits a byte, as ID3v2 writes the size of a tag.
QByteArray number7(quint32 value)
{
    QByteArray bytes(4, '\0');
    for (int i = 3; i >= 0; --i, value >>= 7)
        bytes[i] = char(value & 0x7f);
    return bytes;
}

QByteArray frame(const char *id, const QByteArray &body, quint16 flags = 0, int version = 3)
{
    const QByteArray size =
        version == 4 ? number7(quint32(body.size())) : number(quint32(body.size()));
    return id + size + char(flags >> 8) + char(flags) + body;
}

QByteArray textFrame(const char *id, const QByteArray &text, char encoding = 3)
{
    return frame(id, encoding + text);
}

QByteArray pictureFrame(const QByteArray &image, char type, const char *mime = "image/jpeg")
{
    return frame("APIC", '\0' + QByteArray(mime) + '\0' + type + '\0' + image);
}

/// The sound of morning.mp3 below a tag of these frames.
QByteArray song(const QByteArray &frames, char version = 3)
{
    static const QByteArray sound = [] {
        const QByteArray whole = contents(mediaPath("morning.mp3"));
        quint32 size = 0;
        for (int i = 6; i < 10; ++i)
            size = size << 7 | quint32(whole.at(i));
        return whole.sliced(10 + size);
    }();
    return "ID3" + QByteArray(1, version) + QByteArray(2, '\0') + number7(quint32(frames.size()))
        + frames + sound;
}

/// A BMP file of which there is only the head.
QByteArray bmp(qint32 width, qint32 height)
{
    QByteArray head("BM");
    const auto add = [&head](auto value) {
        value = qToLittleEndian(value);
        head.append(reinterpret_cast<const char *>(&value), sizeof value);
    };
    for (const quint32 value : {54u + 12u, 0u, 54u, 40u})
        add(value);
    add(width);
    add(height);
    add(quint16(1));
    add(quint16(24));
    return head + QByteArray(24 + 12, '\0');
}

} // namespace

class tst_AudioPlayer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;
    int m_number = 0;

    QString newDirectory()
    {
        const QString path = m_home.filePath(u"d%1"_s.arg(++m_number));
        QDir().mkpath(path);
        return path;
    }
    QString newFile(const QByteArray &bytes)
    {
        return written(m_home.filePath(u"f%1"_s.arg(++m_number)), bytes);
    }
    /// The cover of an audio file with these bytes.
    QString coverOf(const QByteArray &bytes)
    {
        return AudioPlayer::getCover(newFile(bytes), newDirectory());
    }

private Q_SLOTS:
    void albums()
    {
        const std::tuple<QString, int, QVariantMap> songs[] = {
            {mediaPath("morning.mp3"),
             3000,
             {{u"Name"_s, u"Утро у озера — 湖の朝"_s},
              {u"Artist"_s, u"Zoë Ångström"_s},
              {u"Album"_s, u"Étude № 1"_s},
              {u"Genre"_s, u"Ambient"_s},
              {u"Year"_s, 2024},
              {u"Track"_s, 3},
              {u"SampleRate"_s, 24000},
              {u"Channels"_s, 1}}},
            {mediaPath("lakeside.m4a"),
             3000,
             {{u"Name"_s, u"Lakeside"_s},
              {u"Artist"_s, u"Mira"_s},
              {u"SampleRate"_s, 24000},
              {u"Channels"_s, 2}}}, // MPEG-4 always writes 2 there
            {mediaPath("voice.ogg"), 2600, {{u"SampleRate"_s, 48000}, {u"Channels"_s, 1}}},
        };
        for (const auto &[source, duration, expected] : songs) {
            // Neither the name nor a link on the way there matters.
            const QString misnamed = m_home.filePath(u"Ключ 鍵 %1.txt"_s.arg(++m_number));
            const QString link = misnamed + u"-link"_s;
            QVERIFY(QFile::copy(source, misnamed) && QFile::link(misnamed, link));
            for (const QString &path : {source, misnamed, link}) {
                QVariantMap album = AudioPlayer::getAlbumInfo(path);
                QVERIFY(qAbs(album.take(u"Duration"_s).toInt() - duration) < 60);
                const int bitrate = album.take(u"Bitrate"_s).toInt();
                QVERIFY2(bitrate > 8 && bitrate < 64, qPrintable(QString::number(bitrate)));
                QCOMPARE(album, expected);
            }
        }
    }

    /// Of raw streams only those who walk through them know how long they are: this AAC is silent for
    /// three of its seconds.
    void otherKinds()
    {
        for (const auto &[name, duration, sampleRate, title] :
             {std::tuple(u"tone.wav"_s, 2000, 8000, u"Lakeside"_s),
              {u"tone.wma"_s, 2000, 16000, u"Lakeside"_s},
              {u"tone.aac"_s, 4000, 16000, QString()},
              {u"tone.ac3"_s, 2000, 32000, QString()}}) {
            const QVariantMap album =
                AudioPlayer::getAlbumInfo(QStringLiteral(FUZZ "audio/seeds/") + name);
            QVERIFY2(qAbs(album.value(u"Duration"_s).toInt() - duration) < 160, qPrintable(name));
            QCOMPARE(album.value(u"SampleRate"_s), sampleRate);
            QCOMPARE(album.value(u"Channels"_s), 1);
            QVERIFY(album.value(u"Bitrate"_s).toInt() > 0);
            QCOMPARE(album.value(u"Name"_s).toString(), title);
            QCOMPARE(album.contains(u"Artist"_s), !title.isEmpty());
        }
    }

    void covers()
    {
        const QString directory = m_home.filePath(u"new/обложки"_s);
        const QString jpeg = AudioPlayer::getCover(mediaPath("morning.mp3"), directory);
        const QString png = AudioPlayer::getCover(mediaPath("lakeside.m4a"), directory);
        for (const QString &path : {jpeg, png}) {
            QCOMPARE(QFileInfo(path).absolutePath(), QFileInfo(directory).absoluteFilePath());
            QCOMPARE(QImage(path).size(), QSize(160, 160));
        }
        QVERIFY(jpeg.endsWith(u".jpg"_s));
        QVERIFY(png.endsWith(u".png"_s));
        // The sleeve: gold in the middle, dark in the upper corner.
        const QColor middle = QImage(jpeg).pixelColor(80, 80);
        QVERIFY(middle.red() > 200 && middle.blue() < 160);
        QVERIFY(QImage(jpeg).pixelColor(3, 3).lightness() < 90);

        const LogLines warnings(category);
        QCOMPARE(AudioPlayer::getCover(mediaPath("voice.ogg"), directory), QString());
        QCOMPARE(warnings.count(), 0);
        QCOMPARE(QDir(directory).entryList(QDir::Files).size(), 2);
    }

    /// Ogg has the picture block of FLAC in base 64, in a comment.
    void flacAndOggPictures()
    {
        const QString directory = newDirectory();
        const auto cover = [&](const QString &song) {
            return AudioPlayer::getCover(QStringLiteral(FUZZ "audio/seeds/") + song, directory);
        };
        QVERIFY(!QImage(cover(u"cover.flac"_s)).isNull());
        QVERIFY(cover(u"cover.opus"_s).endsWith(u".png")); // "image/jpeg", it says
        QCOMPARE(contents(cover(u"cover.opus"_s)), contents(mediaPath("map.png")));
    }

    void aCoverIsStoredOnce()
    {
        const QString directory = newDirectory();
        const QString path = AudioPlayer::getCover(mediaPath("morning.mp3"), directory);
        const QByteArray image = contents(path);
        QVERIFY(!image.isEmpty());
        const QDateTime old = QDateTime::fromSecsSinceEpoch(1'000'000'000);
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(old, QFileDevice::FileModificationTime));
        }
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), path);
        QCOMPARE(QFileInfo(path).lastModified(), old);

        // What has taken its name stays: a file, a link to nowhere, a directory.
        const LogLines warnings(category);
        written(path, "something else");
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
        QCOMPARE(contents(path), QByteArray("something else"));
        QVERIFY(QFile::remove(path));
        const QString elsewhere = m_home.filePath(u"elsewhere"_s);
        QVERIFY(QFile::link(elsewhere, path));
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
        QVERIFY(!QFileInfo::exists(elsewhere));
        QVERIFY(QFile::remove(path));
        QVERIFY(QDir().mkpath(path));
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
        QCOMPARE(warnings.count(), 3);
        // A file where the directory should be.
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), mediaPath("notes.txt")),
                 QString());
        QCOMPARE(warnings.count(), 4);
    }

    void whichPicture()
    {
        const QByteArray png = contents(mediaPath("map.png"));
        const QByteArray jpeg = contents(mediaPath("lake.jpg"));
        constexpr char front = 3;
        constexpr char artist = 8;
        QCOMPARE(contents(coverOf(song(pictureFrame(png, artist) + pictureFrame(jpeg, front)))),
                 jpeg);
        QCOMPARE(
            contents(coverOf(song(pictureFrame("no image", front) + pictureFrame(png, artist)))),
            png);
        QVERIFY(coverOf(song(pictureFrame(png, front))).endsWith(u".png"_s));
        QVERIFY(coverOf(song(pictureFrame(bmp(2, 2), front))).endsWith(u".bmp"_s));
        QVERIFY(coverOf(song(pictureFrame(bmp(6000, 6000), front))).endsWith(u".bmp"_s));

        const QByteArray large = jpeg + QByteArray(16 << 20, '\0');
        const auto refused = [this](const QByteArray &image) {
            const LogLines warnings(category);
            return coverOf(song(pictureFrame(image, front))).isEmpty() && warnings.count() < 2;
        };
        QVERIFY(refused("http://example.org/cover.jpg"));
        QVERIFY(refused("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"));
        QVERIFY(refused(bmp(60000, 60000)));
        QVERIFY(refused(bmp(0, 5)));
        QVERIFY(refused(large));
        QVERIFY(refused(jpeg.first(20)));
    }

    // Each of these makes a reader that trusts its input run out of memory or stack.
    void unfoldingTags()
    {
        const QByteArray artist = textFrame("TPE1", "Mira");
        const QByteArray bomb = qCompress(QByteArray(16 << 20, 'x'), 9);
        for (const int version : {3, 4}) {
            const quint16 compressed = version == 3 ? 0x80 : 0x09;
            // Its size unfolded, which both versions put in front of the bytes.
            const QByteArray title = frame("TIT2", bomb, compressed, version);
            const QVariantMap album =
                AudioPlayer::getAlbumInfo(newFile(song(title + artist, char(version))));
            QCOMPARE(album.value(u"Artist"_s), u"Mira"_s);
            QVERIFY(!album.contains(u"Name"_s));
        }

        constexpr int depth = 200'000;
        QByteArray chapters;
        for (int i = depth; i > 0; --i) {
            // "CHAP", size, flags, element id, four times
            chapters += "CHAP" + number(quint32(i * 28 - 10)) + QByteArray(2, '\0') + "x"
                + QByteArray(17, '\0');
        }
        QCOMPARE(AudioPlayer::getAlbumInfo(newFile(song(chapters + artist))).value(u"Artist"_s),
                 u"Mira"_s);

        QByteArray atoms = number(16) + "ftypM4A " + number(0);
        for (quint32 i = depth; i > 0; --i)
            atoms += number(i * 8) + "moov";
        const LogLines warnings(category);
        QVERIFY(AudioPlayer::getAlbumInfo(newFile(atoms)).isEmpty());
        QCOMPARE(warnings.count(), 1);
    }

    void brokenTexts()
    {
        const auto title = [this](const QByteArray &text, char encoding) {
            return AudioPlayer::getAlbumInfo(newFile(song(textFrame("TIT2", text, encoding))))
                .value(u"Name"_s)
                .toString();
        };
        constexpr char latin1 = 0;
        constexpr char utf16 = 1;
        constexpr char utf8 = 3;
        QCOMPARE(title("caf\xe9", latin1), u"café"_s);
        QCOMPARE(title(QByteArray("\xff\xfe"
                                  "a\0b\0",
                                  6),
                       utf16),
                 u"ab"_s);
        QCOMPARE(title(" two\n lines\t", utf8), u"two lines"_s);
        QByteArray emoji = "x";
        for (int i = 0; i < 5000; ++i)
            emoji += "\xf0\x9f\x8e\xb5";
        QCOMPARE(title(emoji, utf8).size(), 999);
        QCOMPARE(title(QByteArray(999, 'x') + " end", utf8), QString(999, u'x'));
    }

    void whatIsNoAudio()
    {
        QStringList paths = notFiles(QDir(newDirectory()));
        for (const char *name : {"notes.txt", "timetable.pdf", "lake.jpg", "receipt.png",
                                 "wink.gif", "sticker.webp", "make.sh"})
            paths += mediaPath(name);
        const QString directory = newDirectory();
        for (const QString &path : std::as_const(paths)) {
            const LogLines warnings(category);
            QVERIFY2(AudioPlayer::getAlbumInfo(path).isEmpty(), qPrintable(path));
            QCOMPARE(warnings.count(), 1);
            QCOMPARE(AudioPlayer::getCover(path, directory), QString());
            QCOMPARE(warnings.count(), 2);
        }
        QVERIFY(QDir(directory).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_AudioPlayer)
#include "tst_audioplayer.moc"
