#include "db/ResultTableModel.h"

#include "db/SqlLiteral.h"

#include <QDateTime>
#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

ResultTableModel::ResultTableModel(QObject* parent) : QAbstractTableModel(parent) {}

ResultTableModel::ResultTableModel(std::shared_ptr<const ResultTable> table, QObject* parent)
    : QAbstractTableModel(parent), m_table(std::move(table)) {}

void ResultTableModel::setTable(std::shared_ptr<const ResultTable> table) {
    beginResetModel();
    m_table = std::move(table);
    endResetModel();
}

int ResultTableModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || !m_table) {
        return 0;
    }
    return static_cast<int>(m_table->rows.size());
}

int ResultTableModel::columnCount(const QModelIndex& parent) const {
    if (parent.isValid() || !m_table) {
        return 0;
    }
    return static_cast<int>(m_table->columns.size());
}

QVariant ResultTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !m_table || (role != Qt::DisplayRole && role != Qt::EditRole)) {
        return {};
    }
    const auto& row = m_table->rows.at(static_cast<size_t>(index.row()));
    const QVariant& value = row.at(static_cast<size_t>(index.column()));
    return role == Qt::EditRole ? value : QVariant(displayText(value));
}

QVariant ResultTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) {
        return {};
    }
    if (orientation == Qt::Vertical) {
        return section + 1;
    }
    if (!m_table || section < 0 || section >= static_cast<int>(m_table->columns.size())) {
        return {};
    }
    return m_table->columns[static_cast<size_t>(section)].name;
}

QString ResultTableModel::displayText(const QVariant& value) {
    if (!value.isValid() || value.isNull()) {
        return {};
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 15);
    case QMetaType::QDateTime: {
        const QDateTime moment = value.toDateTime();
        return moment.toString(moment.time().msec() == 0 ? QStringLiteral("yyyy-MM-dd HH:mm:ss")
                                                         : QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    }
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    case QMetaType::QTime: {
        const QTime time = value.toTime();
        return time.toString(time.msec() == 0 ? QStringLiteral("HH:mm:ss") : QStringLiteral("HH:mm:ss.zzz"));
    }
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    default:
        return value.toString();
    }
}

bool ResultTableModel::holdsNumbers(const ColumnInfo& column) {
    // A bit is a yes or no, not an amount to line up.
    return column.sqlType != SQL_BIT && isNumericType(column.sqlType);
}

} // namespace qormin::db
