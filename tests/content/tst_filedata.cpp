#include "content/filedata.h"
#include "content/fileregistry.h"
#include "content/innerfiledata.h"
#include "content/photodata.h"
#include "content/stickerdata.h"
#include "protocol/common_data.pb.h"
#include "support/contents.h"
#include "support/everyfield.h"
#include "support/facts.h"
#include "support/mediatree.h"
#include "support/signallog.h"

#include <QJSEngine>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>
#include <thread>

using namespace Qt::StringLiterals;

using ParseType = FileData::ParseType;

namespace
{

template <typename Record>
Record filled(quint32 seed)
{
    Record record;
    EveryField(seed).fill(&record);
    return record;
}

template <typename Record, typename Data>
std::string sent(const Data &data)
{
    Record record;
    data.serialize(&record);
    return record.SerializeAsString();
}

QVariantMap throughJson(const QVariantMap &map)
{
    return jsonToMap(mapToJson(map));
}

QVariantMap stored(const FileData &file, ParseType type)
{
    QVariantMap map;
    file.serialize(map, type == ParseType::Thumbnail);
    return map;
}

QString nameOf(const QVariantMap &map)
{
    return FileData(map, ParseType::Source).fileName();
}

/// Puts another file into the place of one, with other times.
void replace(const QString &path, const QByteArray &content)
{
    QVERIFY(QFile::remove(path));
    MediaTree::write(path, content);
    MediaTree::touch(path);
}

} // namespace

class TestFileData : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_path;
    QString m_cached;

