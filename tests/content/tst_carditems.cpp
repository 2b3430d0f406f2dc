#include "account/accountmanager.h"
#include "content/contactbase.h"
#include "content/items/callitem.h"
#include "content/items/carditem.h"
#include "content/items/meetingitem.h"
#include "content/items/stickeritem.h"
#include "content/items/systemitem.h"
#include "content/photodata.h"
#include "content/sharedstickers.h"
#include "content/stickerdata.h"
#include "imcrypto/store.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "storage/keystorage.h"
#include "storage/userstorageprovider.h"
#include "support/contents.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/files.h"
#include "support/signallog.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

using Alert = im::content::SystemAlert;
using Body = im::content::Content;
using Map = QMap<QString, QVariant>;

namespace
{

constexpr int myId = 7;

class Contact : public ContactBase
{
public:
    explicit Contact(const QString &name) : m_name(name) { }
    QString name() const override { return m_name; }
    void rename(const QString &name)
    {
        m_name = name;
        Q_EMIT nameChanged();
    }

private:
    QString m_name;
};

const std::string byAnna = R"( operator { user_id: 1 name: "Anna" } )";
const std::string kicked = R"(type: MEMBER_KICKED targets { user_id: 2 name: "Ben" } )";
const std::string ofAll = R"( targets { user_id: 2 name: "Ben" } name: "Lake" time: 3600
    message_id: 5 dismiss_at: 1700000000000 dialog_flags: 1 wall_paper { wallpaper_id: "w" }
    message_limit { length: 10 } origin_topic { name: "Food" } current_topic { name: "Bread" })";

QString textOf(const Alert &alert, AccountBase *account = nullptr)
{
    SystemItem item(1, account);
    item.setInfo(alert);
    return item.text();
}

Body stickerBody(const std::string &fileId = "f1")
{
    return fromText<Body>("sticker { shortcut: '👋' hint: 'waving' width: 512 height: 256 pid: 3 "
                          "sticker_file { key: '0123456789abcdef0123456789abcdef' size: 4000 id: '"
                          + fileId + "' } }");
}

} // namespace

