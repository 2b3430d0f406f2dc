#include "client/applock.h"

#include "account/accountmanager.h"
#include "settings/appsettingmodel.h"

#include <QCoreApplication>
#include <QPasswordDigestor>
#include <QRandomGenerator>

namespace
{

constexpr int iterations = 100'000;
constexpr int digestSize = 32; // bytes
// What is recorded of an attempt: where, how, and whether it succeeded.
constexpr int lockScreen = 0;
constexpr int byPasscode = 0;

/// "<salt>:<digest>", both in hexadecimal.
QString digest(const QString &passcode, const QByteArray &salt)
{
    const QByteArray key = QPasswordDigestor::deriveKeyPbkdf2(
        QCryptographicHash::Sha256, passcode.toUtf8(), salt, iterations, digestSize);
    return QString::fromLatin1(salt.toHex() + ':' + key.toHex());
}

} // namespace

void applock::setPasscode(const QString &passcode)
{
    QByteArray salt(16, Qt::Uninitialized);
    QRandomGenerator::system()->generate(salt.begin(), salt.end());
    AppSettingModel::instance()->setPasscode(passcode.isEmpty() ? QString()
                                                                : digest(passcode, salt));
}

void applock::lock()
{
    if (!AppSettingModel::instance()->passcode().isEmpty())
        QCoreApplication::instance()->setProperty("appLocked", true);
}

bool applock::isLocked()
{
    return QCoreApplication::instance()->property("appLocked").toBool();
}

bool applock::unlock(const QString &passcode)
{
    const QString stored = AppSettingModel::instance()->passcode();
    const QByteArray salt = QByteArray::fromHex(stored.section(u':', 0, 0).toLatin1());
    const bool right = stored.isEmpty() || digest(passcode, salt) == stored;
    AccountManager *manager = AccountManager::getInstance();
    manager->recordScreenLockLog(lockScreen, byPasscode, right ? 0 : 1);
    if (right)
        manager->unlockApp(false, false);
    return right;
}
