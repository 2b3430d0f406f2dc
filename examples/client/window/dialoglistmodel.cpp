#include "client/window/dialoglistmodel.h"

namespace
{

ClientDialog *dialogOf(const QModelIndex &index)
{
    return index.data(DialogListModel::DialogRole).value<ClientDialog *>();
}

} // namespace

int DialogListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_dialogs.size());
}

QVariant DialogListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    ClientDialog *dialog = m_dialogs.at(index.row());
    switch (role) {
    case DialogRole:
        return QVariant::fromValue(dialog);
    case Qt::DisplayRole:
        return dialog->name();
    default:
        return {};
    }
}

QHash<int, QByteArray> DialogListModel::roleNames() const
{
    return {{DialogRole, "dialog"}};
}

void DialogListModel::add(ClientDialog *dialog)
{
    const int row = int(m_dialogs.size());
    beginInsertRows({}, row, row);
    m_dialogs.append(dialog);
    m_byId.insert(dialog->dialogId(), dialog);
    endInsertRows();
    // A dialog stays in its row, so the row number can be captured.
    const auto notify = [this, dialog, row] {
        Q_EMIT dataChanged(index(row), index(row));
        Q_EMIT dialogChanged(dialog);
    };
    connect(dialog, &ClientDialog::changed, this, notify);
    connect(dialog, &DialogBase::nameChanged, this, notify);
}

ClientDialog *DialogListModel::find(const QString &dialogId) const
{
    return m_byId.value(dialogId);
}

DialogFilter::DialogFilter(QObject *parent) : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
    sort(0);
    connect(this, &DialogFilter::filterChanged, this, [this] { invalidateFilter(); });
}

ClientDialog *DialogFilter::at(int row) const
{
    return dialogOf(index(row, 0));
}

bool DialogFilter::filterAcceptsRow(int row, const QModelIndex &parent) const
{
    const ClientDialog *dialog = dialogOf(sourceModel()->index(row, 0, parent));
    return dialog->archived() == m_archived && (m_tag.isEmpty() || dialog->tagIds().contains(m_tag))
        && (m_search.isEmpty() || dialog->name().contains(m_search, Qt::CaseInsensitive)
            || dialog->preview().contains(m_search, Qt::CaseInsensitive));
}

bool DialogFilter::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    return dialogOf(left)->sortTime() > dialogOf(right)->sortTime();
}
