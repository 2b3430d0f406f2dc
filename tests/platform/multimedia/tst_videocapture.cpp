#include "damaged.h"

#include "multimedia/audioplayer.h"
#include "multimedia/videocapture.h"

#include <QImage>
#include <QTemporaryDir>
#include <QtEndian>

#include <cstring>
#include <thread>

using namespace Qt::StringLiterals;
using namespace damaged;

class tst_VideoCapture : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;

    QString in(const QString &name) const { return m_home.filePath(name); }

private Q_SLOTS:
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
        const auto wink = VideoCapture::capture(mediaPath("wink.gif"), in(u"wink.png"_s), 64);
        QVERIFY(wink);
        QCOMPARE(wink->size, QSize(64, 64));
        const auto real = VideoCapture::capture(QStringLiteral(FUZZ "video/seeds/rv10.rm"),
                                                in(u"real.png"_s), 64);
        QVERIFY(real);
        QCOMPARE(real->size, QSize(64, 48));
    }

    // A telephone held upright writes its pictures lying, and a matrix that turns them.
    void turnedVideos()
    {
        QByteArray video = contents(mediaPath("sunrise.mp4"));
        const qsizetype header = video.indexOf("tkhd");
        const QByteArray asItIs = QByteArray::fromHex("00010000 00000000 00000000"
                                                      "00000000 00010000 00000000 00000000");
        const QByteArray turned = QByteArray::fromHex("00000000 00010000 00000000"
                                                      "ffff0000 00000000 00000000 00000000");
        const qsizetype matrix = video.indexOf(asItIs, header);
        QVERIFY(header > 0 && matrix > header && matrix < header + 60);
        video.replace(matrix, turned.size(), turned);
        const QString path = written(in(u"turned.mp4"_s), video);
        const auto frame = VideoCapture::capture(path, in(u"turned.png"_s), 96);
        QVERIFY(frame);
        QCOMPARE(frame->size, QSize(60, 96));
        QCOMPARE(frame->natural, QSize(120, 192));
    }

    // The width in the track's head, which is what a player shows it at, is not that of the pixels.
    void stretchedVideos()
    {
        const QByteArray stored = QByteArray::fromHex("00c00000 00780000");
        const auto capture = [&](const char *shown) {
            QByteArray video = contents(mediaPath("sunrise.mp4"));
            video.replace(video.indexOf(stored), stored.size(), QByteArray::fromHex(shown));
            const QString path = written(in(u"stretched.mp4"_s), video);
            const auto frame = VideoCapture::capture(path, in(u"stretched.png"_s), 96);
            return frame ? QList{frame->size, frame->natural} : QList<QSize>();
        };
        QCOMPARE(capture("01800000 00780000"), (QList{QSize(96, 30), QSize(192, 60)}));
        QCOMPARE(capture("00c00000 00f00000"), (QList{QSize(76, 96), QSize(152, 192)}));
        QCOMPARE(capture("00c00000 00010000"), QList<QSize>());
    }

    void hugeFrames()
    {
        const auto capture = [this](QByteArray video, qsizetype at, quint16 side) {
            side = qToLittleEndian(side);
            for (qsizetype i = at; i < at + 4; i += 2)
                std::memcpy(video.data() + i, &side, sizeof side);
            const QString path = written(in(u"huge"_s), video);
            const auto frame = VideoCapture::capture(path, in(u"huge.png"_s), 96);
            return frame ? frame->size : QSize();
        };
        // Here the container says how large a frame is.
        const QByteArray gif = contents(mediaPath("wink.gif"));
        QCOMPARE(capture(gif, 6, 200), QSize(96, 96));
        QCOMPARE(capture(gif, 6, 6400), QSize());
        // And here it says 64 x 40, whatever the frame itself says, behind its start code.
        const QByteArray webm = contents(QStringLiteral(FUZZ "video/seeds/vp8.webm"));
        const qsizetype size = webm.indexOf("\x9d\x01\x2a") + 3;
        QVERIFY(size > 3);
        QCOMPARE(capture(webm, size, 200), QSize(96, 96));
        QCOMPARE(capture(webm, size, 6400), QSize());
    }

    void whatIsNoVideo()
    {
        const QString image = written(in(u"before.png"_s), "as it was");
        const QByteArray name = mediaPath("sunrise.mp4").toUtf8();
        QStringList paths = notFiles(QDir(m_home.path()));
        for (const char *other : {"notes.txt", "timetable.pdf", "lake.jpg", "receipt.png",
                                  "morning.mp3", "lakeside.m4a", "voice.ogg"})
            paths += mediaPath(other);
        // Text that has FFmpeg open other files.
        paths += written(in(u"list.mp4"_s), "ffconcat version 1.0\nfile '" + name + "'\n");
        paths +=
            written(in(u"list.m3u8"_s),
                    "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n" + name + "\n#EXT-X-ENDLIST\n");
        paths += u"file:"_s + mediaPath("sunrise.mp4");
        paths += u"concat:"_s + mediaPath("sunrise.mp4");
        for (const QString &path : std::as_const(paths)) {
            const LogLines warnings(category);
            QVERIFY2(!VideoCapture::capture(path, image, 96), qPrintable(path));
            QCOMPARE(warnings.count(), 1);
            QCOMPARE(contents(image), QByteArray("as it was"));
        }
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
};

QTEST_GUILESS_MAIN(tst_VideoCapture)
#include "tst_videocapture.moc"
