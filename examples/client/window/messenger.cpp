#include "client/window/messenger.h"

#include "account/accountmanager.h"
#include "client/clienterror.h"

#include <QCoreApplication>
#include <QQmlEngine>

namespace
{

Messenger *instance = nullptr;

} // namespace

Messenger::Messenger(const QString &media, QObject *parent) : QObject(parent), m_media(media)
{
    Q_ASSERT(!instance);
    instance = this;
    AccountManager *manager = AccountManager::getInstance();
    connect(manager, &AccountManager::countChanged, this, &Messenger::addSessions);
    connect(manager, &AccountManager::currentAccountChanged, this, &Messenger::sessionChanged);
    connect(manager, &AccountManager::error, this,
            [this](int, const QString &text) { Q_EMIT told(text); });
    addSessions();
}

Messenger::~Messenger()
{
    qDeleteAll(m_sessions);
    instance = nullptr;
}

Messenger *Messenger::create(QQmlEngine *, QJSEngine *)
{
    QJSEngine::setObjectOwnership(instance, QJSEngine::CppOwnership);
    return instance;
}

Session *Messenger::session() const
{
    return sessionOf(AccountManager::getInstance()->currentAccount());
}

Session *Messenger::sessionOf(AccountBase *account) const
{
    return m_sessions.value(account);
}

QString Messenger::nameOf(AccountBase *account) const
{
    const auto *own = qobject_cast<ClientAccount *>(account);
    return own ? own->name() : QString();
}

QStringList Messenger::languages() const
{
    return QCoreApplication::instance()->property("availableLanguages").toStringList();
}

void Messenger::addSessions()
{
    AccountManager *manager = AccountManager::getInstance();
    for (int i = 0; i < manager->count(); ++i) {
        auto *account = qobject_cast<ClientAccount *>(manager->getAccountByIndex(i));
        if (!account || m_sessions.contains(account))
            continue;
        try {
            auto *session = new Session(account, m_media);
            m_sessions.insert(account, session);
            connect(session, &Session::sent, this, &Messenger::sent);
        } catch (const ClientError &error) {
            Q_EMIT told(QString::fromUtf8(error.what()));
            continue;
        }
        // Close the store before the files of an account that logs out are removed.
        connect(account, &AccountBase::authorizedChanged, this, [this, account] {
            if (!account->authorized())
                remove(account);
        });
        connect(account, &QObject::destroyed, this, [this, account] { remove(account); });
    }
    Q_EMIT sessionChanged();
}

void Messenger::remove(AccountBase *account)
{
    Session *session = m_sessions.take(account);
    Q_EMIT sessionChanged();
    // Destroy the views of its dialogs first; their deletion is already queued.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    delete session;
}

void Messenger::receive(const Frame &frame)
{
    for (Session *session : std::as_const(m_sessions))
        session->receive(frame);
}

ClientAccount *Messenger::loginAccount()
{
    AccountManager *manager = AccountManager::getInstance();
    if (!manager->loginAccount())
        manager->addAccount(); // reports failure by AccountManager::error
    return qobject_cast<ClientAccount *>(manager->loginAccount());
}

QString Messenger::requestCode(const QString &countryCode, const QString &phone)
{
    ClientAccount *account = loginAccount();
    const Reply reply = account ? account->requestCode(countryCode, phone) : Reply();
    return reply ? QString() : reply.text();
}

QString Messenger::signIn(const QString &countryCode, const QString &phone, const QString &code)
{
    ClientAccount *account = loginAccount();
    const Reply reply = account ? account->signIn(countryCode, phone, code) : Reply();
    if (account && reply)
        Q_EMIT signedIn();
    return reply ? QString() : reply.text();
}
