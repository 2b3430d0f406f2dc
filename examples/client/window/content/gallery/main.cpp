// Takes pictures of every content of the given feeds as the sample client shows it: light, dark and
// in larger letters. For developers who add a kind or change its view.

#include "account/accountmanager.h"
#include "client/application.h"
#include "client/clientaccount.h"
#include "client/clienterror.h"
#include "client/contents.h"
#include "client/messagegroup.h"
#include "client/messagestore.h"
#include "client/modellayer.h"
#include "client/scriptedserver.h"
#include "client/window/content/contentformat.h"
#include "client/window/content/misfits.h"
#include "content/contentitem.h"
#include "content/items/combineditem.h"
#include "feeds/feed.h"
#include "protocol/common_data.pb.h"
#include "protocol/notif.pb.h"
#include "settings/appsettingmodel.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTextStream>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <QTranslator>

Q_IMPORT_QML_PLUGIN(Messenger_ContentPlugin)

namespace
{

using Items = QList<QSharedPointer<ContentItem>>;

constexpr int maxWidth = 400;
constexpr QSize pageSize(1320, 1500);
constexpr int columns = 3;
constexpr int loadingTime = 400; // ms, for pictures that are read in the background

ClientAccount *signIn(ScriptedServer *server)
{
    auto *manager = AccountManager::getInstance();
    auto *account = new ClientAccount(server, manager);
    const QString country = QStringLiteral("1");
    const QString phone = QStringLiteral("5550101");
    account->requestCode(country, phone);
    const auto reply = account->signIn(country, phone, QStringLiteral("246810"));
    if (!reply)
        throw ClientError(BadData, QStringLiteral("Nobody can sign in."));
    return account;
}

KeptMessage kept(const im::Message &record)
{
    KeptMessage message;
    message.dialogId = QString::fromStdString(record.dialog_id());
    message.messageId = record.message_id();
    message.sender = record.sender();
    message.version = record.content_format_ver();
    message.content = record.content();
    im::Message beside = record;
    beside.clear_content();
    message.beside = beside.SerializeAsString();
    return message;
}

/// The contents of a feed, in order, followed by those of messages that are shown as one.
Items contentsOf(const QString &path, ClientAccount *account)
{
    Contents contents(account, QFileInfo(path).absolutePath() + QStringLiteral("/media"));
    MessageGroup group;
    Items items;
    QHash<int, QString> names;
    FeedReader reader(path);
    while (const auto frame = reader.next()) {
        const std::string record = frame->record.toStdString();
        if (frame->type == im::notif::USER_UPDATED) {
            im::notif::UserUpdatedNotif notification;
            notification.ParseFromString(record);
            names.insert(notification.user().user_id(),
                         QString::fromStdString(notification.user().name()));
        }
        im::notif::MessageCreatedNotif notification;
        if (frame->type != im::notif::MESSAGE_CREATED || !notification.ParseFromString(record))
            continue;
        const KeptMessage message = kept(notification.message());
        const auto item = contents.make(message);
        if (!group.has(message)) {
            if (const auto finished = group.take(account))
                items.append(finished);
        }
        group.add(message, item);
        if (auto *combined = qobject_cast<CombinedItem *>(item.data()))
            combined->setSenderNames([&](qint64 id, bool) { return names.value(int(id)); });
        items.append(item);
    }
    if (!reader.error().isEmpty())
        throw ClientError(BadData, reader.error());
    return items;
}

void wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void measure(const Items &items)
{
    for (const auto &item : items) {
        if (item)
            item->calcSize(maxWidth, 0, 0, ContentItem::CONTENT_CHANGED, false);
    }
}

class Gallery
{
public:
    explicit Gallery(const QDir &directory) : m_directory(directory)
    {
        m_view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
        m_view.engine()->addImportPath(QCoreApplication::applicationDirPath()
                                       + QStringLiteral("/../qml"));
        m_view.setInitialProperties({{QStringLiteral("maxWidth"), maxWidth}});
        m_view.setResizeMode(QQuickView::SizeRootObjectToView);
        m_view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/Messenger/Gallery/Gallery.qml")));
        if (!m_view.rootObject())
            throw ClientError(BadData, QStringLiteral("The gallery cannot be shown."));
        m_view.resize(pageSize);
        m_view.show();
    }

    /// Takes as many pictures as the items need.
    void show(const Items &items, const QString &name)
    {
        const int frame = m_view.rootObject()->property("frame").toInt();
        const int available = pageSize.height() - 10;
        QObjectList page;
        int column = 1;
        int used = 0;
        for (const auto &item : items) {
            const int height = ContentFormat::shownSize(item.data(), maxWidth).height() + frame;
            if (used > 0 && used + height > available) {
                used = 0;
                if (++column > columns) {
                    grab(page, name);
                    page.clear();
                    column = 1;
                }
            }
            used += height;
            page.append(item.data());
        }
        grab(page, name);
        m_page = 0;
    }
    /// Texts that did not fit, one per line.
    const QStringList &misfits() const { return m_misfits; }

private:
    void grab(const QObjectList &page, const QString &name)
    {
        m_view.rootObject()->setProperty("items", QVariant::fromValue(page));
        wait(loadingTime);
        const QString path =
            m_directory.filePath(QStringLiteral("%1-%2.png").arg(name).arg(++m_page));
        if (!m_view.grabWindow().save(path))
            throw ClientError(BadData, QStringLiteral("%1 cannot be written.").arg(path));
        QTextStream(stdout) << path << '\n';
        m_misfits += findMisfits(*m_view.rootObject());
    }

    QQuickView m_view;
    QDir m_directory;
    QStringList m_misfits;
    int m_page = 0;
};

void run(const QStringList &arguments)
{
    if (arguments.size() < 3)
        throw ClientError(WrongUsage,
                          QStringLiteral("Usage: %1 DIRECTORY FEED...").arg(arguments[0]));
    const QDir directory(arguments[1]);
    directory.mkpath(QStringLiteral("."));

    QTranslator texts;
    if (texts.load(QStringLiteral(":/gallery_texts.qm")))
        QCoreApplication::installTranslator(&texts);
    ScriptedServer server;
    const ModelLayer modelLayer(&server);
    auto *settings = AppSettingModel::instance();
    ClientAccount *account = signIn(&server);
    AccountManager::getInstance()->setMaxMsgItemWidth(maxWidth);
    Items items;
    for (const QString &feed : arguments.mid(2))
        items += contentsOf(feed, account);

    Gallery gallery(directory);
    Contents::settle();
    measure(items);
    for (const bool dark : {false, true}) {
        settings->setDarkMode(dark, false);
        gallery.show(items, dark ? QStringLiteral("dark") : QStringLiteral("light"));
    }
    settings->setThemeFontSize(20, false);
    measure(items);
    gallery.show(items, QStringLiteral("large"));
    if (!gallery.misfits().isEmpty())
        throw ClientError(
            BadData, QStringLiteral("These texts do not fit:\n") + gallery.misfits().join(u'\n'));
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    Application app(argc, argv);
    Application::setApplicationName(QStringLiteral("modelbase-gallery"));
    try {
        run(app.arguments());
    } catch (const ClientError &error) {
        QTextStream(stderr) << error.what() << '\n';
        return error.exitCode;
    }
    return 0;
}
