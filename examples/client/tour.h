#pragma once

#include <QObject>
#include <QTextStream>

class AccountManager;
class ClientAccount;
class QString;

/// The sample's use of accounts, step by step, like a user who clicks through a client. Throws a
/// ClientError if it cannot continue.
class Tour : public QObject
{
public:
    Tour();

    /// The first start: signs in two people, and leaves one signed in.
    void firstStart();
    /// Every later one: shows what was kept.
    void laterStart();

private:
    void heading(const char *text);
    ClientAccount *signIn(const QString &phone, const QString &code);
    void refusals();
    void switchAccounts(ClientAccount *from, ClientAccount *to);
    void lock();
    void devices(ClientAccount *account);
    void unread();
    void move(ClientAccount *account);
    void notebook();
    void keepNote(ClientAccount *account);
    void logOut(ClientAccount *account, bool forGood);
    ClientAccount *current() const;

    AccountManager *const m_manager;
    QTextStream m_out;
};
