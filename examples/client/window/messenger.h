#pragma once

#include "client/window/session.h"

#include <QHash>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

/// What the window asks of the program: a session for each account, and signing in.
class Messenger : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(Session *session READ session NOTIFY sessionChanged)
    Q_PROPERTY(QStringList languages READ languages CONSTANT)

public:
    /// @param media the folder of the files that messages carry
    explicit Messenger(const QString &media, QObject *parent = nullptr);
    ~Messenger() override;

    static Messenger *create(QQmlEngine *, QJSEngine *);

    /// Of the current account; null while there is none.
    Session *session() const;
    Q_INVOKABLE Session *sessionOf(AccountBase *account) const;
    Q_INVOKABLE QString nameOf(AccountBase *account) const;
    QStringList languages() const;
    /// To all who are signed in.
    void receive(const Frame &frame);

    // For people: empty, or what went wrong.
    Q_INVOKABLE QString requestCode(const QString &countryCode, const QString &phone);
    Q_INVOKABLE QString signIn(const QString &countryCode, const QString &phone,
                               const QString &code);

Q_SIGNALS:
    void sessionChanged();
    /// Something that the user should know.
    void told(const QString &text);
    void sent(const QString &dialogId, int messageId);
    /// Somebody: what the server has for them is still to come.
    void signedIn();

private:
    void addSessions();
    void remove(AccountBase *account);
    ClientAccount *loginAccount();

    const QString m_media;
    QHash<AccountBase *, Session *> m_sessions;
};
