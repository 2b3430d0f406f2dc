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

#include <google/protobuf/text_format.h>

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

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

Alert alertOf(Alert::Type type, int operatorId = 1, const char *operatorName = "Anna")
{
    Alert alert;
    alert.set_type(type);
    alert.mutable_operator_()->set_user_id(operatorId);
    alert.mutable_operator_()->set_name(operatorName);
    return alert;
}

void addTarget(Alert &alert, int id, const char *name)
{
    im::User *user = alert.add_targets();
    user->set_user_id(id);
    user->set_name(name);
}

/// An alert of the type with all that an alert can have.
Alert fullAlert(Alert::Type type, int operatorId = 1)
{
    Alert alert = alertOf(type, operatorId);
    addTarget(alert, 2, "Ben");
    alert.set_name("Lake");
    alert.set_time(3600);
    alert.set_message_id(5);
    alert.set_dismiss_at(1'700'000'000'000);
    alert.set_dialog_flags(1);
    alert.mutable_message_limit()->set_length(10);
    alert.mutable_origin_topic()->set_name("Food");
    alert.mutable_current_topic()->set_name("Bread");
    alert.mutable_wall_paper()->set_wallpaper_id("w");
    return alert;
}

QString textOf(const Alert &alert, AccountBase *account = nullptr)
{
    SystemItem item(1, account);
    item.setInfo(alert);
    return item.text();
}