private Q_SLOTS:
    void init()
    {
        m_path = m_dir.filePath(u"source.bin"_s);
        m_cached = m_dir.filePath(u"cached.bin"_s);
        MediaTree::write(m_path, "source");
        MediaTree::write(m_cached, "cached copy");
    }

    void cleanup()
    {
        QFile::remove(m_path);
        QFile::remove(m_cached);
    }

    void nameAndExtension_data()
    {
        const char *columns[] = {"name", "extension", "fileName", "fileExtension"};
        for (const char *column : columns)
            QTest::addColumn<QString>(column);
        for (const QString &line : facts(u"file_names.txt"_s)) {
            QTestData &row = QTest::newRow(line.toUtf8().toPercentEncoding(" ").constData());
            for (int i = 0; i < int(std::size(columns)); ++i)
                row << line.section(u'\t', i, i);
        }
    }
    void nameAndExtension()
    {
        QFETCH(QString, name);
        QFETCH(QString, extension);
        const QVariantMap map{{u"fileName"_s, name}, {u"fileExtension"_s, extension}};
        FileData file(map, ParseType::Source);
        QTEST(file.fileName(), "fileName");
        QTEST(file.fileExtension(), "fileExtension");
        QCOMPARE(file.suffix(), file.fileExtension().toLower());

        // What is stored is the name that came out.
        QCOMPARE(nameOf(file.serialize()), file.fileName());
        // What is told to others is what was told.
        if (extension.isEmpty())
            QCOMPARE(file.sentName(), name);
        // An update with the extension alone does the same to the name that is held.
        FileData later(QVariantMap{{u"fileName"_s, name}}, ParseType::Source);
        later.update({{u"fileExtension"_s, extension}});
        QTEST(later.fileName(), "fileName");
    }

    void newNameForgetsTheOldExtension()
    {
        FileData file(QVariantMap{{u"fileName"_s, u"notapdf"_s}, {u"fileExtension"_s, u"pdf"_s}},
                      ParseType::Source);
        SignalLog log({&file});
        file.setFileName(u"../a.PDF"_s);
        QCOMPARE(log.take(), u"fileNameChanged fileExtensionChanged"_s);
        QCOMPARE(file.fileExtension(), u"PDF"_s);
        QCOMPARE(file.fileName(), u"../a.PDF"_s);
        QCOMPARE(file.diskName(), u".._a.PDF"_s);
        file.setFileName(u"b.PDF"_s);
        QCOMPARE(log.take(), u"fileNameChanged"_s);
        file.setFileName(u"b.PDF"_s);
        QCOMPARE(log.take(), QString());
    }

    void recordsRoundTrip()
    {
        for (quint32 seed = 0; seed < 50; ++seed) {
            const auto content = filled<im::content::FileInfo>(seed);
            const auto service = filled<im::FileInfo>(seed);
            const auto sticker = filled<im::AnimatedSticker>(seed);
            const auto photo = filled<im::Photo>(seed);
            const FileData file(content);
            const PhotoData stillIt(throughJson(PhotoData(photo).serialize()));
            QCOMPARE(sent<im::content::FileInfo>(file), content.SerializeAsString());
            QCOMPARE(sent<im::FileInfo>(FileData(service)), service.SerializeAsString());
            QCOMPARE(sent<im::AnimatedSticker>(StickerData(sticker)), sticker.SerializeAsString());
            QCOMPARE(sent<im::Photo>(PhotoData(photo)), photo.SerializeAsString());
            QCOMPARE(sent<im::Photo>(stillIt), photo.SerializeAsString());

            // What both records say goes through the stored form, too, and differs from one's.
            FileData both(content);
            both.update(service);
            for (const ParseType type : {ParseType::Source, ParseType::Thumbnail}) {
                const FileData same(throughJson(stored(both, type)), type);
                QVERIFY(same.isSameRecord(both) && !same.isSameRecord(file));
            }
            // A record that says nothing changes nothing.
            both.update(im::content::FileInfo());
            both.update(im::FileInfo());
            both.update(QVariantMap());
            QCOMPARE(sent<im::FileInfo>(both), service.SerializeAsString());
        }
    }

    void storedKeys()
    {
        for (const QString &line : facts(u"file_records.txt"_s)) {
            const QVariantMap map = jsonToMap(line.section(u'\t', 0, 0).toUtf8());
            const FileData file(map, ParseType::Source);
            const QVariantMap thumbnail = stored(file, ParseType::Thumbnail);
            QCOMPARE(QString::fromUtf8(mapToJson(stored(file, ParseType::Source)) + '\t'
                                       + mapToJson(thumbnail)),
                     line);
            // A map holds both; each record reads its own.
            QVariantMap both = thumbnail;
            both.insert(u"fileId"_s, u"f2"_s);
            const FileData source(both, ParseType::Source);
            QCOMPARE(source.fileId() + source.fileName(), u"f2"_s);
            QCOMPARE(stored(FileData(both, ParseType::Thumbnail), ParseType::Thumbnail), thumbnail);
        }

        // The base gives what the map is silent about, but not another identity.
        BaseFile base(u"old"_s, 2);
        base.setAesKey("old");
        base.setSize(7);
        base.setFileState(BaseFile::Local);
        const FileData onBase(QVariantMap(), ParseType::Source, &base);
        QCOMPARE(onBase.fileId() + QString::fromUtf8(onBase.aesKey()), QString());
        QCOMPARE(onBase.size(), 0);
        QCOMPARE(onBase.fileType(), 2);
        QCOMPARE(onBase.fileState(), BaseFile::Local);
    }

    void parsedPaths()
    {
        const auto parsed = [](const QString &path, const QString &name = {}) {
            return std::make_unique<FileData>(
                QVariantMap{{u"filePath"_s, path}, {u"fileName"_s, name}, {u"size"_s, 4711}},
                ParseType::Source);
        };
        const auto file = parsed(m_path);
        const QFileInfo onDisk(m_path);
        QVERIFY(file->fileExist());
        QCOMPARE(file->filePath(), m_path);
        QCOMPARE(file->fileName(), u"source.bin"_s);
        QCOMPARE(file->fileState(), BaseFile::Downloaded);
        QCOMPARE(file->lastModified(), onDisk.lastModified().toMSecsSinceEpoch());
        if (onDisk.birthTime().isValid())
            QCOMPARE(file->createTime(), onDisk.birthTime().toMSecsSinceEpoch());
        QCOMPARE(parsed(m_path, u"Ü.pdf"_s)->fileName(), u"Ü.pdf"_s);
        QCOMPARE(file->filePath(true, true), QUrl::fromLocalFile(m_path).toString());

        const QString loop = m_dir.filePath(u"loop"_s);
        const QString link = m_dir.filePath(u"link"_s); // which is as good as the file
        const QString empty = m_dir.filePath(u"empty"_s);
        QVERIFY(QFile::link(loop, loop) && QFile::link(m_cached, link));
        MediaTree::write(empty, {});
        for (const auto &[path, size] : {std::pair(m_path, 6),
                                         {link, 11},
                                         {empty, 0},
                                         {m_dir.path(), 4711},
                                         {loop, -1},
                                         {m_path + u'x', -1},
                                         {m_path + u"/x"_s, -1},
                                         {QString(), -1}}) {
            const auto each = parsed(path);
            const bool isThere = size >= 0;
            QVERIFY2(each->fileExist() == isThere, qPrintable(path));
            QCOMPARE(each->filePath(), isThere ? path : QString());
            QCOMPARE(each->size(), isThere ? size : 4711);
            QCOMPARE(each->fileState(), isThere ? BaseFile::Downloaded : BaseFile::NotDownloaded);
        }
        QCOMPARE(parsed(m_dir.path())->fileSize(), 0);

        // A file about to be sent.
        BaseFile base;
        base.setFilePath(m_cached);
        FileData own(&base);
        QCOMPARE(own.fileName(), u"cached.bin"_s);
        QCOMPARE(own.size(), 11);
        QVERIFY(own.exists());
    }

    void recordedFile()
    {
        FileData file(QVariantMap{{u"filePath"_s, m_path}}, ParseType::Source);
        SignalLog log({&file});
        QVERIFY(file.exists());
        QCOMPARE(log.take(), QString());

        // Times kept in seconds match, for each of both; a missing one is recorded anew, with the
        // other; and another time is another file.
        const qint64 created = file.createTime();
        const qint64 modified = file.lastModified();
        for (const auto &[c, m, isSame] : {std::tuple(created / 1000, modified / 1000, true),
                                           {created / 1000, modified, true},
                                           {created, modified / 1000, true},
                                           {created, 0, true},
                                           {-1, modified - 1, true},
                                           {created, modified + 1, false},
                                           {created, modified - 1000, false},
                                           {created + 1, modified, false},
                                           {created, modified / 1000 + 1, false}}) {
            FileData other(&file);
            other.setFileTimes(c, m);
            QCOMPARE(other.exists(), isSame);
            if (c <= 0 || m <= 0)
                QCOMPARE(std::pair(other.createTime(), other.lastModified()),
                         std::pair(created, modified));
        }
        QVERIFY(file.exists());
        replace(m_path, "forged");
        QVERIFY(!file.exists());
        QCOMPARE(log.take(), u"filePathChanged fileExistChanged fileStateChanged"_s);
        QCOMPARE(file.filePath(), QString());
        QCOMPARE(file.fileState(), BaseFile::Missing);
        QVERIFY(!file.exists());
        QCOMPARE(log.take(), QString());
    }

    /// The copy in a cache stands in for a file that has gone. Without one, no file is shown as if
    /// it were here, also when it goes while nobody runs.
    void lostFiles()
    {
        for (int i = 0; i < 4 * (BaseFile::UploadPaused + 1); ++i) {
            init();
            const int state = i / 4;
            const bool hasCopy = i % 2;
            const auto type = i % 4 < 2 ? ParseType::Source : ParseType::Thumbnail;
            FileData file(filled<im::content::FileInfo>(1));
            file.updateFilePath(m_path, false, true);
            file.setFileState(BaseFile::FileState(state));
            file.setCacheFilePath(hasCopy ? m_cached : QString());
            const QVariantMap map = throughJson(stored(file, type));
            QVERIFY(FileData(map, type).fileExist());
            QVERIFY(file.exists());
            QCOMPARE(file.filePath(), m_path);
            QVERIFY(QFile::remove(m_path));

            FileData restored(map, type);
            FileData onBase(map, type, &file);
            FileData ofBase(static_cast<const BaseFile *>(&file));
            FileData updated(&file);
            updated.update(map, type);
            QVERIFY(file.exists() == hasCopy);
            const bool wasHere = state == BaseFile::Downloaded || state == BaseFile::Uploaded;
            const bool keeps = QList<int>{0, 1, 2, 9, 11}.contains(state);
            for (FileData *each : {&file, &restored, &onBase, &ofBase, &updated}) {
                if (!hasCopy)
                    QCOMPARE(int(each->fileState()), wasHere ? BaseFile::Missing : state);
                QCOMPARE(each->exists(), hasCopy);
                QCOMPARE(each->fileExist(), hasCopy);
                QCOMPARE(each->BaseFile::filePath(), hasCopy ? m_cached : QString());
                QCOMPARE(each->cacheFilePath(), hasCopy ? m_cached : QString());
                if (hasCopy) {
                    QCOMPARE(each->size(), 11);
                    QCOMPARE(int(each->fileState()), keeps ? state : BaseFile::Downloaded);
                }
            }
        }
    }

    void cachedCopyIsChecked()
    {
        FileData file;
        QVERIFY(!file.cacheFileExist());
        file.setCacheFilePath(m_cached);
        QVERIFY(file.cacheFileExist());
        QCOMPARE(file.cacheFileSize(), 11);
        FileData old(&file);
        replace(m_cached, "forged");
        QVERIFY(!file.exists());
        QCOMPARE(file.cacheFileSize(), 0);

        // The same path anew is a look at a new copy; a copy of the record knows the old one.
        file.setCacheFilePath(m_cached);
        QVERIFY(file.cacheFileExist());
        QVERIFY(!old.cacheFileExist());
        const qint64 modified = QFileInfo(m_cached).lastModified().toSecsSinceEpoch();
        const qint64 created = QFileInfo(m_cached).birthTime().toSecsSinceEpoch();
        old.setCacheFileTimes(created > 0 ? created : modified, modified);
        QVERIFY(old.cacheFileExist());
    }

    void updateFilePath()
    {
        FileData file(filled<im::content::FileInfo>(1));
        const QString name = file.fileName();
        SignalLog log({&file});
        file.updateFilePath(m_path, false, false);
        QCOMPARE(log.take(), u"filePathChanged"_s);
        QVERIFY(!file.fileExist());
        file.updateFilePath(m_path, true, true);
        QCOMPARE(log.take(), u"sizeChanged fileExistChanged fileStateChanged"_s);
        QCOMPARE(file.fileState(), BaseFile::Downloaded);
        QCOMPARE(file.fileName(), name);
        // Taken again after a replacement: that is the recorded file now.
        replace(m_path, "new");
        file.updateFilePath(m_path, false, true);
        QVERIFY(file.exists());
        QCOMPARE(file.size(), 3);

        // A second record of the file learns where it is.
        FileData other(filled<im::content::FileInfo>(1));
        QVERIFY(other.updateFile(file));
        QVERIFY(other.exists());
        QCOMPARE(other.fileState(), BaseFile::Downloaded);
        QVERIFY(!other.updateFile(file));
        QVERIFY(!file.updateFile(file));
        QVERIFY(!FileData().updateFile(FileData()));

        // So does one whose file has gone without its knowing.
        QVERIFY(QFile::remove(m_path));
        file.updateFilePath(m_cached, true, true);
        QVERIFY(other.updateFile(file));
        QVERIFY(other.exists());
    }

    /// A name that was never sent, and a size that is not that of the sent bytes.
    void whatIsSaidIsNotOfTheCopyHere()
    {
        auto info = fromText<im::content::FileInfo>("id: 'f1' size: 4711");
        FileRegistry files;
        const auto file = files.add(QSharedPointer<FileData>::create(info));
        file->updateFilePath(m_path, true, true);
        file->setCacheFilePath(m_cached);
        const auto check = [&](const FileData &same, qint64 size) {
            QCOMPARE(same.fileName(), u"source.bin"_s);
            QCOMPARE(same.size(), size);
            QCOMPARE(sent<im::content::FileInfo>(same), info.SerializeAsString());
            QVERIFY(file->isSameRecord(same));
        };
        check(FileData(file.data()), 6);
        for (const ParseType type : {ParseType::Source, ParseType::Thumbnail})
            check(FileData(throughJson(stored(*file, type)), type), 6);
        QVERIFY(QFile::remove(m_path));
        QVERIFY(file->exists());
        check(FileData(throughJson(file->serialize()), ParseType::Source), 11);
        QCOMPARE(files.add(QSharedPointer<FileData>::create(info)), file);
        QCOMPARE(files.add(QSharedPointer<FileData>::create(&*file)), file);

        // A later message has the say; and this device has it of what is yet to be sent, and of
        // what no message told.
        info.set_name("b");
        info.set_size(5);
        file->update(info);
        QCOMPARE(sent<im::content::FileInfo>(*file), info.SerializeAsString());
        FileData upload;
        upload.updateFilePath(m_cached, false, true);
        upload.setFileId(u"f1"_s);
        BaseFile base(u"f1"_s);
        base.setFilePath(m_cached);
        info.set_name("cached.bin");
        info.set_size(11);
        QCOMPARE(sent<im::content::FileInfo>(upload), info.SerializeAsString());
        QCOMPARE(sent<im::content::FileInfo>(FileData(&base)), info.SerializeAsString());
        const QVariantMap old{{u"thumbnailId"_s, u"f1"_s}, {u"thumbPath"_s, m_cached}};
        QCOMPARE(FileData(old, ParseType::Thumbnail).sentSize(), 11);
    }

    void handlersMayAskFromAnotherThread()
    {
        FileData file(QVariantMap{{u"filePath"_s, m_path}}, ParseType::Source);
        QVERIFY(QFile::remove(m_path));
        int states = 0;
        const auto ask = [&] { std::thread([&] { states += file.fileState(); }).join(); };
        connect(&file, &BaseFile::fileExistChanged, this, ask);
        connect(&file, &BaseFile::filePathChanged, this, ask);
        QVERIFY(!file.exists());
        QCOMPARE(states, 2 * BaseFile::Missing);
    }

    void progress()
    {
        FileData file;
        SignalLog log({&file});
        QCOMPARE(file.progress(), u"0 B"_s);
        for (const QString &line : facts(u"transfers.txt"_s)) {
            const QStringList parts = line.split(u'\t');
            file.updateTransferProgress(parts.at(0).toDouble(), parts.at(1).toDouble());
            QCOMPARE(u"%1 %2"_s.arg(file.progress()).arg(file.percent()), parts.at(2));
            QCOMPARE(log.take(), parts.at(3));
        }
        file.addDownloadedRange(0, 1024);
        log.take();
        file.resetTransferProgerss();
        QCOMPARE(log.take(), u"progressChanged downloadedRangeChanged"_s);
        file.resetTransferProgerss();
        QCOMPARE(log.take(), QString());
        QCOMPARE(file.progress(), u"0 B"_s);
    }

    void downloadedRanges()
    {
        FileData file;
        const auto ranges = [&] {
            QStringList texts;
            for (const QVariant &range : file.downloadedRange()) {
                texts += u"%1-%2"_s.arg(range.toMap().value(u"from"_s).toLongLong())
                             .arg(range.toMap().value(u"to"_s).toLongLong());
            }
            return texts.join(u' ');
        };
        SignalLog log({&file});
        for (const QString &line : facts(u"ranges.txt"_s)) {
            const QStringList parts = line.split(u'\t');
            file.addDownloadedRange(parts.at(0).toLongLong(), parts.at(1).toLongLong());
            QCOMPARE(ranges(), parts.at(2));
            QCOMPARE(log.take(), parts.at(3));
        }
        file.setDownloadedRange({5, u"x"_s, QVariantMap{{u"from"_s, 3}, {u"to"_s, 4}},
                                 QVariantMap{{u"from"_s, 1.0}, {u"to"_s, u"3"_s}}});
        QCOMPARE(ranges(), u"1-4"_s);
    }

    void endOfLife()
    {
        auto *file = new FileData(filled<im::content::FileInfo>(1));
        QString lastId;
        connect(file, &FileData::startDestroy, this, [&] { lastId = file->fileId(); });
        const QString id = file->fileId();
        delete file;
        QCOMPARE(lastId, id);

        FileData record;
        QCOMPARE(QJSEngine::objectOwnership(record.forQml()), QJSEngine::CppOwnership);
        PhotoData photo{QVariantMap()};
        QCOMPARE(QJSEngine::objectOwnership(&photo), QJSEngine::CppOwnership);
    }

    void photos()
    {
        // About to be uploaded, by path and by URL.
        const PhotoData upload(QUrl::fromLocalFile(m_path).toString());
        QCOMPARE(upload.filePath(), m_path);
        QCOMPARE(upload.aesKey().size(), 32);
        QVERIFY(PhotoData(m_path).aesKey() != upload.aesKey());
        QCOMPARE(upload.fileState(), BaseFile::WaitingForUpload);
        QVERIFY(upload.fileExist());
        QCOMPARE(upload.size(), 6);

        const PhotoData map({{u"aesKey"_s, u"AP8="_s},
                             {u"photoId"_s, u"p1"_s},
                             {u"photoPath"_s, QUrl::fromLocalFile(m_path).toString()}});
        QCOMPARE(map.filePath(), m_path);
        const PhotoData onBase(QVariantMap{{u"cachePath"_s, m_cached}}, &map);
        QCOMPARE(onBase.fileId() + QString::fromLatin1(onBase.aesKey()), QString());
        QCOMPARE(onBase.filePath() + onBase.cacheFilePath(), m_path + m_cached);
        const QVariantMap again = map.serialize();
        QCOMPARE(again.value(u"fileExist"_s), true);
        QCOMPARE(again.value(u"percent"_s), 0);
        QCOMPARE(again.value(u"fileName"_s), u"p1.png"_s);
        QCOMPARE(PhotoData(throughJson(again)).serialize(), again);

        // A waiting one has no id to make a name with, and some have no type that makes the
        // extension.
        const std::tuple<QString, QString, QString> names[] = {
            {u"Me.JPG"_s, u"../p.JPG"_s, u".._p.JPG"_s},
            {u"me.image/jpeg"_s, u"../p.png"_s, u".._p.png"_s},
            {u"me"_s, u"../p.png"_s, u".._p.png"_s},
            {u".png"_s, u"../p.png"_s, u".._p.png"_s}};
        for (const auto &[name, fileName, diskName] : names) {
            const QString path = m_dir.filePath(name);
            MediaTree::write(path, "photo");
            auto photo = fromText<im::Photo>("file_id: '../p'");
            photo.set_type(name.section(u'.', 1).toStdString());
            auto info = fromText<im::content::FileInfo>("id: '../p'");
            info.set_name(name.toStdString());
            const PhotoData waiting(path);
            const PhotoData received(photo);
            const PhotoData named(info);
            for (const PhotoData *each : {&waiting, &received, &named}) {
                const PhotoData same(throughJson(each->serialize()));
                QCOMPARE(sent<im::Photo>(same), sent<im::Photo>(*each));
                QCOMPARE(same.fileName(), each->fileName());
                QCOMPARE(same.fileExtension(), each->fileExtension());
            }
            QCOMPARE(received.fileName(), fileName);
            QCOMPARE(received.diskName(), diskName);
        }

        // Sizes beyond what the record can say.
        const auto info =
            fromText<im::content::FileInfo>("size: 1099511627776 name: 'me.webp' id: 'p3'");
        im::Photo photo;
        PhotoData(info).serialize(&photo);
        QCOMPARE(PhotoData(info).fileName(), u"p3.webp"_s);
        QCOMPARE(photo.size(), std::numeric_limits<qint32>::max());
    }

    void innerFiles()
    {
        const auto info = fromText<im::content::FileInfo>("name: 'con'");
        const InnerFileData file(info, u"/../a/./C:/ü /"_s);
        QCOMPARE(file.innerPath(), u"/../a/./C:/ü /"_s);
        QCOMPARE(file.innerDiskPath(), u"_/a/_/C_/ü/_con"_s);
        const InnerFileData same(throughJson(file.FileData::serialize()));
        QCOMPARE(same.innerDiskPath(), file.innerDiskPath());
        QCOMPARE(InnerFileData(info, {}).innerDiskPath(), u"_con"_s);
        QCOMPARE(InnerFileData(info, u"a\u202eb/c"_s).innerPath(), u"ab/c"_s);
    }

    void registry()
    {
        FileRegistry files;
        auto info = fromText<im::content::FileInfo>("id: 'f1' name: 'a.pdf'");
        auto first = files.add(QSharedPointer<FileData>::create(info));
        QCOMPARE(files.add(QSharedPointer<FileData>::create(info)), first);
        // Nobody puts words, or keys, into the mouth of another message.
        info.set_key("forged");
        const auto forged = QSharedPointer<FileData>::create(info);
        QCOMPARE(files.add(forged), forged);
        QCOMPARE(files.file(u"f1"_s), first);
        first.reset();
        QVERIFY(!files.file(u"f1"_s));
        QCOMPARE(files.add(forged), forged);
        QCOMPARE(files.file(u"f1"_s), forged);

        QVERIFY(!files.add({}));
        QVERIFY(files.add(QSharedPointer<FileData>::create()));
        QVERIFY(!files.file({}));
        for (int i = 0; i < 10'000; ++i) {
            info.set_id(std::to_string(i));
            files.add(QSharedPointer<FileData>::create(info));
        }
        QVERIFY(files.entryCount() <= 64);
        QCOMPARE(files.file(u"f1"_s), forged);
    }

    void manyThreads()
    {
        const auto record = QSharedPointer<FileData>::create(filled<im::content::FileInfo>(1));
        record->updateFilePath(m_path, true, true);
        record->setCacheFilePath(m_cached);
        FileRegistry files;
        files.add(record);
        const auto work = [&](int seed) {
            for (int i = 0; i < 300; ++i) {
                const auto file = files.file(record->fileId());
                file->exists();
                file->updateTransferProgress(i, 300);
                file->addDownloadedRange(i, i + seed);
                file->addref();
                file->setFileName(QString::number(seed));
                file->updateFilePath(i % 2 ? m_path : m_cached, false, true);
                QVariantMap map = file->serialize();
                file->update(map);
                files.add(QSharedPointer<FileData>::create(map, ParseType::Source));
                file->updateFile(FileData(file.data()));
                file->deref();
            }
        };
        std::vector<std::thread> threads;
        for (int i = 1; i <= 4; ++i)
            threads.emplace_back(work, i);
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(record->useCount(), 0);
        QCOMPARE(record->deref(), 0);
        QVERIFY(record->exists());
        QCOMPARE(record->downloadedRange().size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestFileData)
#include "tst_filedata.moc"
