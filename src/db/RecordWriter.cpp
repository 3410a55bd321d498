#include "db/RecordWriter.h"

#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "db/SqlLiteral.h"
#include "db/ValueFit.h"

#include <QRegularExpression>
#include <algorithm>
#include <iterator>

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

QString RecordWriter::lossLine(const QString& what, const QString& table, const QString& key,
                               const QString& column, const QString& reason) {
    return what + QStringLiteral(": ") + table + QStringLiteral(", ") + key + QStringLiteral(", column ") +
           column + QStringLiteral(": ") + reason;
}

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

void RecordWriter::useDescription(const std::vector<ColumnInfo>& tableColumns) {
    m_error.clear();
    m_columns = tableColumns;
    m_refusedByServer.assign(m_columns.size(), false);
    trustReadOnlyOnlyWhenTold();
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

bool RecordWriter::serverFills(int column) const {
    const ColumnInfo& info = m_columns[static_cast<size_t>(column)];
    return info.rowVersion || info.computed || m_refusedByServer[static_cast<size_t>(column)];
}

QString RecordWriter::rowKey(const QString& name, const std::vector<QVariant>& values) const {
    if (!m_rowKey.isEmpty() || values.empty()) {
        return m_rowKey.isEmpty() ? QStringLiteral("a row") : m_rowKey;
    }
    const QVariant& first = values.front();
    return name + QStringLiteral(" = ") + (first.isNull() ? QStringLiteral("NULL") : first.toString());
}

void RecordWriter::leaveOut(PlannedRow& row, const QString& column, const QString& why) {
    countLost(row.outcome, notGivable);
    if (m_losses == nullptr || m_toldLeftOut.contains(column, Qt::CaseInsensitive)) {
        return;
    }
    m_toldLeftOut.append(column);
    m_losses->reportLoss(lossLine(QStringLiteral("Left out of every row"), m_table, row.key, column, why));
}

void RecordWriter::reportServerRefusal(const PlannedRow& row, const QString& column, const QString& error) {
    if (m_losses != nullptr) {
        // Counted here: a row refused inside a request of several rows is no failed statement.
        m_losses->reportLoss(lossLine(QStringLiteral("Refused by the server"), m_table, row.key,
                                      column.isEmpty() ? QStringLiteral("-") : column, error));
    }
}

RecordWriter::PlannedRow RecordWriter::planByPosition(const std::vector<QVariant>& values) {
    PlannedRow row;
    row.key = rowKey(m_columns.empty() ? QString() : m_columns.front().name, values);
    for (size_t index = 0; index < values.size(); ++index) {
        const int column = static_cast<int>(index);
        if (index < m_columns.size() && canGive(column)) {
            row.columns.push_back(column);
            row.values.push_back(values[index]);
        } else if (index >= m_columns.size()) {
            leaveOut(row, QStringLiteral("#%1").arg(index + 1),
                     QStringLiteral("the table has no column there"));
        } else if (serverFills(column)) {
            countLost(row.outcome, notGivable);
        } else {
            leaveOut(row, m_columns[index].name,
                     QStringLiteral("an identity column while IDENTITY_INSERT is off"));
        }
    }
    checkFit(row);
    return row;
}

RowWrite RecordWriter::addRow(const std::vector<QVariant>& values) {
    PlannedRow row = planByPosition(values);
    return complete(row, send(row.columns, row.values));
}

RowWrite RecordWriter::addRowByName(const QStringList& names, const std::vector<QVariant>& values) {
    PlannedRow row;
    row.key = rowKey(names.value(0), values);
    for (qsizetype position = 0; position < names.size() && static_cast<size_t>(position) < values.size();
         ++position) {
        int found = -1;
        for (size_t column = 0; column < m_columns.size() && found < 0; ++column) {
            if (m_columns[column].name.compare(names[position], Qt::CaseInsensitive) == 0) {
                found = static_cast<int>(column);
            }
        }
        if (found >= 0 && canGive(found)) {
            row.columns.push_back(found);
            row.values.push_back(values[static_cast<size_t>(position)]);
        } else if (found < 0) {
            leaveOut(row, names[position], QStringLiteral("the table has no column of that name"));
        } else if (serverFills(found)) {
            countLost(row.outcome, notGivable);
        } else {
            leaveOut(row, names[position], QStringLiteral("an identity column while IDENTITY_INSERT is off"));
        }
    }
    checkFit(row);
    if (m_wholeRowsOnly && row.outcome.errors > 0) {
        return row.outcome;
    }
    return complete(row, send(row.columns, row.values));
}

// Rows with the same fields go to the server several to a request, each still its own INSERT
// with its own outcome. A refused row is dealt with (sent again without a named field) once its
// request is answered; rows the server did not reach are sent again. What each row costs is
// what addRow would make it cost.
RowWrite RecordWriter::addRows(const std::vector<std::vector<QVariant>>& rows) {
    std::vector<PlannedRow> planned;
    planned.reserve(rows.size());
    for (const auto& values : rows) {
        planned.push_back(planByPosition(values));
    }
    RowWrite total;
    total.added = true;
    auto count = [&total](const RowWrite& row, size_t /*index*/) {
        total.added = total.added && row.added;
        total.errors += row.errors;
        total.lastError = row.errors > 0 ? row.lastError : total.lastError;
    };
    for (size_t start = 0; start < planned.size();) {
        size_t end = start + 1;
        while (end < planned.size() && planned[end].columns == planned[start].columns) {
            ++end;
        }
        std::vector<StatementOutcome> sent = sendMany(planned, start, end);
        for (size_t index = start; index < end; ++index) {
            const bool held = m_wholeRowsOnly && planned[index].outcome.errors > 0;
            count(held ? planned[index].outcome : complete(planned[index], std::move(sent[index - start])),
                  index);
        }
        start = end;
    }
    return total;
}

// One outcome per row of [start, end): the rows go in requests of several, and a row the
// server did not reach, or that cannot go with the others, is sent again or alone.
std::vector<StatementOutcome> RecordWriter::sendMany(const std::vector<PlannedRow>& planned, size_t start,
                                                     size_t end) {
    std::vector<StatementOutcome> outcomes;
    const std::vector<int>& columns = planned[start].columns;
    const int id = m_side.collectsChanges() ? 0 : preparedFor(columns).id;
    std::vector<std::vector<QVariant>> values;
    for (size_t index = start; index < end; ++index) {
        // Moves: a row that lost a field is not sent at all.
        if (m_wholeRowsOnly && planned[index].outcome.errors > 0) {
            continue;
        }
        values.push_back(planned[index].values);
    }
    std::vector<StatementOutcome> answered;
    for (size_t next = 0; next < values.size();) {
        std::vector<StatementOutcome> batch;
        if (id != 0) {
            batch = m_side.executePreparedRows(
                id, targetsOf(columns),
                std::vector<std::vector<QVariant>>(values.begin() + static_cast<std::ptrdiff_t>(next),
                                                   values.end()));
        }
        if (batch.empty()) {
            batch.push_back(send(columns, values[next]));
        }
        next += batch.size();
        std::move(batch.begin(), batch.end(), std::back_inserter(answered));
    }
    size_t taken = 0;
    for (size_t index = start; index < end; ++index) {
        const bool held = m_wholeRowsOnly && planned[index].outcome.errors > 0;
        outcomes.push_back(held ? StatementOutcome{} : std::move(answered[taken++]));
    }
    return outcomes;
}

// A value the column would change is refused, never rounded or cut.
void RecordWriter::checkFit(PlannedRow& row) {
    for (size_t field = row.values.size(); field-- > 0;) {
        const ColumnInfo& column = m_columns[static_cast<size_t>(row.columns[field])];
        const QString change = valueChangeIn(row.values[field], column);
        if (change.isEmpty()) {
            continue;
        }
        if (m_losses != nullptr) {
            m_losses->reportLoss(lossLine(QStringLiteral("Not written"), m_table, row.key, column.name,
                                          QStringLiteral("the value ") + change));
        }
        dropField(row, field);
        row.outcome.lastError = doesNotFit;
    }
}

void RecordWriter::dropField(PlannedRow& row, size_t field) {
    row.columns.erase(row.columns.begin() + static_cast<std::ptrdiff_t>(field));
    row.values.erase(row.values.begin() + static_cast<std::ptrdiff_t>(field));
    ++row.outcome.errors;
}

// Each lost field costs one error and the row goes on; a refusal that names one of the row's
// columns costs that field and the row is sent again without it; any other refusal costs the
// row (one error), as a failing Update did.
RowWrite RecordWriter::complete(PlannedRow& row, StatementOutcome sent) {
    for (;;) {
        if (sent.succeeded && m_wholeRowsOnly && !m_side.collectsChanges() && !wroteOneRow(sent)) {
            return unconfirmed(row);
        }
        if (sent.succeeded) {
            row.outcome.added = true;
            return row.outcome;
        }
        row.outcome.lastError = sent.errorDescription;
        const QString named = refusedColumn(sent.errorDescription);
        size_t field = 0;
        while (field < row.columns.size() && m_columns[static_cast<size_t>(row.columns[field])].name.compare(
                                                 named, Qt::CaseInsensitive) != 0) {
            ++field;
        }
        if (m_wholeRowsOnly || named.isEmpty() || field == row.columns.size() || sent.connectionLost ||
            sent.cancelled) {
            reportServerRefusal(row, named, sent.errorDescription);
            ++row.outcome.errors;
            return row.outcome;
        }
        reportServerRefusal(row, named, sent.errorDescription);
        learnFromRefusal(row.columns[field], sent.errorDescription);
        dropField(row, field);
        sent = send(row.columns, row.values);
    }
}

// A move deletes its original only after the INSERT said it wrote one row: a trigger that
// swallowed it, or a server that reports no counts (NOCOUNT), leaves the original in place.
bool RecordWriter::wroteOneRow(const StatementOutcome& sent) {
    return std::find(sent.rowCounts.begin(), sent.rowCounts.end(), 1) != sent.rowCounts.end();
}

RowWrite RecordWriter::unconfirmed(PlannedRow& row) {
    row.outcome.lastError =
        QStringLiteral("The INSERT did not report one row written; the row is not taken as moved.");
    ++row.outcome.errors;
    if (m_losses != nullptr) {
        m_losses->reportLoss(lossLine(QStringLiteral("Not known to be written"), m_table, row.key,
                                      QStringLiteral("-"), row.outcome.lastError));
    }
    return row.outcome;
}

// A column the server says can never be modified (a computed one the driver did not describe
// as such) is left out of every later row of the table too; it still costs its field each row.
void RecordWriter::learnFromRefusal(int column, const QString& errorText) {
    if (errorText.contains(QLatin1String("cannot be modified"), Qt::CaseInsensitive)) {
        m_refusedByServer[static_cast<size_t>(column)] = true;
    }
}

std::vector<ColumnInfo> RecordWriter::targetsOf(const std::vector<int>& columns) const {
    std::vector<ColumnInfo> targets;
    targets.reserve(columns.size());
    for (const int column : columns) {
        targets.push_back(m_columns[static_cast<size_t>(column)]);
    }
    return targets;
}

const RecordWriter::Prepared& RecordWriter::preparedFor(const std::vector<int>& columns) {
    auto prepared = m_prepared.find(columns);
    if (prepared == m_prepared.end()) {
        prepared =
            m_prepared.emplace(columns, Prepared{insertText(m_table, namesOf(targetsOf(columns))), 0}).first;
        prepared->second.id = m_side.prepare(prepared->second.text);
    }
    return prepared->second;
}

StatementOutcome RecordWriter::send(const std::vector<int>& columns, const std::vector<QVariant>& values) {
    const std::vector<ColumnInfo> targets = targetsOf(columns);
    // Script only: what is collected reads as the statement itself, values written out.
    if (m_side.collectsChanges() && m_side.withholds(literalInsert(targets, values))) {
        return StatementOutcome{};
    }
    const Prepared& prepared = preparedFor(columns);
    if (prepared.id == 0) {
        return m_side.executeWithParameters(prepared.text, targets, values);
    }
    return m_side.executePrepared(prepared.id, targets, values);
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
