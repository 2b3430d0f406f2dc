#include "settings/appsettingmodel.h"
#include "settings/consoleoptions_p.h"
#include "settings/emojiskins_p.h"
#include "settings/messagegeometry_p.h"

#include <QLoggingCategory>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QLoggingCategory stores("im.storage");
const QLoggingCategory added("im.added");

} // namespace

/// The small classes behind the application's settings.
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

    void messageGeometry_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<bool>("plain");
        QTest::addColumn<bool>("panel");
        QTest::addColumn<QList<int>>("expected"); // width, height, of messages, in threads, panel
        const auto row = [](const char *name, const QString &window, bool plain, bool panel,
                            const QList<int> &expected) {
            QTest::newRow(name) << window << plain << panel << expected;
        };
        const QString large = uR"({"width":1700,"height":822})"_s;
        row("bubbles end at 560", large, false, false, {1400, 800, 560, 224, 0});
        row("plain ones do not", large, true, false, {1400, 800, 1288, 224, 0});
        row("the panel takes its part", large, true, true, {1400, 800, 968, 224, 1});
        row("room for the panel", uR"({"width":1000,"height":822})"_s, true, true,
            {700, 800, 268, 224, 1});
        row("no room for it", uR"({"width":999,"height":822})"_s, true, true,
            {699, 800, 587, 224, 0});
        row("nothing is known", u"damaged"_s, false, false, {-300, -22, 200, 224, 0});
    }
    void messageGeometry()
    {
        QFETCH(QString, window);
        QFETCH(bool, plain);
        QFETCH(bool, panel);
        AppSettingModel *settings = AppSettingModel::instance();
        settings->setMainwindowGeometry(window, false);
        settings->setPlainModel(plain, false);
        settings->setInfoPanelViewMode(panel, false);
        settings->setSessionListWidth(300, false);
        settings->setInfoPanelWidth(320, false);
        MessageGeometry geometry;
        geometry.load();
        const QSize size = geometry.window();
        const QList<int> loaded{size.width(), size.height(), geometry.messageWidth(),
                                geometry.widthInThread(), geometry.isInfoPanelVisible()};
        QTEST(loaded, "expected");

        QVERIFY(!geometry.setWindow(size) && geometry.setWindow(size + QSize(1, 0)));
        QVERIFY(!geometry.setMessageWidth(0) && !geometry.setWidthInThread(-1));
        QVERIFY(geometry.setMessageWidth(333) && geometry.setWidthInThread(150));
        QCOMPARE(geometry.messageWidth(), 333);
        QCOMPARE(geometry.widthInThread(), 200);
        QVERIFY(!geometry.setMessageWidth(333) && !geometry.setWidthInThread(1));
        geometry.reset();
        QCOMPARE(geometry.messageWidth(), 425);
        QVERIFY(!geometry.window().isValid());
    }
};

QTEST_MAIN(TestSettingParts)
#include "tst_settingparts.moc"
