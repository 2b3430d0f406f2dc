#include "client/window/walk.h"

#include "account/accountmanager.h"
#include "client/applock.h"
#include "client/describe.h"
#include "client/window/content/misfits.h"
#include "client/window/feedplayer.h"
#include "client/window/messenger.h"
#include "content/modelbaseutil.h"
#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

namespace
{

const QString picnic = QStringLiteral("G-7001");
const QString lake = QStringLiteral("G-7002");
constexpr int settleTime = 350;  // ms: pictures are loaded in the background
constexpr int ordinaryChats = 1; // the source of media
constexpr int mediaFiles = 40;
constexpr int mediaSize = 4 << 20; // bytes

Session *session()
{
    return Messenger::create(nullptr, nullptr)->session();
}

/// Makes media that take a moment to move.
void makeMedia()
{
    const QString directory = ModelBaseUtil::makeMediaPath(
        session()->account()->userCacheDataPath(), ordinaryChats, ContentItem::Image);
    QDir().mkpath(directory);
    for (int i = 1; i <= mediaFiles; ++i) {
        QFile file(directory + QStringLiteral("photo %1.jpg").arg(i));
        if (file.open(QIODevice::WriteOnly))
            file.write(QByteArray(mediaSize, char(i)));
    }
}

} // namespace

Walk::Walk(QQuickWindow *window, FeedPlayer *player, const QString &directory)
    : m_window(window), m_player(player), m_directory(directory)
{
}

int Walk::run()
{
    if (!QDir().mkpath(m_directory.path()))
        return 1;
    signInAndPlay();
    messages();
    dialogs();
    pages();
    accounts();
    lock();
    // Textures of images released after the last frame would never be freed.
    m_window->releaseResources();
    m_window->grabWindow();

    QStringList kinds(m_kinds.cbegin(), m_kinds.cend());
    kinds.sort();
    m_transcript.append(QStringLiteral("kinds of content shown: ")
                        + kinds.join(QStringLiteral(", ")));
    QFile file(m_directory.filePath(QStringLiteral("transcript.txt")));
    const QByteArray text = m_transcript.join(u'\n').toUtf8() + '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        m_ok = false;
    QTextStream(stdout) << text << "\nPictures and transcript.txt are in "
                        << QDir::toNativeSeparators(m_directory.absolutePath()) << '\n';
    return m_ok ? 0 : 1;
}

void Walk::signInAndPlay()
{
    pass(settleTime);
    stop(QStringLiteral("start"), QStringLiteral("signed in, nothing has arrived yet"));
    playToEnd();
    stop(QStringLiteral("dialogs"),
         QStringLiteral("dialog list: the feeds have arrived, none is open"));
}

