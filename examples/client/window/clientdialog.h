#pragma once

#include "client/messagestore.h"
#include "dialog/dialogbase.h"

class Session;

/// The dialog of this application: DialogBase leaves open where its name comes from, and how
/// changes are stored.
class ClientDialog : public DialogBase
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by its session")
    Q_PROPERTY(QString preview READ preview NOTIFY previewChanged)
    Q_PROPERTY(QString typing READ typing NOTIFY typingChanged)

public:
    ClientDialog(Session *session, const KeptDialog &kept);

    AccountBase *account() const override;
    QString name() const override;
    void jumpToMessage(qint64 msgId, MessageModelBase *msgModel) override;
    void mentionsConfirmed(const QList<qint64> &msgIds, bool all) override;
    void reactionsConfirmed(const QList<qint64> &msgIds, bool all) override;
    void dialogChanged() override { Q_EMIT changed(); }

    KeptDialog kept() const;
    /// The last message, in a line.
    const QString &preview() const { return m_preview; }
    void setPreview(const QString &preview);
    /// Who is typing; empty when no one is.
    const QString &typing() const { return m_typing; }
    void setTyping(const QString &typing);

    Q_INVOKABLE void toggleMute() { setMute(!mute()); }
    Q_INVOKABLE void toggleTag(const QString &tag);

Q_SIGNALS:
    void previewChanged();
    void typingChanged();
    /// A stored value has changed, or one that a list shows.
    void changed();

private:
    Session *const m_session;
    QString m_preview;
    QString m_typing;
};
