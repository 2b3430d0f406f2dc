#include "account/threadmanager.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/filedata.h"
#include "content/fileregistry.h"
#include "content/items/locationitem.h"
#include "content/items/musicitem.h"
#include "content/items/outgoingfile.h"
#include "protocol/message_content.pb.h"
#include "settings/appdirmanager.h"
#include "support/fakeaccount.h"
#include "support/mediatree.h"
#include "support/signallog.h"

#include <QDir>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{

/// Removes what was made to be shown, as clearing a cache does. How many files there were.
int clearImages(const FakeAccount &account)
{
    QDir images(account.userCacheDataPath() + u"image"_s);
    const QStringList names = images.entryList(QDir::Files);
    for (const QString &name : names)
        images.remove(name);
    return int(names.size());
}

} // namespace

/// The images that items make from their files, to be shown in their place.
class TestThumbnails : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        AppDirManager::instance()->updateCacheDataDir(m_media.path() + u'/', {});
        ThreadManager::getInstance()->init();
    }
    void cleanupTestCase() { ThreadManager::getInstance()->quitAll(); }

    void coversAreFoundAgain()
    {
        FakeAccount account;
        account.setAccountId(7);
        const auto item = QSharedPointer<MusicItem>::create(1, &account);
        item->setSourceFile(downloaded(u"morning.mp3"_s, u"song"_s));
        const auto look = [](MusicItem &music) {
            music.audioInfo();
            ThreadManager::getInstance()->threadPool()->waitForDone();
            QCoreApplication::processEvents();
        };
        SignalLog first{{item.data()}};
        look(*item);
        QCOMPARE(first.take(), u"titleChanged authorChanged needRecalcSize thumbnailFileChanged"_s);
        const auto cover = item->thumbnailFile();
        QVERIFY(cover && cover->exists());
        QCOMPARE(cover->fileId(), u"Msong"_s);
        const QString path = cover->BaseFile::filePath();
        const QByteArray stored = mapToJson(serializeContent(item));

        // A cover that is there is left alone.
        SignalLog log{{item.data(), cover.data()}};
        look(*item);
        QCOMPARE(log.take(), QString());

        // Messages know nothing of it.
        im::content::Content sent;
        item->serialize(&sent);
        item->setContent(sent);
        QCOMPARE(item->thumbnailFile(), cover);

        QCOMPARE(clearImages(account), 1);
        look(*item);
        QCOMPARE(item->thumbnailFile(), cover);
        QCOMPARE(cover->BaseFile::filePath(), path);
        QVERIFY(cover->fileExist() && QFile::exists(path));

        // Nor does it matter whether the item has been stored meanwhile.
        QCOMPARE(clearImages(account), 1);
        FakeAccount next;
        next.setAccountId(7);
        const auto again =
            makeContentItem(stored.toStdString(), 1, 1, &next).staticCast<MusicItem>();
        QVERIFY(again->thumbnailFile() && !again->thumbnailFile()->exists());
        look(*again);
        QVERIFY(again->thumbnailFile()->exists());

        // The tags are those of the song that it has become.
        again->setTitle(u"Evening"_s);
        again->audioInfo();
        again->setSourceFile(downloaded(u"voice.ogg"_s, u"other"_s));
        ThreadManager::getInstance()->threadPool()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(again->title(), u"Evening"_s);

        // A file of the server that has such an id is no cover of ours.
        BaseFile base(u"Mtheirs"_s);
        base.setAesKey("key");
        const auto theirs = next.fileProvider()->add(QSharedPointer<FileData>::create(&base));
        again->setSourceFile(downloaded(u"morning.mp3"_s, u"theirs"_s));
        again->setThumbnailFile({});
        look(*again);
        QVERIFY(again->thumbnailFile() && again->thumbnailFile() != theirs);

        // Songs without an id share nothing.
        const auto one = QSharedPointer<MusicItem>::create(1, &account);
        const auto other = QSharedPointer<MusicItem>::create(1, &account);
        for (const auto &song : {one, other}) {
            song->setSourceFile(downloaded(u"morning.mp3"_s, {}));
            look(*song);
            QVERIFY(song->thumbnailFile() && song->thumbnailFile()->exists());
        }
        QVERIFY(one->thumbnailFile() != other->thumbnailFile());
    }

    void mapsAreOfThePlace()
    {
        const auto item = QSharedPointer<LocationItem>::create(1, nullptr);
        int asked = 0;
        LocationItem::setMapImageFetcher([&](auto...) { ++asked; });
        item->setCoordinates(8, 47);
        item->fetchMapImage();
        item->setCoordinates(9, 46);
        item->fetchMapImage();
        QCOMPARE(asked, 2);
        QCOMPARE(item->gps(), u"46.000000, 9.000000"_s);
        item->setCoordinates(9, 90.1);
        QCOMPARE(item->gps(), QString());
        item->setCoordinates(9, 46);
        QVERIFY(item->setMapImage(media(u"map.png"_s), 9, 46));
        QVERIFY(!item->setMapImage(media(u"lake.jpg"_s), 8, 47));
        QCOMPARE(item->thumbnailFile()->fileName(), u"map.png"_s);
        im::content::Content sent;
        item->serialize(&sent);
        item->setContent(sent);
        QVERIFY(item->thumbnailFile());
        sent.mutable_location()->set_latitude(47);
        item->setContent(sent);
        QVERIFY(!item->thumbnailFile());
        QVERIFY(item->setMapImage(media(u"map.png"_s), 9, 47));
        item->setCoordinates(8, 47);
        QVERIFY(!item->thumbnailFile());
        LocationItem::setMapImageFetcher({});
    }

    /// A message says how large the video is, not its thumbnail.
    void largeVideos()
    {
        QFile small(media(u"wink.gif"_s));
        QFile large(m_media.filePath(u"large.gif"_s));
        QVERIFY(small.open(QIODevice::ReadOnly) && large.open(QIODevice::WriteOnly));
        QByteArray bytes = small.readAll();
        qToLittleEndian<quint16>(1280, bytes.data() + 6);
        qToLittleEndian<quint16>(720, bytes.data() + 8);
        large.write(bytes);
        large.close();
        const auto item = makeOutgoingFile(large.fileName(), ContentItem::Video, 1, nullptr);
        QSignalSpy captured(item.data(), &FileItem::thumbnailCaptured);
        QSignalSpy recalc(item.data(), &ContentItem::needRecalcSize);
        QTRY_COMPARE(captured.size(), 1);
        QCOMPARE(recalc.size(), 1);
        QCOMPARE(item->property("thumbW"), 640);
        QCOMPARE(item->property("w"), 1280);
        QCOMPARE(item->property("h"), 720);
    }

    /// The server gives an upload its id; what is made of another file is of no use.
    void filesMayBeReplaced()
    {
        const auto item = makeOutgoingFile(QUrl::fromLocalFile(media(u"sunrise.mp4"_s)).toString(),
                                           ContentItem::Video, 1, nullptr);
        QSignalSpy captured(item.data(), &FileItem::thumbnailCaptured);
        QTRY_COMPARE(captured.size(), 1);
        QVERIFY(item->property("duration").toInt() >= 2);
        const QString path = item->sourceFile()->BaseFile::filePath();
        QVERIFY(!path.isEmpty() && item->sourceFile()->aesKey().size() == 32);
        im::content::Content sent;
        item->serialize(&sent);
        sent.mutable_video()->mutable_video_file()->set_id("v1");
        item->setContent(sent);
        QCOMPARE(item->sourceFile()->fileId(), u"v1"_s);
        QCOMPARE(item->sourceFile()->BaseFile::filePath(), path);

        item->setThumbnailFile({});
        item->captureThumbnail();
        item->setSourceFile(downloaded(u"lake.jpg"_s, u"p1"_s));
        QTRY_COMPARE(captured.size(), 2);
        QVERIFY(!captured.last().at(0).toBool() && !item->thumbnailFile());

        // A picture that a program may animate is none; nor is what only calls itself a video.
        const QString drawing = m_media.filePath(u"drawing.mp4"_s);
        MediaTree::write(drawing, "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
        for (const QString &other : {drawing, media(u"notes.txt"_s), media(u"lake.jpg"_s)})
            QVERIFY2(!makeOutgoingFile(other, ContentItem::Video, 1, nullptr), qPrintable(other));

        const auto song = makeOutgoingFile(media(u"morning.mp3"_s), ContentItem::Music, 1, nullptr);
        QCOMPARE(song->property("title"), u"Утро у озера — 湖の朝"_s);
        QVERIFY(song->property("duration").toInt() >= 3);
    }

    /// The pool is closed before it comes to the work.
    void theEndIsToldOfWorkThatIsDropped()
    {
        ThreadManager *threads = ThreadManager::getInstance();
        QSemaphore busy;
        threads->threadPool()->setMaxThreadCount(1);
        ThreadManager::run([&busy] { busy.acquire(); }, true);
        const auto item = makeOutgoingFile(media(u"lake.jpg"_s), ContentItem::Image, 1, nullptr);
        QSignalSpy captured(item.data(), &FileItem::thumbnailCaptured);
        QTimer::singleShot(0, [&busy] { busy.release(); });
        threads->quitAll();
        threads->init();
        QTRY_COMPARE(captured.size(), 1);
        QVERIFY(!captured.takeFirst().at(0).toBool());
        item->captureThumbnail();
        QTRY_COMPARE(captured.size(), 1);
        QVERIFY(captured.takeFirst().at(0).toBool());
    }

    void theEndIsTold_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<ContentItem::Type>("type");
        QTest::addColumn<bool>("isSent");
        const std::pair<QString, ContentItem::Type> files[] = {
            {u"lake.jpg"_s, ContentItem::Image},
            {u"sunrise.mp4"_s, ContentItem::Video},
            {u"morning.mp3"_s, ContentItem::Music},
            {u"receipt.png"_s, ContentItem::File},
        };
        for (const auto &[file, type] : files) {
            for (const bool isSent : {true, false})
                QTest::addRow("%s, %d", qPrintable(file), isSent) << file << type << isSent;
        }
    }
    /// True is said of an image that is there, whatever happens while it is made and afterwards.
    void theEndIsTold()
    {
        QFETCH(QString, file);
        QFETCH(ContentItem::Type, type);
        QFETCH(bool, isSent);
        FakeAccount account;
        account.setAccountId(8);
        clearImages(account);

        const auto item = makeOutgoingFile(media(file), type, 1, &account);
        QVERIFY(item);
        if (!isSent)
            item->sourceFile()->setFileState(BaseFile::Downloaded);
        QSignalSpy captured(item.data(), &FileItem::thumbnailCaptured);
        const auto last = [&captured] { return captured.takeLast().at(0).toBool(); };

        // The image is lost before the item hears of it.
        ThreadManager::getInstance()->threadPool()->waitForDone();
        QCOMPARE(clearImages(account), 1);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"no file that can be read"_s));
        QTRY_COMPARE(captured.size(), 1);
        QVERIFY(!last());
        QVERIFY(!item->thumbnailFile());
        QVERIFY(item->thumbNail().isEmpty());

        item->captureThumbnail();
        QTRY_COMPARE(captured.size(), 1);
        QVERIFY(last());
        QVERIFY(item->thumbnailFile()->exists());
        QCOMPARE(item->hasThumbBytes(), isSent);

        // It is made once; once more when it was made to be shown here and is lost. What is to be
        // sent stays what it was.
        item->captureThumbnail();
        QVERIFY(!last());
        QCOMPARE(clearImages(account), 1);
        item->captureThumbnail();
        QTRY_COMPARE(captured.size(), 1);
        QCOMPARE(last(), !isSent);
        QCOMPARE(item->thumbnailFile()->exists(), !isSent);
    }

private:
    QTemporaryDir m_media; // where the accounts have their media

    QString media(const QString &name) const { return QStringLiteral(MEDIA) + name; }

    /// The record of a file that was received and lies on this device.
    QSharedPointer<FileData> downloaded(const QString &name, const QString &id) const
    {
        BaseFile base(id);
        base.setFilePath(media(name));
        base.setFileState(BaseFile::Downloaded);
        return QSharedPointer<FileData>::create(&base);
    }
};

QTEST_MAIN(TestThumbnails)
#include "tst_thumbnails.moc"
