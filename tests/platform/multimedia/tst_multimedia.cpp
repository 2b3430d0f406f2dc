#include "multimedia/audioplayer.h"
#include "multimedia/videocapture.h"
#include "support/facts.h"
#include "support/files.h"
#include "support/loglines.h"

#include <QDateTime>
#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

#include <atomic>
#include <thread>

#ifdef Q_OS_UNIX
#    include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *category = "im.multimedia";

QString mediaPath(const char *name)
{
    return QStringLiteral(MEDIA) + QString::fromLatin1(name);
}

/// A recorded file, or with a folder a seed.
QString pathOf(const QString &name)
{
    return (name.contains(u'/') ? QStringLiteral(FUZZ) : QStringLiteral(MEDIA)) + name;
}

/// Seven bits a byte are what ID3v2 writes the size of a tag with.
QByteArray number(quint32 value, int bits = 8)
{
    QByteArray bytes(4, '\0');
    for (int i = 3; i >= 0; --i, value >>= bits)
        bytes[i] = char(value & ((1U << bits) - 1));
    return bytes;
}

QByteArray frame(const char *id, const QByteArray &body, quint16 flags = 0, int version = 3)
{
    const QByteArray size = number(quint32(body.size()), version == 4 ? 7 : 8);
    return id + size + char(flags >> 8) + char(flags) + body;
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
    return "ID3" + QByteArray(1, version) + QByteArray(2, '\0') + number(quint32(frames.size()), 7)
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

constexpr int side = 96; // of the thumbnails

} // namespace

/// Songs and videos. The fuzz targets damage them.
class tst_Multimedia : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;
    int m_number = 0;

    QString in(const QString &name) const { return m_home.filePath(name); }
    QString newDirectory()
    {
        const QString path = in(u"d%1"_s.arg(++m_number));
        QDir().mkpath(path);
        return path;
    }
    QString newFile(const QByteArray &bytes)
    {
        const QString path = in(u"f%1"_s.arg(++m_number));
        return write(path, bytes) ? path : QString();
    }
    /// The cover of an audio file with these bytes.
    QString coverOf(const QByteArray &bytes)
    {
        return AudioPlayer::getCover(newFile(bytes), newDirectory());
    }
    QVariantMap albumOf(const QByteArray &bytes)
    {
        return AudioPlayer::getAlbumInfo(newFile(bytes));
    }
