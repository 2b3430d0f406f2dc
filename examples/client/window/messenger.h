#pragma once

#include "client/window/session.h"

#include <QHash>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

/// The window's interface to the program: a session for each account, and signing in.
class Messenger : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(Session *session READ session NOTIFY sessionChanged)
    Q_PROPERTY(QStringList languages READ languages CONSTANT)

public:
    /// @param media the folder of the messages' files
    explicit Messenger(const QString &media, QObject *parent = nullptr);
    ~Messenger() override;

    static Messenger *create(QQmlEngine *, QJSEngine *);

    /// The current account's session; null while there is none.
    Session *session() const;
    Q_INVOKABLE Session *sessionOf(AccountBase *account) const;
    Q_INVOKABLE QString nameOf(AccountBase *account) const;
    QStringList languages() const;
    /// Passes a frame to all signed-in accounts.
    void receive(const Frame &frame);

    // For the user: empty, or an error text.
    Q_INVOKABLE QString requestCode(const QString &countryCode, const QString &phone);
    Q_INVOKABLE QString signIn(const QString &countryCode, const QString &phone,
                               const QString &code);

Q_SIGNALS:
    void sessionChanged();
    /// A message for the user.
    void told(const QString &text);
    void sent(const QString &dialogId, int messageId);
    /// Someone has signed in; their data on the server are yet to come.
    void signedIn();

private:
    void addSessions();
    void remove(AccountBase *account);
    ClientAccount *loginAccount();

    const QString m_media;
    QHash<AccountBase *, Session *> m_sessions;
};
