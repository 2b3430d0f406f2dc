#include "client/tour.h"

#include "account/accountdevicemodel.h"
#include "account/accountmanager.h"
#include "base/privatefile.h"
#include "base/util.h"
#include "client/applock.h"
#include "client/clientaccount.h"
#include "client/clienterror.h"
#include "client/moveprogress.h"
#include "content/modelbaseutil.h"
#include "imlog/imlog.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QStandardPaths>

namespace
{

// The user's input.
const QString countryCode = QStringLiteral("1");
const QString smsCode = QStringLiteral("246810");
const QString passcode = QStringLiteral("2580");
const QByteArray note = QByteArrayLiteral("The spare key lies under the third flower pot.");

const QString noteKey = QStringLiteral("sample_client_note"); // among the account's settings
const QString noteKeyId = QStringLiteral("sample-note");      // of the secure key
constexpr int noteKeyVersion = 1;

constexpr int mediaFiles = 12;
constexpr int mediaSize = 4 << 20; // bytes
constexpr int ordinaryChats = 1;   // the source of media
constexpr int images = 2;          // their file type

QString describe(const ClientAccount *account)
{
    return account ? QStringLiteral("%1 (id %2)").arg(account->name()).arg(account->accountId())
                   : QStringLiteral("nobody");
}

QString native(const QString &path)
{
    return QDir::toNativeSeparators(path);
}

int fileCount(const QString &folder)
{
    int count = 0;
    for (QDirIterator file(folder, QDir::Files, QDirIterator::Subdirectories); file.hasNext();
         ++count)
        file.next();
    return count;
}

/// Makes some pictures, as if downloaded.
void makeMedia(const QString &folder)
{
    QRandomGenerator random(1);
    QList<quint32> noise(mediaSize / int(sizeof(quint32)));
    for (int i = 1; i <= mediaFiles; ++i) {
        random.fillRange(noise.data(), noise.size());
        QSaveFile file(folder + QStringLiteral("picture %1.jpg").arg(i));
        if (!Util::mkpath(folder) || !privatefile::open(file)
            || file.write(reinterpret_cast<const char *>(noise.constData()), mediaSize) != mediaSize
            || !file.commit())
            throw ClientError(BadData,
                              QStringLiteral("%1 cannot be written: %2.")
                                  .arg(native(file.fileName()), file.errorString()));
    }
}

} // namespace

Tour::Tour() : m_manager(AccountManager::getInstance()), m_out(stdout)
{
    connect(m_manager, &AccountManager::error, this,
            [this](int, const QString &text) { m_out << "  Problem: " << text << '\n'; });
}

void Tour::heading(const char *text)
{
    m_out << "\n-- " << text << '\n';
    m_out.flush();
}

ClientAccount *Tour::current() const
{
    return qobject_cast<ClientAccount *>(m_manager->currentAccount());
}

void Tour::firstStart()
{
    heading("Two people sign in");
    refusals();
    ClientAccount *mira = signIn(QStringLiteral("5550101"), smsCode);
    ClientAccount *jonas = signIn(QStringLiteral("5550102"), smsCode);
    switchAccounts(jonas, mira);
    lock();
    devices(mira);
    unread();
    move(mira);
    notebook();
    keepNote(mira);
    heading("One of them logs out");
    logOut(jonas, false);
    heading("And comes back to delete the account for good");
    logOut(signIn(QStringLiteral("5550102"), smsCode), true);
    m_out << '\n';
    m_out.flush();
}

/// Possible answers to a sign-in, and the texts for the user.
void Tour::refusals()
{
    auto *account = qobject_cast<ClientAccount *>(m_manager->loginAccount());
    const Reply locked = account->requestCode(countryCode, QStringLiteral("5550199"));
    m_out << "  +1 555 0199: " << locked.text() << '\n';
    const Reply wrong =
        account->signIn(countryCode, QStringLiteral("5550101"), QStringLiteral("000000"));
    m_out << "  +1 555 0101: " << wrong.text() << '\n';
}

