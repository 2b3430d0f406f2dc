#pragma once

#include "content/contentitem.h"

#include <QByteArray>

/// An invitation to a meeting: what one needs to join it. calcSize() does not measure it: how an
/// invitation is shown is the view's.
///
/// Stored after the base keys as "key" (Base64) and "nonce".
class MODELBASE_EXPORT MeetingItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QByteArray key READ key WRITE setKey NOTIFY keyChanged)
    Q_PROPERTY(QString nonce READ nonce WRITE setNonce NOTIFY nonceChanged)

public:
    MeetingItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    MeetingItem(const im::content::Content &content, int source, AccountBase *account);
    MeetingItem(int source, AccountBase *account);
    explicit MeetingItem(const MeetingItem *other);

    /// The key that the meeting's media are encrypted with: raw bytes.
    const QByteArray &key() const { return m_key; }
    void setKey(const QByteArray &key);
    /// Goes with the key, as the protocol has it.
    const QString &nonce() const { return m_nonce; }
    void setNonce(const QString &nonce);

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    using ContentItem::setContent;
    void setContent(const im::content::Content &content) override;

Q_SIGNALS:
    void keyChanged();
    void nonceChanged();

private:
    template <typename>
    friend struct Fields;

    QByteArray m_key;
    QString m_nonce;
};