class TestCardItems : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAlertHasASentence()
    {
        FakeAccount account;
        account.setAccountId(myId);
        const Alert full = fromText<Alert>(byAnna + ofAll);
        const Alert own = fromText<Alert>("operator { user_id: 7 }" + ofAll);
        QSet<QString> sentences;
        const auto *types = Alert::Type_descriptor();
        for (int i = 0; i < types->value_count(); ++i) {
            const auto type = Alert::Type(types->value(i)->number());
            const char *name = types->value(i)->name().c_str();
            for (Alert alert : {Alert(), own, full}) {
                alert.set_type(type);
                const QString text = textOf(alert, &account);
                QVERIFY2(!text.isEmpty() && !text.contains(u'%') && !text.contains(u'_')
                             && !text.contains(u"  "_s) && !text.contains(u"“”"_s),
                         name);
                if (alert.operator_().name().empty())
                    continue;
                QVERIFY2(SystemItem::checkSystemAlert(alert) == (type != Alert::UNKNOWN), name);
                sentences.insert(text);
            }
        }
        QCOMPARE(sentences.size(), types->value_count());
        // Of a newer protocol.
        for (int type : {8, 35, 4000, -1, INT_MAX}) {
            Alert alert = full;
            alert.set_type(Alert::Type(type));
            QCOMPARE(textOf(alert), textOf(full));
        }
    }

    void sentences()
    {
        FakeAccount account;
        account.setAccountId(myId);
        for (const QString &line : facts(u"alerts.txt"_s)) {
            const Alert alert = fromText<Alert>(line.section(u'\t', 1).toStdString());
            QCOMPARE(textOf(alert, &account), line.section(u'\t', 0, 0));
        }
    }

    void incompleteAlerts()
    {
        for (const auto &[alert, isComplete] : {std::pair(kicked, false),
                                                {kicked + byAnna, true},
                                                {"type: MEMBER_KICKED" + byAnna, false},
                                                {"type: NAME_EDITED" + byAnna, false},
                                                {"type: TOPIC_UPDATED" + byAnna, false},
                                                {"type: RECEIPT_COMPLETE", true}})
            QVERIFY2(SystemItem::checkSystemAlert(fromText<Alert>(alert)) == isComplete,
                     alert.c_str());
    }

    void namesOfTheOwner()
    {
        SystemItem item(1, nullptr);
        item.setInfo(fromText<Alert>(kicked + byAnna + R"(targets { user_id: 3 name: "Chloé" })"));
        Contact anna(u"Mum"_s);
        auto ben = std::make_unique<Contact>(u"Benjamin"_s);
        Contact nameless({});
        QObject plain; // has no name at all
        SignalLog log({&item});
        item.setSender(&anna);
        item.setTargets({ben.get(), &nameless, nullptr, &plain});
        QCOMPARE(item.text(), u"Mum removed Benjamin, Chloé"_s);
        QCOMPARE(item.allTargets(), u"Benjamin"_s);
        QCOMPARE(log.take(),
                 u"senderChanged textChanged needRecalcSize targetsChanged allTargetsChanged "
                 "textChanged needRecalcSize"_s);

        const SystemItem copy(&item);
        for (const auto &change :
             {std::function([&] { ben->rename(u"Benny"_s); }), {[&] { ben.reset(); }}}) {
            change();
            QCOMPARE(log.take(), u"textChanged needRecalcSize allTargetsChanged"_s);
            QCOMPARE(item.allTargets(), ben ? u"Benny"_s : QString());
        }
        QCOMPARE(item.targets(), (QList<QObject *>{nullptr, &nameless, nullptr, &plain}));
        QCOMPARE(item.text(), u"Mum removed Ben, Chloé"_s);
        QCOMPARE(copy.text(), item.text());

        item.setTargets({});
        item.setSender(nullptr);
        log.take();
        anna.rename(u"Mother"_s);
        nameless.rename(u"N"_s);
        QCOMPARE(log.take(), QString());
    }

    void peopleAreLookedUpOnce()
    {
        FakeAccount account;
        account.setAccountId(myId);
        QVERIFY(account.openStorage(true));
        account.setAuthorized(true);
        QVERIFY(account.signalStore()->saveUserKey({5, 1, 1}, QByteArray(32, 'k')));
        SystemItem item(1, &account);
        item.setInfo(fromText<Alert>("type: UPGRADED operator { user_id: 5 }"));
        const QString text = item.text();
        QVERIFY2(text.startsWith(u"You "_s), qPrintable(text));
        QVERIFY(account.storage()->keyStorage()->remove(u"user"_s, u"5.1.1"_s, 1));
        QCOMPARE(item.text(), text);
        // Signed out, it is nobody's sentence, and nothing to complain about.
        account.logout(false);
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        QVERIFY(!item.text().startsWith(u"You "_s));
    }

    void alertsAreUpdated()
    {
        SystemItem item(1, nullptr);
        item.setInfo(fromText<Alert>("type: DISMISS_AT_UPDATED" + byAnna));
        const auto other = QSharedPointer<SystemItem>::create(1, nullptr);
        QVERIFY(!item.update(other)); // it knows less
        QVERIFY(!item.update({}));
        QVERIFY(!item.update(QSharedPointer<CallItem>::create(1, nullptr)));
        Contact anna(u"Mum"_s);
        QObject wallpaper;
        SignalLog log({&item});
        other->setSender(&anna);
        other->setWallpaper(&wallpaper);
        QVERIFY(item.update(other));
        QCOMPARE(log.take(), u"senderChanged textChanged needRecalcSize wallpaperChanged"_s);
        QCOMPARE(item.alertType(), int(Alert::DISMISS_AT_UPDATED));
        QCOMPARE(item.sender(), &anna);
        QCOMPARE(item.wallpaper(), &wallpaper);
        QVERIFY(!item.update(other));
        other->setInfo(fromText<Alert>("type: UPGRADED" + byAnna));
        other->setSender(nullptr);
        QVERIFY(item.update(other));
        QCOMPARE(item.text(), u"Mum upgraded the group"_s);

        const std::string topic = "type: TOPIC_UPDATED" + byAnna;
        item.setInfo(fromText<Alert>(topic + R"(current_topic { name: "Bread" })"));
        item.setTopicUpdateType(SystemItem::TopicClosed);
        QCOMPARE(item.text(), u"Mum closed the topic “Bread”"_s);
        item.setInfo(fromText<Alert>(
            topic + R"(current_topic { name: "Rolls" })")); // which tells of another update
        QCOMPARE(item.topicUpdateType(), int(SystemItem::TopicCreated));
    }

    void olderSystemRecords()
    {
        // The number of the alert was its type.
        const auto numbered = make<SystemItem>({{u"type"_s, int(Alert::UPGRADED)}});
        QVERIFY(numbered);
        QCOMPARE(numbered->alertType(), int(Alert::UPGRADED));
        QCOMPARE(numbered->text(), u"Someone upgraded the group"_s);
        QVERIFY(!storedMap(*numbered).contains(u"type"_s));
        const auto worded = make<SystemItem>({{u"type"_s, 99}, {u"content"_s, u"old text"_s}});
        QCOMPARE(worded->text(), u"old text"_s);

        // A damaged or missing record leaves an item what it was.
        for (const QVariant &value : {QVariant(u"=no="_s), QVariant(u"/w=="_s)}) {
            numbered->deserialize({{u"alert"_s, value}});
            numbered->deserialize({});
            QCOMPARE(numbered->alertType(), int(Alert::UPGRADED));
        }
    }

    void calls()
    {
        CallItem call(1, nullptr);
        QSet<QString> texts;
        for (const bool outgoing : {false, true}) {
            call.setOutgoing(outgoing);
            for (int state = CallItem::Unknown; state <= CallItem::Busy; ++state) {
                call.setState(state);
                texts.insert(call.text());
                QVERIFY(!call.text().contains(u'_'));
            }
        }
        QCOMPARE(texts.size(), 13); // five are another one for who called; two ways to miss one
        call.setState(4000);
        QCOMPARE(call.text(), u"Call"_s);
        call.setState(CallItem::Finished);
        for (const auto &[seconds, text] : {std::pair(qint64(-5), u"Call 0:00"),
                                            {59, u"Call 0:59"},
                                            {754, u"Call 12:34"},
                                            {3'661, u"Call 1:01:01"},
                                            {LLONG_MAX, u"Call 2562047788015215:30:07"}}) {
            SignalLog log({&call});
            call.setDuration(seconds);
            QCOMPARE(call.text(), QString::fromUtf16(text));
            QCOMPARE(log.take(), u"durationChanged textChanged"_s);
        }
    }

    void cards()
    {
        CardItem card(1, nullptr);
        card.setNick(u"Anna"_s);
        QVERIFY(!card.photo());
        SignalLog log({&card});
        auto user = std::make_unique<Contact>(u"Mum"_s);
        card.setUser(user.get());
        QCOMPARE(card.name(), u"Mum"_s);
        QCOMPARE(CardItem(&card).name(), u"Mum"_s);
        user->rename({});
        QCOMPARE(card.name(), u"Anna"_s);
        user.reset();
        QVERIFY(!card.user());
        QCOMPARE(log.take(), u"userChanged nameChanged nameChanged nameChanged"_s);

        for (const QString &id : {u"p1"_s, u"p2"_s}) {
            card.setPhoto({id, "key", {}, {}});
            QCOMPARE(card.photo()->fileId(), id);
            QCOMPARE(card.photo(), card.photo());
        }
        card.calcSize(300, 0, 0, ContentItem::CONTENT_CHANGED, false);
        QCOMPARE(card.type(), int(ContentItem::Card));
    }

    void stickersInStoredMaps()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"wave.webp"_s);
        QVERIFY(write(path, "RIFF"));
        const auto sticker = QSharedPointer<StickerItem>::create(1, nullptr);
        sticker->setContent(stickerBody());
        for (const QString &key : {u"filePath"_s, u"fileState"_s, u"animateId"_s})
            QVERIFY(!storedMap(*sticker).contains(key));
        sticker->file()->updateFilePath(path, true, true);
        sticker->file()->setFormat(u"webp"_s);
        const Map stored = storedMap(*sticker);

        const auto restored = QSharedPointer<StickerItem>::create(stored, 1, nullptr);
        QVERIFY(restored->file()->exists());
        QCOMPARE(restored->file()->format(), u"webp"_s);
        QCOMPARE(restored->file()->fileState(), BaseFile::Downloaded);
        Body newer = stickerBody();
        newer.mutable_sticker()->mutable_sticker_file()->set_version(2);
        StickerItem updated(stored, 1, nullptr);
        updated.setContent(newer);
        QCOMPARE(updated.file()->filePath(), path);
        // An update with the same file keeps its record, one of another file does not.
        const auto record = restored->file();
        restored->deserialize(stored);
        QCOMPARE(restored->file(), record);
        restored->setContent(stickerBody("f2"));
        QVERIFY(restored->file() != record);

        // What was to be uploaded is here or not, once it has an id.
        StickerItem waiting(&updated);
        waiting.file()->setFileId({}); // which the server gives
        for (StickerItem *item : {&waiting, &updated}) {
            item->file()->setFileState(BaseFile::UploadPaused);
            item->initFileStateWithCloudDriveFile();
        }
        QCOMPARE(waiting.file()->fileState(), BaseFile::UploadPaused);
        QCOMPARE(updated.file()->fileState(), BaseFile::Downloaded);
        QStringList cached;
        updated.getFileIdsByExistCache(cached);
        QCOMPARE(cached, QStringList());
        updated.file()->setCacheFilePath(path);
        updated.getFileIdsByExistCache(cached);
        QCOMPARE(cached, QStringList{u"f1"_s});
        QVERIFY(QFile::remove(path));
        updated.file()->setFileState(BaseFile::UploadFailed);
        updated.initFileStateWithCloudDriveFile();
        QCOMPARE(updated.file()->fileState(), BaseFile::NotDownloaded);
        QVERIFY(!storedMap(updated).contains(u"filePath"_s));
        const StickerItem gone({{u"filePath"_s, path}, {u"thumbPath"_s, path}}, 1, nullptr);
        QVERIFY(!gone.file() && !gone.thumbnail().file);
    }

    void favourites()
    {
        for (const QString &line : facts(u"favourites.txt"_s)) {
            const Map favourite = jsonToMap(line.section(u'\t', 0, 0).toUtf8());
            StickerItem sticker(1, nullptr);
            sticker.setPid(4);
            sticker.deserializeFavorite(favourite);
            QCOMPARE(QString::fromUtf8(mapToJson(storedMap(sticker))), line.section(u'\t', 1));
            SignalLog log({&sticker});
            sticker.deserializeFavorite(favourite);
            QCOMPARE(log.take(), QString());
        }
        StickerItem sticker(1, nullptr);
        sticker.setPid(9);
        // Neither does it decrease by the protocol; a stored map is taken at its word.
        sticker.deserialize(stickerBody().sticker());
        QCOMPARE(sticker.pid(), 9);
        // One form knows nothing of who made it, the other nothing of its thumbnail.
        sticker.setUploadUserId(5);
        sticker.setThumbnail({{}, "a few bytes", 3, 4});
        sticker.deserializeFavorite({{u"upload_user_id"_s, 6}});
        QCOMPARE(sticker.thumbnail().w, 3);
        sticker.deserialize(stickerBody().sticker());
        QCOMPARE(sticker.uploadUserId(), 6);
        sticker.deserialize(Map{{u"pid"_s, 2}});
        QCOMPARE(sticker.pid(), 2);
    }

    void stickersAreShared()
    {
        FakeAccount account;
        FakeAccount another;
        Body body = stickerBody();
        body.MergeFrom(
            fromText<Body>("sticker { animated_file { file { file_id: 'a1' size: 9000 } } }"));
        const auto sticker = make<StickerItem>(body, &account);
        body.mutable_sticker()->set_pid(8);
        QCOMPARE(make<StickerItem>(body, &account), sticker);
        QCOMPARE(sticker->pid(), 8);
        QVERIFY(make<StickerItem>(body, &another) != sticker);
        // Through the stored form as well, and it brings along where the file lies.
        QTemporaryDir dir;
        const QString path = dir.filePath(u"wave.png"_s);
        QVERIFY(write(path, QByteArray(4'016, 'x'))); // not what was sent, and neither is the name
        Map map = storedMap(*sticker);
        map.insert(u"filePath"_s, path);
        map.insert(u"pid"_s, 1);
        QCOMPARE(make<StickerItem>(map, &account), sticker);
        QCOMPARE(sticker->pid(), 8);
        QCOMPARE(sticker->file()->filePath(), path);
        for (const auto &record : {sticker->file(), sticker->animatedFile()})
            record->updateFilePath(path, true, true);
        QCOMPARE(make<StickerItem>(body, &account), sticker);
        QCOMPARE(make<StickerItem>(storedMap(*sticker), &account), sticker);
        const auto record = sticker->file();
        sticker->setContent(body);
        QCOMPARE(sticker->file(), record);

        // What says anything else has an item of its own, and changes none.
        QList<Body> others(4, body);
        others[0].mutable_sticker()->mutable_sticker_file()->set_key("forged");
        others[1].add_buttons()->add_buttons()->set_text("Open");
        others[2].mutable_sticker()->set_hint("rude");
        others[3].mutable_sticker()->mutable_sticker_file()->clear_id();
        for (const Body &other : std::as_const(others)) {
            const auto own = make<StickerItem>(other, &account);
            QVERIFY(own && own != sticker);
            Body written;
            own->serialize(&written);
            QCOMPARE(written.SerializeAsString(), other.SerializeAsString());
        }
        map.insert(u"content"_s, u"with words"_s);
        QVERIFY(make<StickerItem>(map, &account) != sticker);
        QCOMPARE(sticker->hint(), u"waving"_s);
        QCOMPARE(make<StickerItem>(body, &account), sticker);

        const auto copy = copyContent(sticker).dynamicCast<StickerItem>();
        QVERIFY(copy && copy != sticker && copy->file() != sticker->file());
        QCOMPARE(copy->file()->fileId(), sticker->file()->fileId());
    }

    void stickersAreForgotten()
    {
        SharedStickers stickers;
        const auto held = stickers.sticker(stickerBody("held"));
        for (int i = 0; i < 1'000; ++i)
            stickers.sticker(stickerBody(std::to_string(i)));
        QVERIFY(stickers.entryCount() <= 64);
        QCOMPARE(stickers.sticker(stickerBody("held")), held);
    }

    void stickerSizes()
    {
        const std::pair<QSize, QSize> sizes[] = {
            {{512, 256}, {192, 96}},   {{1000, 2000}, {96, 192}},        {{100, 100}, {100, 100}},
            {{10, 20}, {44, 88}}, // to be tapped
            {{0, 0}, {192, 192}},      {{-5, 100}, {192, 192}},          {{100'000, 1}, {192, 44}},
            {{1, 100'000}, {44, 192}}, {{INT_MAX, INT_MAX}, {192, 192}},
        };
        for (const auto &[natural, size] : sizes) {
            StickerItem sticker(1, nullptr);
            sticker.setW(natural.width());
            sticker.setH(natural.height());
            int lineCount = 7;
            QCOMPARE(sticker.calcContentSize(lineCount, 0, 0, false), size);
            QCOMPARE(lineCount, 0);
            QVERIFY(sticker.calcContentSize(lineCount, 80, 0, true).width() <= 80);
        }
    }

    void alertSizes()
    {
        SystemItem item(1, nullptr);
        item.setInfo(
            fromText<Alert>("type: CREATE name: \"" + std::string(400, 'w') + '"' + byAnna));
        int lineCount = 0;
        const QSize size = item.calcContentSize(lineCount, 5'000, 1, false);
        QVERIFY(size.width() <= AccountManager::getInstance()->maxMsgItemWidth());
        QVERIFY(lineCount > 1);
        QCOMPARE(item.lineCount(), lineCount);
        const int linesBefore = lineCount;
        QVERIFY(item.calcContentSize(lineCount, 100, 1, true).width() <= 100);
        QVERIFY(lineCount > linesBefore);
    }
};

QTEST_MAIN(TestCardItems)
#include "tst_carditems.moc"
