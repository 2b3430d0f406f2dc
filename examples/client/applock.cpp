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
// The record of an attempt: where, how, and whether it succeeded.
constexpr int lockScreen = 0;
constexpr int byPasscode = 0;

/// "<salt>:<digest>", both in hexadecimal.
QString digest(const QString &passcode, const QByteArray &salt)
{
    const QByteArray key = QPasswordDigestor::deriveKeyPbkdf2(
        QCryptographicHash::Sha256, passcode.toUtf8(), salt, iterations, digestSize);
    return QString::fromLatin1(salt.toHex() + ':' + key.toHex());
}

QString stored(applock::Opens opens)
{
    const AppSettingModel *settings = AppSettingModel::instance();
    switch (opens) {
    case applock::Opens::Accounts:
        return settings->passcode();
    case applock::Opens::Notebook:
        return settings->incognitoPassword();
    case applock::Opens::Destruction:
        return settings->destructionPasscode();
    }
    return {};
}

bool isRight(const QString &passcode, const QString &digested)
{
    const QByteArray salt = QByteArray::fromHex(digested.section(u':', 0, 0).toLatin1());
    return !digested.isEmpty() && digest(passcode, salt) == digested;
}

} // namespace

void applock::setPasscode(const QString &passcode, Opens opens)
{
    QByteArray salt(16, Qt::Uninitialized);
    QRandomGenerator::system()->generate(salt.begin(), salt.end());
    const QString digested = passcode.isEmpty() ? QString() : digest(passcode, salt);
    AppSettingModel *settings = AppSettingModel::instance();
    switch (opens) {
    case Opens::Accounts:
        return settings->setPasscode(digested);
    case Opens::Notebook:
        return settings->setIncognitoPassword(digested);
    case Opens::Destruction:
        return settings->setDestructionPasscode(digested);
    }
}

bool applock::hasPasscode(Opens opens)
{
    return !stored(opens).isEmpty();
}

void applock::lock()
{
    if (hasPasscode())
        QCoreApplication::instance()->setProperty("appLocked", true);
}

bool applock::isLocked()
{
    return QCoreApplication::instance()->property("appLocked").toBool();
}

std::optional<applock::Opens> applock::unlock(const QString &passcode)
{
    AccountManager *manager = AccountManager::getInstance();
    std::optional<Opens> opens;
    if (!hasPasscode())
        opens = Opens::Accounts;
    for (const Opens way : {Opens::Accounts, Opens::Notebook, Opens::Destruction}) {
        if (!opens && isRight(passcode, stored(way)))
            opens = way;
    }
    manager->recordScreenLockLog(lockScreen, byPasscode, opens ? 0 : 1);
    if (opens)
        manager->unlockApp(*opens == Opens::Destruction, *opens == Opens::Notebook);
    return opens;
}
