#include "db/RecordWriter.h"

#include "db/SideConnection.h"
#include "db/SqlLiteral.h"

namespace qormin::db {

RecordWriter::RecordWriter(SideConnection& side, const QString& table) : m_side(side), m_table(table) {}

bool RecordWriter::open() {
    m_error.clear();
    m_columns.clear();
    const StatementOutcome outcome =
        m_side.execute(QStringLiteral("SELECT TOP 1 * FROM ") + m_table, ResultRetention::FirstResultSet);
    if (!outcome.succeeded) {
        m_error = outcome.errorDescription;
        return false;
    }
    if (outcome.resultSets.empty()) {
        m_error = QStringLiteral("Operation is not allowed when the object is closed.");
        return false;
    }
    m_columns = outcome.resultSets.front().columns;
    return true;
}

namespace {

QString insertWithValues(const QString& table, const QStringList& columnNames,
                         const QStringList& valueTexts) {
    QStringList names;
    for (const QString& name : columnNames) {
        names.append(quotedName(name));
    }
    return QStringLiteral("INSERT INTO ") + table + QStringLiteral(" (") + names.join(QStringLiteral(", ")) +
           QStringLiteral(") VALUES (") + valueTexts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

} // namespace

QString RecordWriter::insertText(const QString& table, const QStringList& columnNames) {
    QStringList markers;
    for (qsizetype index = 0; index < columnNames.size(); ++index) {
        markers.append(QStringLiteral("?"));
    }
    return insertWithValues(table, columnNames, markers);
}

bool RecordWriter::addRow(const std::vector<QVariant>& values, QString* error) {
    if (values.size() > m_columns.size()) {
        if (error != nullptr) {
            *error = QStringLiteral(
                "Item cannot be found in the collection corresponding to the requested name or "
                "ordinal.");
        }
        return false;
    }
    std::vector<int> indexes;
    for (size_t index = 0; index < values.size(); ++index) {
        indexes.push_back(static_cast<int>(index));
    }
    return insert(indexes, values, error);
}

bool RecordWriter::addRowByName(const QStringList& names, const std::vector<QVariant>& values,
                                QString* error) {
    std::vector<int> indexes;
    std::vector<QVariant> kept;
    for (qsizetype position = 0; position < names.size() && static_cast<size_t>(position) < values.size();
         ++position) {
        for (size_t column = 0; column < m_columns.size(); ++column) {
            if (m_columns[column].name.compare(names[position], Qt::CaseInsensitive) == 0 &&
                !m_columns[column].autoIncrement) {
                indexes.push_back(static_cast<int>(column));
                kept.push_back(values[static_cast<size_t>(position)]);
                break;
            }
        }
    }
    return insert(indexes, kept, error);
}

bool RecordWriter::insert(const std::vector<int>& columnIndexes, const std::vector<QVariant>& values,
                          QString* error) {
    QStringList names;
    QStringList literals;
    std::vector<ColumnInfo> targets;
    for (size_t index = 0; index < columnIndexes.size(); ++index) {
        const ColumnInfo& column = m_columns[static_cast<size_t>(columnIndexes[index])];
        names.append(column.name);
        targets.push_back(column);
        literals.append(sqlLiteral(values[index], column));
    }
    // Script only: what is collected reads as the statement itself, values written out.
    if (m_side.withholds(insertWithValues(m_table, names, literals))) {
        return true;
    }
    const StatementOutcome outcome =
        m_side.executeWithParameters(insertText(m_table, names), targets, values);
    if (outcome.succeeded) {
        return true;
    }
    if (error != nullptr) {
        *error = outcome.errorDescription;
    }
    return false;
}

} // namespace qormin::db
