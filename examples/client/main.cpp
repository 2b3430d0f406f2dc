// A terminal client on top of modelbase, fed from a recorded feed. README.md is its guide.

#include "account/accountmanager.h"
#include "base/util.h"
#include "client/application.h"
#include "client/client.h"
#include "client/clientaccount.h"
#include "client/clienterror.h"
#include "client/modellayer.h"
#include "client/scriptedserver.h"
#include "client/tour.h"
#include "imlog/imlog.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTextStream>

namespace
{

struct Options {
    QStringList feeds;
    int width = 0;
};

Options readOptions(const Application &app)
{
    const QCommandLineOption feed(QStringLiteral("feed"),
                                  QStringLiteral("Play the feed <FILE>; several are "
                                                 "played one after the other."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption width(QStringLiteral("width"),
                                   QStringLiteral("Let a message be <PX> pixels wide at most."),
                                   QStringLiteral("PX"), QStringLiteral("420"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Signs people in, shows the messages that earlier runs have kept, plays a "
                       "recorded feed, and keeps what it brings."));
    parser.addHelpOption();
    parser.addOptions({feed, width});
    parser.process(app);

    bool isNumber = false;
    const Options options{parser.values(feed), parser.value(width).toInt(&isNumber)};
    if (!parser.positionalArguments().isEmpty())
        throw ClientError(WrongUsage,
                          QStringLiteral("What is \"%1\" for? See --help.")
                              .arg(parser.positionalArguments().constFirst()));
    if (!isNumber || options.width < 100 || options.width > 10000)
        throw ClientError(WrongUsage, QStringLiteral("--width takes 100 to 10000 pixels."));
    return options;
}

/// The model layer keeps everything in the application data directory.
QString makeDataDirectory()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (!Util::mkpath(path) || !QFileInfo(path).isWritable())
        throw ClientError(BadData,
                          QStringLiteral("%1 is no directory that can be written to. Make it one, "
                                         "or let XDG_DATA_HOME name another place.")
                              .arg(path));
    return path;
}

/// The first start changes two settings; every later one finds them changed.
void greet(QTextStream &out)
{
    AppSettingModel *settings = AppSettingModel::instance();
    const storage::GlobalStorageProvider *store = settings->globalStorage();
    if (!store->isOpen())
        throw ClientError(
            BadData,
            QStringLiteral("The settings %1 cannot be opened; the log in %2 says why.")
                .arg(store->filePath(), ImLog::instance()->directory()));
    if (store->recovered())
        out << "The settings were damaged. What could be read was carried over; the damaged file "
               "lies beside "
            << store->filePath() << ".\n";

    const QString firstStartKey = QStringLiteral("sample_client_first_start");
    const qint64 firstStart = settings->getValue(firstStartKey, 0).toLongLong();
    const int fontSize = settings->themeFontSize();
    if (firstStart == 0) {
        settings->setValue(firstStartKey, QDateTime::currentMSecsSinceEpoch(), true);
        settings->setThemeFontSize(16);
        out << "Settings: this is the first start; the theme's font size was " << fontSize
            << " px and is set to " << settings->themeFontSize() << " px.\n";
    } else {
        out << "Settings: kept from the first start, "
            << QDateTime::fromMSecsSinceEpoch(firstStart)
                   .toString(QStringLiteral("yyyy-MM-dd HH:mm"))
            << "; the theme's font size is " << fontSize << " px.\n";
    }
}

ExitCode run(const Application &app)
{
    const Options options = readOptions(app);
    const QString data = makeDataDirectory();
    ScriptedServer server;
    const ModelLayer modelLayer(&server);
    QTextStream out(stdout);
    out << "Data in " << QDir::toNativeSeparators(data) << ".\n";
    greet(out);
    out.flush();

    AccountManager *manager = AccountManager::getInstance();
    Tour tour;
    if (manager->count() == 0)
        tour.firstStart();
    else
        tour.laterStart();
    if (manager->count() == 0)
        throw ClientError(BadData, QStringLiteral("Nobody is signed in any more. Start again."));

    // The files beside the feed take the place of the server's.
    const QString media = options.feeds.isEmpty()
        ? QString()
        : QFileInfo(options.feeds.constFirst()).absolutePath() + QStringLiteral("/media");
    Client client(qobject_cast<ClientAccount *>(manager->currentAccount()), options.width, media);
    const ExitCode result = client.showKept();
    for (const QString &feed : options.feeds)
        client.play(feed);
    client.showSummary();
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    // It needs fonts, but neither a window nor a display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const Application app(argc, argv);
    try {
        return run(app);
    } catch (const ClientError &error) {
        QTextStream(stderr) << error.what() << '\n';
        return error.exitCode;
    }
}