ClientAccount *Tour::signIn(const QString &phone, const QString &code)
{
    // With nobody signed in there is a login account already; then this does nothing.
    m_manager->addAccount();
    auto *account = qobject_cast<ClientAccount *>(m_manager->loginAccount());
    Reply reply = account->requestCode(countryCode, phone);
    if (reply)
        reply = account->signIn(countryCode, phone, code);
    if (!reply)
        throw ClientError(BadData, reply.text());
    QCoreApplication::processEvents(); // the connection comes up
    m_out << "  " << describe(account) << " is signed in on device " << account->deviceId()
          << "; the server's time is "
          << QDateTime::fromMSecsSinceEpoch(account->serverTime(), Qt::UTC)
                 .toString(QStringLiteral("yyyy-MM-dd HH:mm"))
          << ".\n";
    return account;
}

void Tour::switchAccounts(ClientAccount *from, ClientAccount *to)
{
    heading("Switching between them");
    const auto veto = connect(m_manager, &AccountManager::beginChangeCurrentItem, this,
                              [this](int type, bool forced, QObject *, QObject *) {
                                  if (!forced)
                                      m_manager->setCurrentItemChangeable(type, false);
                              });
    m_manager->setCurrentAccount(to->accountId());
    m_out << "  A voice message is being recorded, so a listener vetoes: still "
          << describe(current()) << ".\n";
    disconnect(veto);
    m_manager->setCurrentAccount(to->accountId());
    m_out << "  It is sent: from " << describe(from) << " to " << describe(current()) << ".\n";
}

void Tour::lock()
{
    heading("A passcode");
    applock::setPasscode(passcode);
    applock::lock();
    m_out << "  Set, and the application is " << (applock::isLocked() ? "locked" : "NOT LOCKED")
          << '.';
    for (const QString &attempt : {QStringLiteral("1111"), passcode})
        m_out << ' ' << attempt
              << (applock::unlock(attempt) ? " unlocks it." : " does not unlock it.");
    m_out << '\n';
}

void Tour::devices(ClientAccount *account)
{
    heading("The devices of the account");
    if (const Reply reply = account->fetchDevices(); !reply) {
        m_out << "  " << reply.text() << '\n';
        return;
    }
    const AccountDeviceModel *model = account->deviceModel();
    const auto text = [](const QVariantMap &device, const char *key) {
        return device.value(QLatin1StringView(key)).toString();
    };
    m_out << "  This one: " << text(model->currentDevice(), "deviceModel") << ", "
          << text(model->currentDevice(), "os") << '\n';
    for (int row = 0; row < model->count(); ++row) {
        const QVariantMap device = model->index(row).data(AccountDeviceModel::DEVICE_ROLE).toMap();
        m_out << "  " << text(device, "deviceId") << ": " << text(device, "deviceModel") << ", "
              << text(device, "os")
              << (device.value(QStringLiteral("sealed")).toBool() ? ", sealed" : "") << '\n';
    }
    const int last = model->allOtherDeviceIds().constLast().toInt();
    const QString name = model->getDeviceModelName(last);
    const Reply unlinked = account->unlinkDevice(last);
    m_out << "  " << name << ": " << (unlinked ? QStringLiteral("unlinked.") : unlinked.text())
          << ' ' << model->count() << " others are left.\n";
    m_out << "  Reporting the focus: " << account->reportFocus(true).text() << '\n';
}

void Tour::unread()
{
    heading("Unread messages");
    m_out << "  ";
    for (int i = 0; i < m_manager->count(); ++i) {
        const auto *account = qobject_cast<ClientAccount *>(m_manager->getAccountByIndex(i));
        m_out << account->name() << ' ' << account->totalUnreadCount() << ", ";
    }
    m_out << "together " << m_manager->totalUnreadCount() << ".\n";
}

