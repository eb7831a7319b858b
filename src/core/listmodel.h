#pragma once

#include <QAbstractListModel>
#include <QByteArrayList>

#include <functional>

// A list a screen shows, as a model with named roles. The controller that owns it says how many
// rows it has and what each role of a row holds; it calls reload() when its rows changed and
// rowChanged() when one row did. Views (QML ListView, tests) bind to the roles by name.
class ListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    using Count = std::function<int()>;
    using Value = std::function<QVariant(int row, const QByteArray &role)>;

    ListModel(QByteArrayList roles, Count count, Value value, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return m_rows; }

    // The owner's rows changed: every view reads them again.
    void reload();
    void rowChanged(int row);

signals:
    void countChanged();

private:
    const QByteArrayList m_roles;
    const Count m_count;
    const Value m_value;
    int m_rows = 0;
};
