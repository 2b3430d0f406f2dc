#include "account/threadmanager.h"
#include "content/filedata.h"
#include "content/items/captionitem.h"
#include "content/items/imageitem.h"
#include "content/items/mediagroupitem.h"
#include "content/items/musicitem.h"
#include "content/items/outgoingfile.h"
#include "protocol/message_content.pb.h"
#include "settings/appdirmanager.h"
#include "support/contents.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

using namespace Qt::StringLiterals;

namespace
{

/// Has something done to an object, anew for each of the signals that this fires, and lets go of
/// the object at that signal. Returns how many there were.
template <typename Object, typename Make, typename Do>
qsizetype letGoAtEach(Make make, Do act)
{
    for (qsizetype kept = 0;; ++kept) {
        QSharedPointer<Object> object = make();
        QObjectList heard{object.data()};
        if constexpr (requires { object->caption(); })
            heard += object->caption().data();
        if constexpr (requires { object->sourceFile(); })
            heard += object->sourceFile().data();
        SignalLog log(heard);
        log.atEach = [&] {
            if (log.names().size() > kept)
                object.reset();
        };
        act(object.data());
        ThreadManager::getInstance()->threadPool()->waitForDone();
        QCoreApplication::processEvents();
        if (object)
            return kept;
    }
}

} // namespace

/// Slots that delete the object whose signals they receive: what follows then neither fires nor
/// touches it. Updates of every kind are in tst_roundtrip.
class TestDeletingSlots : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        AppDirManager::instance()->updateCacheDataDir(m_media.path() + u'/', {});
        ThreadManager::getInstance()->init();
        m_account.setAccountId(7);
    }
    void cleanupTestCase() { ThreadManager::getInstance()->quitAll(); }

    void groups()
    {
        const auto picture = [](const QString &text) {
            const auto item = QSharedPointer<ImageItem>::create(1, nullptr);
            item->setContent(text, {});
            return item;
        };
        const auto make = [&] {
            const auto group = QSharedPointer<MediaGroupItem>::create(1, nullptr);
            group->setMembers({picture(u"old"_s)});
            return group;
        };
        const qsizetype count = letGoAtEach<MediaGroupItem>(
            make, [&](MediaGroupItem *group) { group->setMembers({picture(u"new"_s)}); });
        QCOMPARE(count, 4);
        QCOMPARE(letGoAtEach<MediaGroupItem>(make,
                                             [](MediaGroupItem *group) {
                                                 const auto member = group->members().first();
                                                 member->setContent(u"new"_s, {});
                                             }),
                 2);

        // Its caption's signals find the group as it will be; a change that their slot makes is
        // one of its own.
        const auto group = make();
        const auto other = picture(u"other"_s);
        QStringList found;
        connect(group->caption().data(), &ContentItem::contentChanged, group.data(), [&] {
            found += group->caption()->content();
            found += QString::number(group->members().contains(other));
            SignalLog own({group.data()});
            group->setEmojiCount(7);
            found += own.take();
        });
        SignalLog all({group.data()});
        group->setMembers({other});
        QCOMPARE(all.names().count(u"emojiCountChanged"_s), 1);
        QCOMPARE(found, QStringList({u"other"_s, u"1"_s, u"emojiCountChanged"_s}));
    }

    /// The end of a member's record changes another member, whose group is ending, too.
    void endOfAGroup()
    {
        const auto last = QSharedPointer<ImageItem>::create(1, nullptr);
        auto first = QSharedPointer<ImageItem>::create(1, nullptr);
        first->setSourceFile(QSharedPointer<FileData>::create());
        connect(first->sourceFile().data(), &FileData::startDestroy, last.data(),
                [&] { last->setContent(u"late"_s, {}); });
        auto group = QSharedPointer<MediaGroupItem>::create(1, nullptr);
        group->setMembers({last, std::exchange(first, {})});
        group.reset();
        QCOMPARE(last->content(), u"late"_s);
    }

    void thumbnails()
    {
        const auto make = [&] {
            const auto item =
                makeOutgoingFile(media(u"lake.jpg"_s), ContentItem::Image, 1, &m_account);
            ThreadManager::getInstance()->threadPool()->waitForDone();
            QCoreApplication::processEvents();
            item->setThumbnailFile({});
            return item;
        };
        QVERIFY(letGoAtEach<FileItem>(make, [](FileItem *item) { item->captureThumbnail(); }) > 1);
    }

    void songs()
    {
        const auto make = [&] {
            BaseFile base(u"song"_s);
            base.setFilePath(media(u"morning.mp3"_s));
            base.setFileState(BaseFile::Downloaded);
            const auto item = QSharedPointer<MusicItem>::create(1, &m_account);
            item->setSourceFile(QSharedPointer<FileData>::create(&base));
            return item;
        };
        QVERIFY(letGoAtEach<MusicItem>(make, [](MusicItem *item) { item->audioInfo(); }) > 2);
    }

    void files()
    {
        const auto make = [] { return QSharedPointer<FileData>::create(); };
        const qsizetype count = letGoAtEach<FileData>(make, [](FileData *file) {
            im::content::FileInfo info;
            info.set_id("other");
            info.set_name("other.png");
            info.set_size(9);
            file->update(info);
        });
        QVERIFY(count > 3);

        // A record of an item that learns where its file is, in the midst of the item's change.
        const auto item = [&](BaseFile::FileState state) {
            BaseFile base(u"same"_s);
            if (state == BaseFile::Downloaded)
                base.setFilePath(media(u"lake.jpg"_s));
            base.setFileState(state);
            const auto file = QSharedPointer<FileItem>::create(1, nullptr);
            file->setSourceFile(QSharedPointer<FileData>::create(&base));
            return file;
        };
        const QVariantMap stored = storedMap(*item(BaseFile::Downloaded));
        QVERIFY(letGoAtEach<FileItem>([&] { return item(BaseFile::NotDownloaded); },
                                      [&](FileItem *file) { file->deserialize(stored); })
                > 2);
    }

private:
    static QString media(const QString &name) { return QStringLiteral(MEDIA) + name; }

    QTemporaryDir m_media;
    FakeAccount m_account;
};

QTEST_MAIN(TestDeletingSlots)
#include "tst_deletingslots.moc"
