#include "listmodel.h"

ListModel::ListModel(QByteArrayList roles, Count count, Value value, QObject *parent)
    : QAbstractListModel(parent), m_roles(std::move(roles)), m_count(std::move(count)),
      m_value(std::move(value)), m_rows(std::max(0, m_count()))
{}

int ListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

QVariant ListModel::data(const QModelIndex &index, int role) const
{
    const int roleIndex = role == Qt::DisplayRole ? 0 : role - Qt::UserRole - 1;
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) ||
        roleIndex < 0 || roleIndex >= m_roles.size())
        return QVariant();
    return m_value(index.row(), m_roles.at(roleIndex));
}

QHash<int, QByteArray> ListModel::roleNames() const
{
    QHash<int, QByteArray> names;
    for (qsizetype i = 0; i < m_roles.size(); ++i)
        names.insert(Qt::UserRole + 1 + int(i), m_roles.at(i));
    return names;
}

void ListModel::reload()
{
    const int before = m_rows;
    beginResetModel();
    m_rows = std::max(0, m_count());
    endResetModel();
    if (m_rows != before)
        emit countChanged();
}

void ListModel::rowChanged(int row)
{
    if (row >= 0 && row < m_rows)
        emit dataChanged(index(row), index(row));
}
