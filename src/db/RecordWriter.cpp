#include "db/RecordWriter.h"

#include "db/SideConnection.h"
#include "db/SqlLiteral.h"
#include "db/ValueFit.h"

#include <QRegularExpression>
#include <algorithm>

namespace qormin::db {

namespace {

const QString notGivable = QStringLiteral("Field cannot be updated.");
const QString doesNotFit =
    QStringLiteral("Multiple-step operation generated errors. Check each status value.");

// A row with no field left still goes in, as an Update with no field assigned did.
QString insertWithValues(const QString& table, const QStringList& columnNames,
                         const QStringList& valueTexts) {
    if (columnNames.isEmpty()) {
        return QStringLiteral("INSERT INTO ") + table + QStringLiteral(" DEFAULT VALUES");
    }
    QStringList names;
    for (const QString& name : columnNames) {
        names.append(quotedName(name));
    }
    return QStringLiteral("INSERT INTO ") + table + QStringLiteral(" (") + names.join(QStringLiteral(", ")) +
           QStringLiteral(") VALUES (") + valueTexts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

QStringList namesOf(const std::vector<ColumnInfo>& columns) {
    QStringList names;
    for (const ColumnInfo& column : columns) {
        names.append(column.name);
    }
    return names;
}

void countLost(RowWrite& outcome, const QString& reason) {
    ++outcome.errors;
    outcome.lastError = reason;
}

} // namespace

RecordWriter::RecordWriter(SideConnection& side, const QString& table) : m_side(side), m_table(table) {}

RecordWriter::~RecordWriter() {
    for (const auto& [columns, prepared] : m_prepared) {
        if (prepared.id != 0) {
            m_side.unprepare(prepared.id);
        }
    }
}

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
    m_refusedByServer.assign(m_columns.size(), false);
    trustReadOnlyOnlyWhenTold();
    return true;
}

// Computed columns are known by being described read-only. A server that describes every
// column of the table read-only says nothing about them, so then the refusal decides.
void RecordWriter::trustReadOnlyOnlyWhenTold() {
    const bool anyWritable = std::any_of(m_columns.begin(), m_columns.end(), [](const ColumnInfo& column) {
        return !column.computed && !column.rowVersion && !column.autoIncrement;
    });
    if (anyWritable) {
        return;
    }
    for (ColumnInfo& column : m_columns) {
        column.computed = false;
    }
}

void RecordWriter::useShapeOf(const std::vector<ColumnInfo>& sourceColumns) {
    m_error.clear();
    m_columns = sourceColumns;
    for (ColumnInfo& column : m_columns) {
        column.computed = false;
    }
    m_refusedByServer.assign(m_columns.size(), false);
}

QString RecordWriter::insertText(const QString& table, const QStringList& columnNames) {
    QStringList markers;
    for (qsizetype index = 0; index < columnNames.size(); ++index) {
        markers.append(QStringLiteral("?"));
    }
    return insertWithValues(table, columnNames, markers);
}

QString RecordWriter::refusedColumn(const QString& errorText) {
    static const QRegularExpression named(QStringLiteral(R"(\bcolumn ['"]([^'"]+)['"])"),
                                          QRegularExpression::CaseInsensitiveOption);
    return named.match(errorText).captured(1);
}

bool RecordWriter::canGive(int column) const {
    const ColumnInfo& info = m_columns[static_cast<size_t>(column)];
    return !info.rowVersion && !info.computed && !m_refusedByServer[static_cast<size_t>(column)] &&
           (!info.autoIncrement || m_identityInsert);
}

RowWrite RecordWriter::addRow(const std::vector<QVariant>& values) {
    std::vector<int> columns;
    std::vector<QVariant> given;
    int lost = 0;
    for (size_t index = 0; index < values.size(); ++index) {
        if (index < m_columns.size() && canGive(static_cast<int>(index))) {
            columns.push_back(static_cast<int>(index));
            given.push_back(values[index]);
        } else {
            ++lost;
        }
    }
    return insert(std::move(columns), std::move(given), lost);
}

RowWrite RecordWriter::addRowByName(const QStringList& names, const std::vector<QVariant>& values) {
    std::vector<int> columns;
    std::vector<QVariant> given;
    int lost = 0;
    for (qsizetype position = 0; position < names.size() && static_cast<size_t>(position) < values.size();
         ++position) {
        int found = -1;
        for (size_t column = 0; column < m_columns.size() && found < 0; ++column) {
            if (m_columns[column].name.compare(names[position], Qt::CaseInsensitive) == 0) {
                found = static_cast<int>(column);
            }
        }
        if (found >= 0 && canGive(found)) {
            columns.push_back(found);
            given.push_back(values[static_cast<size_t>(position)]);
        } else {
            ++lost;
        }
    }
    return insert(std::move(columns), std::move(given), lost);
}

void RecordWriter::dropField(std::vector<int>& columns, std::vector<QVariant>& values, size_t field,
                             RowWrite& outcome) {
    columns.erase(columns.begin() + static_cast<std::ptrdiff_t>(field));
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(field));
    ++outcome.errors;
}

// Each lost field costs one error and the row goes on; a refusal that names one of the row's
// columns costs that field and the row is sent again without it; any other refusal costs the
// row (one error), as a failing Update did.
RowWrite RecordWriter::insert(std::vector<int> columns, std::vector<QVariant> values, int lostFields) {
    RowWrite outcome;
    for (int lost = 0; lost < lostFields; ++lost) {
        countLost(outcome, notGivable);
    }
    for (size_t field = values.size(); field-- > 0;) {
        if (!valueFitsColumn(values[field], m_columns[static_cast<size_t>(columns[field])])) {
            dropField(columns, values, field, outcome);
            outcome.lastError = doesNotFit;
        }
    }
    for (;;) {
        const StatementOutcome sent = send(columns, values);
        if (sent.succeeded) {
            outcome.added = true;
            return outcome;
        }
        outcome.lastError = sent.errorDescription;
        const QString named = refusedColumn(sent.errorDescription);
        size_t field = 0;
        while (field < columns.size() &&
               m_columns[static_cast<size_t>(columns[field])].name.compare(named, Qt::CaseInsensitive) != 0) {
            ++field;
        }
        if (named.isEmpty() || field == columns.size() || sent.connectionLost || sent.cancelled) {
            ++outcome.errors;
            return outcome;
        }
        learnFromRefusal(columns[field], sent.errorDescription);
        dropField(columns, values, field, outcome);
    }
}

// A column the server says can never be modified (a computed one the driver did not describe
// as such) is left out of every later row of the table too; it still costs its field each row.
void RecordWriter::learnFromRefusal(int column, const QString& errorText) {
    if (errorText.contains(QLatin1String("cannot be modified"), Qt::CaseInsensitive)) {
        m_refusedByServer[static_cast<size_t>(column)] = true;
    }
}

StatementOutcome RecordWriter::send(const std::vector<int>& columns, const std::vector<QVariant>& values) {
    std::vector<ColumnInfo> targets;
    targets.reserve(columns.size());
    for (const int column : columns) {
        targets.push_back(m_columns[static_cast<size_t>(column)]);
    }
    // Script only: what is collected reads as the statement itself, values written out.
    if (m_side.collectsChanges() && m_side.withholds(literalInsert(targets, values))) {
        return StatementOutcome{};
    }
    auto prepared = m_prepared.find(columns);
    if (prepared == m_prepared.end()) {
        prepared = m_prepared.emplace(columns, Prepared{insertText(m_table, namesOf(targets)), 0}).first;
        prepared->second.id = m_side.prepare(prepared->second.text);
    }
    if (prepared->second.id == 0) {
        return m_side.executeWithParameters(prepared->second.text, targets, values);
    }
    return m_side.executePrepared(prepared->second.id, targets, values);
}

QString RecordWriter::literalInsert(const std::vector<ColumnInfo>& targets,
                                    const std::vector<QVariant>& values) const {
    QStringList literals;
    for (size_t index = 0; index < targets.size(); ++index) {
        literals.append(sqlLiteral(values[index], targets[index]));
    }
    return insertWithValues(m_table, namesOf(targets), literals);
}

} // namespace qormin::db
