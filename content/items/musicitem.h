#pragma once

#include "content/items/fileitem.h"

/// A piece of music.
///
/// The stored map has "duration" after the keys of FileItem, and "title" and "author" where they
/// are not empty.
class MODELBASE_EXPORT MusicItem : public FileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString author READ author WRITE setAuthor NOTIFY authorChanged)

public:
    MusicItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    MusicItem(const im::content::Content &content, int source, AccountBase *account);
    MusicItem(int source, AccountBase *account);
    explicit MusicItem(const MusicItem *other);

    /// Seconds.
    qint32 duration() const { return m_duration; }
    void setDuration(qint32 duration);
    const QString &title() const { return m_title; }
    void setTitle(const QString &title);
    const QString &author() const { return m_author; }
    void setAuthor(const QString &author);

    /// Takes title and author from the file on this device, and, where it was downloaded and the
    /// item has no thumbnail's record yet or its cover has gone from this device, the cover as the
    /// thumbnail: a record that stays on this device, with the id "M" and that of the audio file
    /// where it has one.
    /// Does nothing without an account (which has the file provider) or without a file.
    ///
    /// The work is done on the thread pool (ThreadManager::run()), what it finds is taken over on
    /// the item's thread, unless the item is gone by then. Nothing but the change signals tells of
    /// it.
    Q_INVOKABLE void audioInfo();

    /// A row with the cover, and title and author beside it.
    QSize mediaSize(int maxWidth, bool inThread) const override;

    using FileItem::serialize;
    using FileItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    QString getKeyword() const override;

Q_SIGNALS:
    void durationChanged();
    void titleChanged();
    void authorChanged();

protected:
    QVariantList measured() const override;

private:
    template <typename>
    friend struct Fields;

    QStringList rowTexts() const { return {m_title.isEmpty() ? name() : m_title, m_author}; }
    void useCover(const QString &path);

    qint32 m_duration = 0;
    QString m_title;
    QString m_author;
};