Body stickerBody(const char *fileId = "f1")
{
    Body body;
    im::content::Sticker *sticker = body.mutable_sticker();
    sticker->set_shortcut("👋");
    sticker->set_hint("waving");
    sticker->set_width(512);
    sticker->set_height(256);
    sticker->set_pid(3);
    sticker->mutable_sticker_file()->set_id(fileId);
    sticker->mutable_sticker_file()->set_key("0123456789abcdef0123456789abcdef");
    sticker->mutable_sticker_file()->set_size(4'000);
    return body;
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
        QSet<QString> sentences;
        const auto *types = Alert::Type_descriptor();
        for (int i = 0; i < types->value_count(); ++i) {
            const auto type = Alert::Type(types->value(i)->number());
            const char *name = types->value(i)->name().c_str();
            for (const Alert &alert : {fullAlert(type), fullAlert(type, myId), Alert()}) {
                Alert bare = alert;
                bare.set_type(type);
                const QString text = textOf(bare, &account);
                QVERIFY2(!text.isEmpty() && !text.contains(u'%') && !text.contains(u'_')
                             && !text.contains(u"  "_s) && !text.contains(u"“”"_s),
                         name);
            }
            sentences.insert(textOf(fullAlert(type), &account));
            QVERIFY2(SystemItem::checkSystemAlert(fullAlert(type)) == (type != Alert::UNKNOWN),
                     name);
        }
        QCOMPARE(sentences.size(), types->value_count());
        // Of a newer protocol.
        const QString unsupported = textOf(fullAlert(Alert::UNKNOWN));
        for (int type : {8, 35, 4000, -1, INT_MAX})
            QCOMPARE(textOf(fullAlert(Alert::Type(type))), unsupported);
    }

    void sentences()
    {
        FakeAccount account;
        account.setAccountId(myId);
        for (const QString &line : facts(u"alerts.txt"_s)) {
            Alert alert;
            QVERIFY2(google::protobuf::TextFormat::ParseFromString(
                         line.section(u'\t', 1).toStdString(), &alert),
                     qPrintable(line));
            QCOMPARE(textOf(alert, &account), line.section(u'\t', 0, 0));
        }
    }

    void incompleteAlerts()
    {
        Alert alert = alertOf(Alert::MEMBER_KICKED);
        QVERIFY(!SystemItem::checkSystemAlert(alert));
        addTarget(alert, 2, "Ben");
        QVERIFY(SystemItem::checkSystemAlert(alert));
        alert.clear_operator_();
        QVERIFY(!SystemItem::checkSystemAlert(alert));
        QVERIFY(!SystemItem::checkSystemAlert(alertOf(Alert::NAME_EDITED)));
        QVERIFY(!SystemItem::checkSystemAlert(alertOf(Alert::TOPIC_UPDATED)));
        alert.set_type(Alert::RECEIPT_COMPLETE);
        QVERIFY(SystemItem::checkSystemAlert(alert));
    }

    void namesOfTheOwner()
    {
        Alert alert = alertOf(Alert::MEMBER_KICKED);
        addTarget(alert, 2, "Ben");
        addTarget(alert, 3, "Chloé");
        SystemItem item(1, nullptr);
        item.setInfo(alert);
        QCOMPARE(item.allTargets(), QString());

        Contact anna(u"Mum"_s);
        auto ben = std::make_unique<Contact>(u"Benjamin"_s);
        Contact nameless({});
        QObject plain; // has no name at all
        SignalLog log{&item};
        item.setSender(&anna);
        item.setTargets({ben.get(), &nameless, nullptr, &plain});
        QCOMPARE(item.text(), u"Mum removed Benjamin, Chloé"_s);
        QCOMPARE(item.allTargets(), u"Benjamin"_s);
        QCOMPARE(log.take(),
                 u"senderChanged textChanged needRecalcSize targetsChanged allTargetsChanged "
                 "textChanged needRecalcSize"_s);

        ben->rename(u"Benny"_s);
        QCOMPARE(log.take(), u"textChanged needRecalcSize allTargetsChanged"_s);
        QCOMPARE(item.allTargets(), u"Benny"_s);
        const SystemItem copy(&item);
        ben.reset();
        QCOMPARE(log.take(), u"textChanged needRecalcSize allTargetsChanged"_s);
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
        item.setInfo(alertOf(Alert::UPGRADED, 5));
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
        SignalLog log{&item};
        Alert alert = alertOf(Alert::DISMISS_AT_UPDATED);
        item.setInfo(alert);
        QCOMPARE(log.take(), u"alertTypeChanged textChanged needRecalcSize"_s);
        alert.set_dismiss_at(1'700'000'000'000);
        alert.set_dialog_flags(4);
        item.setInfo(alert);
        QCOMPARE(log.take(), u"dialogFlagsChanged dismissAtChanged textChanged needRecalcSize"_s);
        QVERIFY(item.restrictMode());
        item.setInfo(alert);
        item.setMediaType(0);
        QCOMPARE(log.take(), QString());

        const auto other = QSharedPointer<SystemItem>::create(1, nullptr);
        QVERIFY(!item.update(other)); // it knows less
        QVERIFY(!item.update({}));
        QVERIFY(!item.update(QSharedPointer<CallItem>::create(1, nullptr)));
        Contact anna(u"Mum"_s);
        QObject wallpaper;
        other->setSender(&anna);
        other->setWallpaper(&wallpaper);
        QVERIFY(item.update(other));
        QCOMPARE(item.alertType(), int(Alert::DISMISS_AT_UPDATED));
        QCOMPARE(item.sender(), &anna);
        QCOMPARE(item.wallpaper(), &wallpaper);
        QVERIFY(!item.update(other));
        other->setInfo(alertOf(Alert::UPGRADED));
        other->setSender(nullptr);
        QVERIFY(item.update(other));
        QCOMPARE(item.text(), u"Mum upgraded the group"_s);

        Alert topics = alertOf(Alert::TOPIC_UPDATED);
        topics.mutable_current_topic()->set_name("Bread");
        item.setInfo(topics);
        QCOMPARE(item.topicUpdateType(), int(SystemItem::TopicCreated));
        log.take();
        item.setTopicUpdateType(SystemItem::TopicClosed);
        QCOMPARE(log.take(), u"topicUpdateTypeChanged textChanged needRecalcSize"_s);
        QCOMPARE(item.text(), u"Mum closed the topic “Bread”"_s);
        topics.mutable_current_topic()->set_name("Rolls");
        item.setInfo(topics); // which tells of another update
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

        SignalLog log{&call};
        call.setOutgoing(false);
        call.setState(CallItem::Finished);
        QCOMPARE(log.take(), u"outgoingChanged textChanged stateChanged textChanged"_s);
        for (const auto &[seconds, text] : {std::pair(qint64(-5), u"Call 0:00"),
                                            {59, u"Call 0:59"},
                                            {754, u"Call 12:34"},
                                            {3'661, u"Call 1:01:01"},
                                            {LLONG_MAX, u"Call 2562047788015215:30:07"}}) {
            call.setDuration(seconds);
            QCOMPARE(call.text(), QString::fromUtf16(text));
            QCOMPARE(log.take(), u"durationChanged textChanged"_s);
        }
        Body body;
        body.mutable_call()->set_call_state(im::Message::BUSY);
        body.mutable_call()->set_duration(LLONG_MAX);
        call.setContent(body);
        QCOMPARE(log.take(), u"stateChanged textChanged"_s);
        call.setContent(body);
        body.mutable_text();
        call.setContent(body);
        QCOMPARE(log.take(), QString());
        QCOMPARE(call.state(), int(CallItem::Busy));
    }

    void cards()
    {
        Body body;
        im::content::Card *record = body.mutable_card();
        record->set_nickname("Anna");
        record->set_im_id("anna_1");
        record->mutable_caption()->set_text("ask her");
        const auto card = make<CardItem>(body);
        QVERIFY(card);
        QVERIFY(!card->photo());
        for (const auto &word : {u"Anna"_s, u"anna_1"_s, u"ask her"_s})
            QVERIFY(card->getKeyword().contains(word));
        int lineCount = 0;
        QVERIFY(card->calcContentSize(lineCount, 300, 0, false).height() > 0);
        QCOMPARE(lineCount, 1);
        QCOMPARE(card->type(), int(ContentItem::Card));

        SignalLog log{card.data()};
        auto user = std::make_unique<Contact>(u"Mum"_s);
        card->setUser(user.get());
        QCOMPARE(card->name(), u"Mum"_s);
        user->rename({});
        QCOMPARE(card->name(), u"Anna"_s);
        user.reset();
        QVERIFY(!card->user());
        QCOMPARE(log.take(), u"userChanged nameChanged nameChanged nameChanged"_s);

        record->set_nickname("Anne");
        record->mutable_avatar_thumb()->set_id("p1");
        record->mutable_avatar_thumb()->set_key("k");
        record->mutable_caption()->set_text("ask");
        card->setContent(body);
        QCOMPARE(log.take(), u"contentChanged nickChanged photoChanged nameChanged"_s);
        QCOMPARE(card->photo()->fileId(), u"p1"_s);
        QCOMPARE(card->photo(), card->photo());
        const auto before = card->photo();
        record->mutable_avatar_thumb()->set_id("p2");
        card->setContent(body);
        QVERIFY(card->photo() != before);
        card->setContent(Body());
        QCOMPARE(card->nick(), u"Anne"_s);
    }

    void stickersInStoredMaps()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"wave.webp"_s);
        QVERIFY(write(path, "RIFF"));

        const auto sticker = QSharedPointer<StickerItem>::create(1, nullptr);
        sticker->setContent(stickerBody());
        sticker->file()->setFormat(u"webp"_s);
        QVERIFY(!storedMap(*sticker).contains(u"filePath"_s));
        QVERIFY(!storedMap(*sticker).contains(u"fileState"_s));
        QVERIFY(!storedMap(*sticker).contains(u"animateId"_s));
        sticker->file()->updateFilePath(path, true, true);
        const Map stored = storedMap(*sticker);
        QCOMPARE(stored[u"filePath"_s], path);
        QCOMPARE(stored[u"fileState"_s].toInt(), int(BaseFile::Downloaded));
        QCOMPARE(stored[u"fileType"_s], u"webp"_s);
        QCOMPARE(stored[u"size"_s].toLongLong(), 4);

        const auto restored = QSharedPointer<StickerItem>::create(stored, 1, nullptr);
        QVERIFY(restored->file()->exists());
        QCOMPARE(restored->file()->format(), u"webp"_s);
        Body newer = stickerBody();
        newer.mutable_sticker()->mutable_sticker_file()->set_version(2);
        StickerItem updated(stored, 1, nullptr);
        updated.setContent(newer);
        QCOMPARE(updated.file()->version(), 2);
        QCOMPARE(updated.file()->filePath(), path);
        StickerItem waiting(&*restored);
        waiting.file()->setFileId({}); // which the server gives
        waiting.file()->setFileState(BaseFile::WaitingForUpload);
        waiting.initFileStateWithCloudDriveFile();
        QCOMPARE(waiting.file()->fileState(), BaseFile::WaitingForUpload);
        restored->file()->setFileState(BaseFile::UploadPaused);
        restored->initFileStateWithCloudDriveFile();
        QCOMPARE(restored->file()->fileState(), BaseFile::Downloaded);
        QStringList cached;
        restored->getFileIdsByExistCache(cached);
        QCOMPARE(cached, QStringList());
        restored->file()->setCacheFilePath(path);
        restored->getFileIdsByExistCache(cached);
        QCOMPARE(cached, QStringList{u"f1"_s});
        QVERIFY(QFile::remove(path));
        restored->file()->setFileState(BaseFile::UploadFailed);
        restored->initFileStateWithCloudDriveFile();
        QCOMPARE(restored->file()->fileState(), BaseFile::NotDownloaded);
        const StickerItem gone({{u"filePath"_s, path}, {u"thumbPath"_s, path}}, 1, nullptr);
        QVERIFY(!gone.file() && !gone.thumbnail().file);
        QVERIFY(!storedMap(*restored).contains(u"filePath"_s));
        // An update with the same file keeps its record, one of another file does not.
        const auto record = restored->file();
        restored->deserialize(stored);
        QCOMPARE(restored->file(), record);
        restored->setContent(stickerBody("f2"));
        QVERIFY(restored->file() != record);
    }

    void favourites()
    {
        const QByteArray key("\x01\x02\x03", 3);
        const QString base64 = QString::fromLatin1(key.toBase64());
        StickerItem sticker(1, nullptr);
        sticker.setPid(4);
        SignalLog log{&sticker};
        const Map favourite{{u"pid"_s, 3},
                            {u"shortcut"_s, u"👋"_s},
                            {u"hint"_s, u"waving"_s},
                            {u"w"_s, 100},
                            {u"h"_s, u"50"_s},
                            {u"upload_user_id"_s, qlonglong(1) << 40},
                            {u"fileid"_s, u"f"_s},
                            {u"aeskey"_s, base64},
                            {u"fileMd5"_s, base64},
                            {u"size"_s, 12},
                            {u"fileType"_s, u"png"_s},
                            {u"a_fileid"_s, u"a"_s},
                            {u"a_aeskey"_s, base64},
                            {u"a_filemd5"_s, base64},
                            {u"a_size"_s, 13},
                            {u"a_w"_s, 200},
                            {u"a_h"_s, 300},
                            {u"a_fileType"_s, u"mp4"_s},
                            {u"animateId"_s, u"of another form"_s},
                            {u"uploadUserId"_s, 5}};
        sticker.deserializeFavorite(favourite);
        QCOMPARE(log.take(),
                 u"shortcutChanged hintChanged wChanged hChanged uploadUserIdChanged fileChanged "
                 "animatedFileChanged"_s);
        QCOMPARE(sticker.pid(), 4);
        QCOMPARE(sticker.h(), 50);
        QCOMPARE(sticker.uploadUserId(), qlonglong(1) << 40);
        QCOMPARE(sticker.file()->fileId(), u"f"_s);
        QCOMPARE(sticker.file()->aesKey(), key);
        QCOMPARE(sticker.file()->fileMd5(), key);
        QCOMPARE(sticker.file()->format(), u"png"_s);
        QCOMPARE(sticker.animatedFile()->fileId(), u"a"_s);
        QCOMPARE(sticker.animatedFile()->aesKey(), key);
        QCOMPARE(sticker.animatedFile()->size(), 13);
        QCOMPARE(sticker.animatedFile()->height(), 300);
        QCOMPARE(sticker.animatedFile()->format(), u"mp4"_s);

        sticker.deserializeFavorite(favourite);
        QCOMPARE(log.take(), QString());
        sticker.deserializeFavorite({{u"pid"_s, 9}, {u"fileid"_s, u""_s}, {u"fileId"_s, u"g"_s}});
        QCOMPARE(sticker.pid(), 9);
        QCOMPARE(sticker.file()->fileId(), u"g"_s);

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
        im::FileInfo *animated = body.mutable_sticker()->mutable_animated_file()->mutable_file();
        animated->set_file_id("a1");
        animated->set_size(9'000);
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
        Body written;
        copy->serialize(&written);
        QCOMPARE(written.SerializeAsString(), body.SerializeAsString());
    }

    void stickersAreForgotten()
    {
        SharedStickers stickers;
        const auto held = stickers.sticker(stickerBody("held"));
        for (int i = 0; i < 1'000; ++i)
            stickers.sticker(stickerBody(std::to_string(i).c_str()));
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
        Alert alert = alertOf(Alert::CREATE);
        alert.set_name(std::string(400, 'w'));
        item.setInfo(alert);
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