void Walk::playToEnd()
{
    bool finished = false;
    const auto connection = QObject::connect(m_player, &FeedPlayer::finished, m_window,
                                             [&finished] { finished = true; });
    m_player->play(1);
    passUntil([&finished] { return finished; }, 120'000);
    QObject::disconnect(connection);
    if (!finished) // a test notices what is missing
        m_transcript.append(QStringLiteral("the feed did not come to its end"));
}

void Walk::messages()
{
    open(picnic);
    stop(QStringLiteral("messages"),
         QStringLiteral("message view: the newest messages of a group"));
    scrollThrough(QStringLiteral("picnic"));
    set("draft", QStringLiteral("Written **here**, with a `mark` or two 🧺"));
    stop(QStringLiteral("draft"), QStringLiteral("message view: a message is being written"));
    session()->send(QStringLiteral("Written **here**, with a `mark` or two 🧺"));
    set("draft", QString());
    m_player->play(1);
    pass(settleTime);
    stop(QStringLiteral("sent"), QStringLiteral("message view: it is sent, and somebody likes it"));
    open(lake);
    session()->dialog()->loadAtMeMessage(session()->messages());
    stop(QStringLiteral("mention"), QStringLiteral("message view: stepped to the next mention"));
    session()->dialog()->loadReactedMessage(session()->messages());
    stop(QStringLiteral("reaction"), QStringLiteral("message view: stepped to the next reaction"));
    scrollThrough(QStringLiteral("lake"));
    for (const QString &language : {QStringLiteral("ar"), QStringLiteral("zh")}) {
        AppSettingModel::instance()->setLanguage(language);
        session()->messages()->showMessage(1);
        stop(QStringLiteral("language-") + language,
             QStringLiteral("message view: in another language, ") + language);
        show(QStringLiteral("settings"));
        stop(QStringLiteral("settings-") + language,
             QStringLiteral("settings page: in another language, ") + language);
        show(QStringLiteral("chats"));
    }
    AppSettingModel::instance()->setLanguage(QStringLiteral("en"));
    AppSettingModel::instance()->setDarkMode(true);
    scrollThrough(QStringLiteral("lake-dark"));
    AppSettingModel::instance()->setThemeFontSize(20);
    AppSettingModel::instance()->setPlainModel(true);
    stop(QStringLiteral("large-font"),
         QStringLiteral("message view: theme, font size and plain mode have changed"));
    AppSettingModel::instance()->setThemeFontSize(14);
    AppSettingModel::instance()->setPlainModel(false);
    AppSettingModel::instance()->setDarkMode(false);
    const QList<ClientDialog *> all = session()->dialogs()->dialogs();
    for (const ClientDialog *dialog : all) {
        if (dialog->dialogId() == picnic || dialog->dialogId() == lake)
            continue;
        open(dialog->dialogId());
        scrollThrough(dialog->dialogId());
    }
}

void Walk::dialogs()
{
    session()->open(nullptr);
    ClientDialog *dialog = session()->dialogs()->find(lake);
    dialog->setMute(true);
    dialog->toggleTag(QStringLiteral("friends"));
    session()->dialogs()->dialogs().last()->setArchived(true);
    stop(QStringLiteral("dialogs-marked"),
         QStringLiteral("dialog list: one dialog is muted and has a tag, one is archived"));
    set("showArchived", true);
    stop(QStringLiteral("dialogs-archived"), QStringLiteral("dialog list: the archived ones"));
    set("showArchived", false);
    set("shownTag", QStringLiteral("friends"));
    stop(QStringLiteral("dialogs-tag"), QStringLiteral("dialog list: those with a tag"));
    set("shownTag", QString());
    set("searchText", QStringLiteral("nothing like this"));
    stop(QStringLiteral("dialogs-search"),
         QStringLiteral("dialog list: a search without a result"));
    set("searchText", QString());
}

void Walk::pages()
{
    for (const bool dark : {false, true}) {
        AppSettingModel::instance()->setDarkMode(dark);
        const QString theme = dark ? QStringLiteral("-dark") : QString();
        show(QStringLiteral("settings"));
        if (auto *view = m_window->findChild<QQuickItem *>(QStringLiteral("settingsView")))
            view->setProperty("contentY", 0);
        stop(QStringLiteral("settings") + theme, QStringLiteral("settings page"));
        if (auto *page = m_window->findChild<QQuickItem *>(QStringLiteral("settingsView"))) {
            const double end = page->property("contentHeight").toDouble() - page->height();
            for (int i = 1; page->property("contentY").toDouble() < end && i < 5; ++i) {
                page->setProperty("contentY", std::min(end, i * (page->height() - 60)));
                stop(QStringLiteral("settings-%1%2").arg(i).arg(theme),
                     QStringLiteral("settings page, further down"));
            }
        }
        show(QStringLiteral("devices"));
        stop(QStringLiteral("devices") + theme,
             QStringLiteral("device page: the devices of the account"));
        show(QStringLiteral("log"));
        stop(QStringLiteral("log") + theme, QStringLiteral("log view"));
    }
    AppSettingModel::instance()->setDarkMode(false);

    makeMedia();
    show(QStringLiteral("move"));
    stop(QStringLiteral("move"), QStringLiteral("data move page: where the media are"));
    AppDataMove *move = AccountManager::getInstance()->appDataMove();
    const QString target = m_directory.absoluteFilePath(QStringLiteral("media"));
    if (!QDir().mkpath(target) || !move->moveTo(target))
        m_transcript.append(QStringLiteral("the move did not begin"));
    passUntil([move] { return move->percent() > 10 || !move->running(); }, 5000);
    picture(QStringLiteral("move-running"), QStringLiteral("data move page: under way"));
    passUntil([move] { return !move->running(); }, 20'000);
    stop(QStringLiteral("move-done"), QStringLiteral("data move page: at its end"));
}

void Walk::accounts()
{
    AccountManager *manager = AccountManager::getInstance();
    Messenger *messenger = Messenger::create(nullptr, nullptr);
    show(QStringLiteral("signin"));
    stop(QStringLiteral("signin"), QStringLiteral("add-account page"));
    const QString error =
        messenger->signIn(QStringLiteral("1"), QStringLiteral("5550102"), QStringLiteral("000000"));
    set("signInError", error);
    stop(QStringLiteral("signin-wrong"), QStringLiteral("add-account page: a wrong code"));
    set("signInError", QString());
    messenger->signIn(QStringLiteral("1"), QStringLiteral("5550102"), QStringLiteral("246810"));
    playToEnd(); // the server's data for him
    show(QStringLiteral("chats"));
    stop(QStringLiteral("accounts"), QStringLiteral("account rail: a second account is signed in"));

    AccountBase *first = manager->getAccountByIndex(0);
    AccountBase *second = manager->getAccountByIndex(1);
    manager->setCurrentAccount(first->accountId());
    open(picnic);
    set("draft", QStringLiteral("Half a sentence that must not"));
    manager->setCurrentAccount(second->accountId());
    stop(QStringLiteral("veto"),
         manager->currentAccount() == first
             ? QStringLiteral("account rail: the draft vetoes the switch")
             : QStringLiteral("account rail: THE VETO DID NOT HOLD"));
    set("draft", QString());
    manager->setCurrentAccount(second->accountId());
    stop(QStringLiteral("switched"), QStringLiteral("account rail: switched to the other account"));
    manager->setCurrentAccount(first->accountId());
}

void Walk::lock()
{
    const QString passcode = QStringLiteral("2580");
    const QString notebook = QStringLiteral("1111");
    const QString destruction = QStringLiteral("9999");
    applock::setPasscode(passcode);
    applock::setPasscode(notebook, applock::Opens::Notebook);
    applock::setPasscode(destruction, applock::Opens::Destruction);
    applock::lock();
    stop(QStringLiteral("lock"), QStringLiteral("lock screen"));
    if (auto *screen = m_window->findChild<QQuickItem *>(QStringLiteral("lockScreen")))
        QMetaObject::invokeMethod(screen, "attempt", Q_ARG(QString, QStringLiteral("0000")));
    stop(QStringLiteral("lock-wrong"), QStringLiteral("lock screen: a wrong passcode"));
    applock::unlock(notebook);
    stop(QStringLiteral("notebook"), QStringLiteral("notebook: unlocked by its own passcode"));
    applock::lock();
    applock::unlock(passcode);
    stop(QStringLiteral("unlocked"), QStringLiteral("unlocked: the accounts are back"));
    applock::lock();
    applock::unlock(destruction);
    passUntil([] { return AccountManager::getInstance()->count() == 0; }, 5000);
    pass(settleTime);
    stop(QStringLiteral("destroyed"),
         AccountManager::getInstance()->count() == 0
             ? QStringLiteral("destroying unlock: no account is left")
             : QStringLiteral("destroying unlock: ACCOUNTS ARE LEFT"));
}

void Walk::scrollThrough(const QString &name)
{
    auto *view = m_window->findChild<QQuickItem *>(QStringLiteral("messageView"));
    if (!view || !session())
        return;
    MessageListModel *model = session()->messages();
    passUntil([model] { return model->isComplete(); }, 5000);
    double y = 0;
    for (int page = 1; page < 60; ++page) {
        view->setProperty("contentY", y);
        pass(settleTime); // newly measured sizes may move rows below
        QSet<QString> kinds;
        const int last = view->property("last").toInt();
        for (int row = view->property("first").toInt(); row >= 0 && row <= last; ++row) {
            if (const ContentItem *item = model->at(row).item.data())
                kinds.insert(describe::kind(*item));
        }
        m_kinds += kinds;
        QStringList sorted(kinds.cbegin(), kinds.cend());
        sorted.sort();
        stop(QStringLiteral("%1-%2").arg(name).arg(page),
             QStringLiteral("message view: ") + sorted.join(QStringLiteral(", ")));
        const double end =
            std::max(0.0, view->property("contentHeight").toDouble() - view->height());
        if (y >= end)
            return;
        y = std::min(end, y + view->height() * 0.9);
    }
}

void Walk::stop(const QString &name, const QString &text)
{
    pass(settleTime);
    picture(name, text);
}

void Walk::picture(const QString &name, const QString &text)
{
    const QString file = QStringLiteral("%1-%2.png").arg(++m_stops, 2, 10, QChar(u'0')).arg(name);
    const bool saved = m_window->grabWindow().save(m_directory.filePath(file));
    m_ok = m_ok && saved;
    const QStringList misfits = findMisfits(*m_window->contentItem());
    for (const QString &misfit : misfits)
        m_transcript.append(QStringLiteral("DOES NOT FIT: ") + misfit);
    m_transcript.append(file + QStringLiteral(": ") + text
                        + (saved ? QString() : QStringLiteral(" (NO PICTURE)")));
}

void Walk::open(const QString &dialogId)
{
    show(QStringLiteral("chats"));
    session()->open(session()->dialogs()->find(dialogId));
}

void Walk::show(const QString &page)
{
    set("page", page);
}

void Walk::set(const char *property, const QVariant &value)
{
    m_window->setProperty(property, value);
}

void Walk::pass(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void Walk::passUntil(const std::function<bool()> &done, int atMost)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < atMost)
        pass(20);
}
