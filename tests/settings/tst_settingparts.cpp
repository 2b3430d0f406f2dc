#include "base/util.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/consoleoptions_p.h"
#include "settings/emojiskins_p.h"
#include "settings/messagegeometry_p.h"

#include <QLoggingCategory>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QLoggingCategory stores("im.storage");
const QLoggingCategory added("im.added");

} // namespace

/// The small classes behind the application's settings, each on its own.
class TestSettingParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void consoleOptions()
    {
        // What is stored comes first, and stays; what it lacks is on.
        ConsoleOptions options(
            uR"([{"uri":"im.storage","enable":false},{"uri":"own","enable":false,"x":1}])"_s);
        QVERIFY(options.text().startsWith(
            uR"([{"enable":false,"uri":"im.storage"},{"enable":false,"uri":"own","x":1},)"_s));
        const ConsoleOptions all(ConsoleOptions::defaultText());
        QCOMPARE(options.text().count(u"uri"_s), all.text().count(u"uri"_s) + 1);
        options.apply();
        QVERIFY(!stores.isDebugEnabled() && stores.isWarningEnabled() && added.isDebugEnabled());

        // A category that nobody knew is in force once the text is read again.
        options.change(u"im.storage"_s, true);
        options.change(u"im.added"_s, false);
        options.apply();
        QVERIFY(stores.isDebugEnabled() && added.isDebugEnabled());
        ConsoleOptions(options.text()).apply();
        QVERIFY(stores.isDebugEnabled() && !added.isDebugEnabled());
        for (const QString &damaged : {u"[{"_s, u"{}"_s, u"7"_s, QString()})
            QCOMPARE(ConsoleOptions(damaged).text(), all.text());
        all.apply();
        QVERIFY(added.isDebugEnabled());
    }

    void emojiSkins()
    {
        EmojiSkins skins;
        const QString first = skins.changed(u"{ damaged"_s, u"👍"_s, 3);
        const QString both = skins.changed(first, u"👋"_s, 0);
        QCOMPARE(skins.index(both, u"👍"_s), 3);
        QCOMPARE(skins.index(first, u"👋"_s), -1); // the text decides, not what was parsed last
        QCOMPARE(EmojiSkins().index(both, u"👋"_s), 0);
        const QString removed = skins.changed(both, u"👍"_s, -1);
        QCOMPARE(EmojiSkins().index(removed, u"👍"_s), -1);
        QCOMPARE(EmojiSkins().index(removed, u"👋"_s), 0);
    }

    void messageWidth()
    {
        AppSettingModel *settings = AppSettingModel::instance();
        settings->setMainwindowGeometry(uR"({"width":1700,"height":822})"_s, false);
        settings->setSessionListWidth(300, false);
        MessageGeometry geometry;
        geometry.load();
        QCOMPARE(geometry.messageWidth(), 560);
        settings->setPlainModel(true, false);
        geometry.load();
        QCOMPARE(geometry.messageWidth(), 1288);
        settings->setMainwindowGeometry(u"damaged"_s, false);
        geometry.load();
        QCOMPARE(geometry.messageWidth(), 200);
        geometry.reset();
        QCOMPARE(geometry.messageWidth(), 425);
        QVERIFY(!geometry.window().isValid());
    }

    void ownDirectories()
    {
        const AppDirManager *dirs = AppDirManager::instance();
        const QString separator = Util::separator();
        const QString data = Util::defaultCacheDataDir();
        QCOMPARE(dirs->defaultCacheDataDir(), data);
        QCOMPARE(dirs->stickerDir(), data + separator + u"sticker"_s + separator);
        QCOMPARE(dirs->customEmojiDir(), data + separator + u"emoji"_s + separator);
        QCOMPARE(dirs->tempDir(),
                 QStandardPaths::writableLocation(QStandardPaths::TempLocation) + separator);
        QCOMPARE(dirs->documentDir(),
                 QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    }
};

QTEST_GUILESS_MAIN(TestSettingParts)
#include "tst_settingparts.moc"
