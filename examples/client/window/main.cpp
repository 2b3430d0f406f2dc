// A messenger on top of modelbase, in a window. ../README.md is its guide.

#include "account/accountmanager.h"
#include "client/application.h"
#include "client/clienterror.h"
#include "client/modellayer.h"
#include "client/scriptedserver.h"
#include "client/window/bench.h"
#include "client/window/feedplayer.h"
#include "client/window/messenger.h"
#include "client/window/walk.h"

#include "i18n/translations.h"
#include "settings/appsettingmodel.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QLocale>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTextStream>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(MessengerPlugin)
Q_IMPORT_QML_PLUGIN(Messenger_ContentPlugin)

namespace
{

constexpr int messageInterval = 700; // ms

/// Signs in by program, since no one can without a display.
void signIn(Messenger &messenger, const QString &phone)
{
    const QString country = QStringLiteral("1");
    QString error = messenger.requestCode(country, phone);
    if (error.isEmpty())
        error = messenger.signIn(country, phone, QStringLiteral("246810"));
    if (!error.isEmpty())
        throw ClientError(BadData, error);
}

int run(Application &app)
{
    const QCommandLineOption feed(QStringLiteral("feed"), QStringLiteral("Play the feed <FILE>."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption walk(
        QStringLiteral("walk"),
        QStringLiteral("Visit every page and leave pictures of them in <DIR>."),
        QStringLiteral("DIR"));
    const QCommandLineOption history(QStringLiteral("history"),
                                     QStringLiteral("Keep a dialog of <COUNT> messages, and end."),
                                     QStringLiteral("COUNT"));
    const QCommandLineOption benchmark(
        QStringLiteral("bench"),
        QStringLiteral("Measure the dialog that --history has kept: <STEP> is open, scroll, or the "
                       "number of rows whose contents are made."),
        QStringLiteral("STEP"));
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({feed, walk, history, benchmark});
    parser.process(app);
    const QStringList feeds = parser.values(feed);
    // The server's files are beside the feeds.
    const QString media = feeds.isEmpty()
        ? QString()
        : QFileInfo(feeds.constFirst()).absolutePath() + QStringLiteral("/media");

    app.setProperty("availableLanguages",
                    QStringList{QStringLiteral("en"), QStringLiteral("ar"), QStringLiteral("zh")});
    ScriptedServer server;
    const ModelLayer modelLayer(&server);
    Messenger messenger(media);
    FeedPlayer player(feeds);
    QObject::connect(&player, &FeedPlayer::frame, &messenger, &Messenger::receive);
    QObject::connect(&player, &FeedPlayer::failed, &messenger, &Messenger::told);
    QObject::connect(&messenger, &Messenger::sent, &player, &FeedPlayer::like);
    // The demonstration starts with an account.
    if (AccountManager::getInstance()->count() == 0)
        signIn(messenger, QStringLiteral("5550101"));
    QObject::connect(&messenger, &Messenger::signedIn, &player, &FeedPlayer::playAgain);
    if (parser.isSet(history)) {
        bench::prepare(feeds, media, parser.value(history).toInt());
        return 0;
    }
    const QString step = parser.value(benchmark);
    if (const int rows = step.toInt(); rows > 0)
        return bench::contents(messenger.session(), rows);

    AppSettingModel *settings = AppSettingModel::instance();
    settings->translations()->add(QStringLiteral(":/i18n/messenger"));
    QQmlApplicationEngine engine;
    const auto speak = [&engine](const QString &language) {
        QGuiApplication::setLayoutDirection(QLocale(language).textDirection());
        engine.retranslate();
    };
    speak(settings->language());
    QObject::connect(settings, &AppSettingModel::languageChanged, &engine, speak);
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.addImportPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../qml"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Messenger/Main.qml")));
    if (engine.rootObjects().isEmpty())
        throw ClientError(BadData, QStringLiteral("The window cannot be shown."));
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());

    if (step == QStringLiteral("open"))
        return bench::open(window, messenger.session());
    if (step == QStringLiteral("scroll"))
        return bench::scroll(window, messenger.session());
    if (parser.isSet(benchmark))
        throw ClientError(WrongUsage, QStringLiteral("There is no step \"%1\".").arg(step));
    if (parser.isSet(walk)) {
        Walk steps(window, &player, parser.value(walk));
        return steps.run();
    }
    player.play(messageInterval);
    return app.exec();
}

} // namespace

int main(int argc, char *argv[])
{
    Application app(argc, argv);
    Application::setApplicationName(QStringLiteral("modelbase-messenger"));
    try {
        return run(app);
    } catch (const ClientError &error) {
        QTextStream(stderr) << error.what() << '\n';
        return error.exitCode;
    }
}