private Q_SLOTS:
    /// Of raw streams only those who walk through them know how long they are: tone.aac is silent
    /// for three of its seconds.
    void albums()
    {
        for (const QString &line : facts(u"albums.txt"_s)) {
            const QStringList columns = line.split(u'\t');
            const QString source = pathOf(columns[0]);
            // Neither the name nor a link on the way there matters.
            const QString misnamed = in(u"Ключ 鍵 %1.txt"_s.arg(++m_number));
            const QString link = misnamed + u"-link"_s;
            QVERIFY(QFile::copy(source, misnamed) && QFile::link(misnamed, link));
            for (const QString &path : {source, misnamed, link}) {
                QVariantMap album = AudioPlayer::getAlbumInfo(path);
                const int duration = album.take(u"Duration"_s).toInt();
                const int bitrate = album.take(u"Bitrate"_s).toInt();
                QVERIFY2(qAbs(duration - columns[1].toInt()) < 160, qPrintable(line));
                QVERIFY2(qAbs(bitrate - columns[2].toInt()) < 20, qPrintable(line));
                QStringList rest;
                for (auto each = album.begin(); each != album.end(); ++each)
                    rest.append(each.key() + u'=' + each->toString());
                QCOMPARE(rest, columns.mid(3));
            }
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

        // Ogg has the picture block of FLAC in base 64, in a comment; "image/jpeg", this one says.
        const QString map = AudioPlayer::getCover(pathOf(u"audio/seeds/cover.opus"_s), directory);
        QVERIFY(map.endsWith(u".png"));
        QCOMPARE(contents(map), contents(mediaPath("map.png")));
        QVERIFY(!QImage(AudioPlayer::getCover(pathOf(u"audio/seeds/cover.flac"_s), directory))
                     .isNull());

        const LogLines warnings(category);
        QCOMPARE(AudioPlayer::getCover(mediaPath("voice.ogg"), directory), QString());
        QCOMPARE(warnings.count(), 0);
        QCOMPARE(QDir(directory).entryList(QDir::Files).size(), 4);
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

        // What has taken its name stays: a file, a link to nowhere, a directory; and one in the
        // place of the directory.
        const LogLines warnings(category);
        const QString elsewhere = in(u"elsewhere"_s);
        QVERIFY(write(path, "something else"));
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
        QCOMPARE(contents(path), QByteArray("something else"));
        QVERIFY(QFile::remove(path) && QFile::link(elsewhere, path));
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
        QVERIFY(!QFileInfo::exists(elsewhere) && QFile::remove(path) && QDir().mkpath(path));
        QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), directory), QString());
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
        const QByteArray artist = frame("TPE1", "\x03Mira");
        const QByteArray bomb = qCompress(QByteArray(16 << 20, 'x'), 9);
        for (const int version : {3, 4}) {
            const quint16 compressed = version == 3 ? 0x80 : 0x09;
            // Its size unfolded, which both versions put in front of the bytes.
            const QByteArray title = frame("TIT2", bomb, compressed, version);
            const QVariantMap album = albumOf(song(title + artist, char(version)));
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
        QCOMPARE(albumOf(song(chapters + artist)).value(u"Artist"_s), u"Mira"_s);

        QByteArray atoms = number(16) + "ftypM4A " + number(0);
        for (quint32 i = depth; i > 0; --i)
            atoms += number(i * 8) + "moov";
        const LogLines warnings(category);
        QVERIFY(albumOf(atoms).isEmpty());
        QCOMPARE(warnings.count(), 1);
    }

    void brokenTexts()
    {
        const auto title = [this](const QByteArray &text) {
            return albumOf(song(frame("TIT2", text))).value(u"Name"_s).toString();
        };
        QCOMPARE(title(QByteArray::fromHex("00 636166e9")), u"café"_s);   // Latin-1
        QCOMPARE(title(QByteArray::fromHex("01 fffe61006200")), u"ab"_s); // UTF-16
        QCOMPARE(title("\x03 two\n lines\t"), u"two lines"_s);            // UTF-8, as below
        QCOMPARE(title("\x03x" + u"🎵"_s.repeated(5000).toUtf8()).size(), 999);
        QCOMPARE(title('\x03' + QByteArray(999, 'x') + " end"), QString(999, u'x'));
    }

    void captures()
    {
        // Neither the name of the video nor that of its directory matters.
        QVERIFY(QDir().mkpath(in(u"http:"_s)));
        const QString misnamed = in(u"http:/видео 影.txt"_s);
        QVERIFY(QFile::copy(mediaPath("sunrise.mp4"), misnamed));
        struct Try {
            QString video;
            QString image;
            int side;
            QSize expected;
            const char *magic;
        };
        for (const Try &each :
             {Try{mediaPath("sunrise.mp4"), in(u"a.png"_s), 96, QSize(96, 60), "\x89PNG"},
              Try{mediaPath("sunrise.mp4"), in(u"изображение.JPG"_s), 48, QSize(48, 30),
                  "\xff\xd8"},
              Try{misnamed, in(u"b.jpeg"_s), 4096, QSize(192, 120), "\xff\xd8"}}) {
            const auto frame = VideoCapture::capture(each.video, each.image, each.side);
            QVERIFY(frame);
            QCOMPARE(frame->size, each.expected);
            QCOMPARE(frame->natural, QSize(192, 120));
            QVERIFY(qAbs(frame->duration - 2000) < 60);
            QVERIFY(contents(each.image).startsWith(each.magic));
            const QImage image(each.image);
            QCOMPARE(image.size(), each.expected);
            // Before sunrise: a blue sky above, red on the horizon.
            const QColor above = image.pixelColor(image.width() / 2, image.height() / 20);
            const QColor horizon = image.pixelColor(image.width() / 20, image.height() * 2 / 5);
            QVERIFY(above.blue() > above.red());
            QVERIFY(horizon.red() > above.red() + 30);
        }
    }

    /// Seeds whose heads are changed: turned, stretched, or with huge frames.
    void shapes()
    {
        for (const QString &line : facts(u"shapes.txt"_s)) {
            const QStringList columns = line.split(u'\t');
            QByteArray video = contents(pathOf(columns[0]));
            const auto bytes = [&](int column) {
                return QByteArray::fromHex(columns[column].toLatin1());
            };
            QCOMPARE(video.count(bytes(1)), 1);
            video.replace(bytes(1), bytes(2));
            const auto frame = VideoCapture::capture(newFile(video), in(u"image.png"_s), side);
            const auto text = [](QSize size) {
                return u"%1x%2"_s.arg(size.width()).arg(size.height());
            };
            QCOMPARE(frame ? text(frame->size) + u" of "_s + text(frame->natural) : u"nothing"_s,
                     columns[3]);
        }
    }

    void whatIsNeither()
    {
        const QString video = mediaPath("sunrise.mp4");
        const QByteArray name = video.toUtf8();
        const QString image = in(u"before.png"_s);
        QVERIFY(write(image, "as it was"));
        QStringList paths{newDirectory(), in(u"missing.mp4"_s), newFile({}), QString()};
        for (const char *other :
             {"notes.txt", "timetable.pdf", "lake.jpg", "receipt.png", "make.sh"})
            paths += mediaPath(other);
        // Text that has FFmpeg open other files.
        paths += newFile("ffconcat version 1.0\nfile '" + name + "'\n");
        paths +=
            newFile("#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n" + name + "\n#EXT-X-ENDLIST\n");
        paths << u"file:"_s + video << u"concat:"_s + video;
#ifdef Q_OS_UNIX
        const QString pipe = in(u"pipe.mp4"_s);
        ::mkfifo(QFile::encodeName(pipe).constData(), 0600);
        QVERIFY(QFile::link(pipe, pipe + u"-link"_s)
                && QFile::link(in(u"circle"_s), in(u"circle"_s)));
        paths << pipe << pipe + u"-link"_s << in(u"circle"_s) << u"/dev/zero"_s;
#endif
        const QString directory = newDirectory();
        LogLines lines(category);
        for (const QString &path : std::as_const(paths)) {
            lines.take();
            QVERIFY2(AudioPlayer::getAlbumInfo(path).isEmpty() && lines.take() == 1,
                     qPrintable(path));
            QVERIFY2(AudioPlayer::getCover(path, directory).isEmpty() && lines.take() == 1,
                     qPrintable(path));
            QVERIFY2(!VideoCapture::capture(path, image, side) && lines.take() == 1,
                     qPrintable(path));
        }
        for (const char *song : {"morning.mp3", "lakeside.m4a", "voice.ogg"}) // with covers, too
            QVERIFY(!VideoCapture::capture(mediaPath(song), image, side) && lines.take() == 1);
        for (const char *picture : {"wink.gif", "sticker.webp"})
            QVERIFY(AudioPlayer::getAlbumInfo(mediaPath(picture)).isEmpty() && lines.take() == 1);
        QVERIFY(QDir(directory).isEmpty());
        QCOMPARE(contents(image), QByteArray("as it was"));
    }

    void whereItCannotBeStored()
    {
        const QString video = mediaPath("sunrise.mp4");
        const QString itself = in(u"itself.png"_s);
        QVERIFY(QFile::copy(video, itself));
        QVERIFY(QDir().mkpath(in(u"directory.png"_s)));
        const LogLines warnings(category);
        QVERIFY(!VideoCapture::capture(itself, itself, 96));
        QCOMPARE(contents(itself), contents(video));
        QVERIFY(!VideoCapture::capture(video, in(u"directory.png"_s), 96));
        QVERIFY(!VideoCapture::capture(video, in(u"missing/a.png"_s), 96));
        QVERIFY(!VideoCapture::capture(video, in(u"a.exe"_s), 96));
        QVERIFY(!VideoCapture::capture(video, in(u"none.png"_s), 0));
        QVERIFY(!VideoCapture::capture(video, in(u"none.png"_s), 5000));
        QCOMPARE(warnings.count(), 6);
        QVERIFY(!QFileInfo::exists(in(u"a.exe"_s)) && !QFileInfo::exists(in(u"none.png"_s)));
    }

    void fromManyThreads()
    {
        std::atomic<int> good = 0;
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < 4; ++thread) {
            workers.emplace_back([this, thread, &good] {
                for (int i = 0; i < 5; ++i) {
                    const QString own = in(u"thread%1.png"_s.arg(thread));
                    good += VideoCapture::capture(mediaPath("sunrise.mp4"), own, 64).has_value();
                    const QString cover =
                        AudioPlayer::getCover(mediaPath("morning.mp3"), in(u"covers%1"_s.arg(i)));
                    good += !QImage(cover).isNull();
                }
            });
        }
        workers.clear();
        QCOMPARE(good.load(), 4 * 5 * 2);
    }

#ifdef Q_OS_LINUX
    /// As where a package has left it out.
    void withoutTheReader()
    {
        // A child finds our library in a directory in which there is nothing else.
        if (qEnvironmentVariableIsSet("LD_LIBRARY_PATH")) {
            const LogLines lines(category);
            QCOMPARE(AudioPlayer::getAlbumInfo(mediaPath("morning.mp3")), QVariantMap());
            QCOMPARE(AudioPlayer::getCover(mediaPath("morning.mp3"), newDirectory()), QString());
            QVERIFY(!VideoCapture::capture(mediaPath("sunrise.mp4"), in(u"none.png"_s), side));
            QCOMPARE(lines.count(), 1);
            return;
        }
        const QFileInfo library(QStringLiteral(LIBRARY));
        const QString directory = newDirectory();
        QVERIFY(QFile::copy(library.filePath(), directory + u'/' + library.fileName()));
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LD_LIBRARY_PATH"_s, directory);
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {u"withoutTheReader"_s});
        QVERIFY(child.waitForFinished());
        QVERIFY2(child.exitCode() == 0, child.readAllStandardOutput());
    }
#endif
};

QTEST_GUILESS_MAIN(tst_Multimedia)
#include "tst_multimedia.moc"
