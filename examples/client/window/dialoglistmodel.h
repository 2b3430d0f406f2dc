#pragma once

#include "client/window/clientdialog.h"

#include <QAbstractListModel>
#include <QSortFilterProxyModel>

/// The dialogs of an account, unsorted. The model owns them.
class DialogListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by its session")

public:
    enum Role { DialogRole = Qt::UserRole + 1 };

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void add(ClientDialog *dialog);
    ClientDialog *find(const QString &dialogId) const;
    const QList<ClientDialog *> &dialogs() const { return m_dialogs; }
    Q_INVOKABLE ClientDialog *dialog(const QString &dialogId) const { return find(dialogId); }

Q_SIGNALS:
    void dialogChanged(ClientDialog *dialog);

private:
    QList<ClientDialog *> m_dialogs;
    QHash<QString, ClientDialog *> m_byId;
};

/// The dialogs that a list shows: the archived ones or the others, those with a tag, those whose
/// name or preview contains a text; the latest first.
class DialogFilter : public QSortFilterProxyModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool archived MEMBER m_archived NOTIFY filterChanged)
    Q_PROPERTY(QString tag MEMBER m_tag NOTIFY filterChanged)
    Q_PROPERTY(QString search MEMBER m_search NOTIFY filterChanged)

public:
    explicit DialogFilter(QObject *parent = nullptr);

    /// The dialog at a row; null if there is none.
    Q_INVOKABLE ClientDialog *at(int row) const;

Q_SIGNALS:
    void filterChanged();

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override;
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    bool m_archived = false;
    QString m_tag;
    QString m_search;
};