void Tour::move(ClientAccount *account)
{
    heading("Moving the media to another place");
    const QString to = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
        + QStringLiteral("-media");
    if (AppDirManager::instance()->cacheDataDir() == to) {
        m_out << "  They are in " << native(to) << " already.\n";
        return;
    }
    makeMedia(ModelBaseUtil::makeMediaPath(account->userCacheDataPath(), ordinaryChats, images));
    if (!Util::mkpath(to) || !m_manager->appDataMove()->moveTo(to))
        return; // the manager has said why
    if (showMove(m_manager->appDataMove(), m_out))
        m_out << "  " << fileCount(account->userCacheDataPath()) << " files lie in "
              << native(account->userCacheDataPath()) << " now.\n";
    else
        m_out << "  Not everything could be moved; the next start goes on.\n";
}

void Tour::notebook()
{
    heading("The hidden notebook");
    m_manager->unlockApp(false, true);
    const bool entered = m_manager->currentAccount() == m_manager->notebookAccount();
    m_out << "  " << (entered ? "Entered: no account of the list is shown. " : "NOT ENTERED. ");
    m_manager->unlockApp(false, false);
    m_out << "Left: " << describe(current()) << " is shown again.\n";
}

void Tour::keepNote(ClientAccount *account)
{
    heading("A note for the next start");
    QByteArray encrypted;
    account->encrypt(encrypted, note, noteKeyId, noteKeyVersion);
    account->accountSettingModel()->setValue(noteKey, encrypted, true);
    account->accountSettingModel()->setLeftTabWidth(96);
    m_out << "  " << note.size() << " bytes are kept as " << encrypted.size()
          << ", under a secure key of the account; its tabs are set to "
          << account->accountSettingModel()->leftTabWidth() << " px.\n";
}

void Tour::logOut(ClientAccount *account, bool forGood)
{
    const QString name = describe(account);
    const QString store = account->userStatusDataPath();
    if (forGood)
        account->deleteAccount();
    else
        m_manager->logout(account);
    m_out << "  " << name << (forGood ? " has deleted the account; " : " has logged out; ")
          << (QDir(store).exists() ? "SOMETHING IS LEFT HERE" : "nothing of it is left here")
          << ". " << describe(current()) << " stays, with " << m_manager->totalUnreadCount()
          << " unread messages.\n";
}

void Tour::laterStart()
{
    heading("Who was signed in is signed in again");
    if (AppDataMove *move = m_manager->appDataMove(); move->running()) {
        m_out << "  The move of the last start goes on:\n";
        showMove(move, m_out);
    }
    m_out << "  The application is " << (applock::isLocked() ? "locked" : "NOT LOCKED") << "; "
          << (applock::unlock(passcode) ? "the passcode unlocks it.\n"
                                        : "THE PASSCODE DOES NOT UNLOCK IT.\n");
    QCoreApplication::processEvents(); // the connections come up
    for (int i = 0; i < m_manager->count(); ++i) {
        auto *account = qobject_cast<ClientAccount *>(m_manager->getAccountByIndex(i));
        const AccountSettingModel *settings = account->accountSettingModel();
        m_out << "  " << describe(account) << ", +" << account->countryCode() << ' '
              << account->phone() << ", device " << account->deviceId() << ", unread "
              << account->totalUnreadCount() << ", tabs " << settings->leftTabWidth() << " px\n  "
              << fileCount(account->userCacheDataPath()) << " media files in "
              << native(account->userCacheDataPath()) << '\n';
        const std::string encrypted =
            settings->getValue(noteKey, QByteArray()).toByteArray().toStdString();
        QByteArray decrypted;
        if (encrypted.empty())
            continue;
        if (account->decrypt(decrypted, encrypted, noteKeyId, noteKeyVersion)
            && !decrypted.isEmpty())
            m_out << "  Its note: " << QString::fromUtf8(decrypted) << '\n';
        else
            m_out << "  ITS NOTE CANNOT BE READ: the log in "
                  << native(ImLog::instance()->directory()) << " says why.\n";
    }
    m_out << '\n';
    m_out.flush();
}
