#include "db/RecordReader.h"

#include "db/SideConnection.h"
#include "db/SqlLiteral.h"
#include "db/ValueFit.h"

namespace qormin::db {

namespace {

const QString lineBreak = QStringLiteral("\r\n");
const std::vector<QVariant> noRow;

bool isQuery(const QString& source) {
    const QString text = source.trimmed();
    return text.startsWith(QLatin1String("select"), Qt::CaseInsensitive) ||
           text.startsWith(QLatin1String("with"), Qt::CaseInsensitive) || text.contains(QLatin1Char(' '));
}

} // namespace

RecordReader::RecordReader(SideConnection& side, const QString& source, Mode mode, int chunkSize,
                           const QString& updateTable)
    : m_side(side), m_source(source), m_mode(mode),
      m_chunkSize(mode == Mode::Updatable ? 1 : std::max(chunkSize, 1)),
      m_updateTable(updateTable.isEmpty() && !isQuery(source) ? source.trimmed() : updateTable) {}

RecordReader::~RecordReader() {
    close();
}

QString RecordReader::selectText(const QString& source) {
    return isQuery(source) ? source : QStringLiteral("SELECT * FROM ") + source.trimmed();
}

QString RecordReader::openText(const QString& cursor, const QString& select, Mode mode) {
    const QString options = mode == Mode::Updatable
                                ? QStringLiteral(" CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR ")
                                : QStringLiteral(" CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR ");
    return QStringLiteral("DECLARE ") + cursor + options + select + lineBreak + QStringLiteral("OPEN ") +
           cursor;
}

QString RecordReader::fetchText(const QString& cursor, int count) {
    QStringList fetches;
    for (int index = 0; index < count; ++index) {
        fetches.append(QStringLiteral("FETCH NEXT FROM ") + cursor);
    }
    return fetches.join(lineBreak);
}

QString RecordReader::closeText(const QString& cursor) {
    return QStringLiteral("CLOSE ") + cursor + lineBreak + QStringLiteral("DEALLOCATE ") + cursor;
}

bool RecordReader::open() {
    close();
    m_error.clear();
    m_columns.clear();
    m_atEnd = false;
    m_rowsRead = 0;
    return m_mode == Mode::Updatable ? openCursor() : openStream();
}

bool RecordReader::openCursor() {
    m_cursor = QStringLiteral("qormin_cursor_%1").arg(m_side.nextCursorNumber());
    const QString text = openText(m_cursor, selectText(m_source), m_mode);
    if (m_side.withholds(text)) {
        m_error = QStringLiteral("Not run (script only)");
        return false;
    }
    const StatementOutcome outcome = m_side.execute(text, ResultRetention::Nothing);
    if (!outcome.succeeded) {
        // A cursor whose OPEN failed stays declared under a name never used again on this
        // connection; it goes with the connection.
        m_error = outcome.errorDescription;
        return false;
    }
    m_open = true;
    return fetchChunk();
}

// The second connection lives as long as the read: opened here, closed by close().
bool RecordReader::openStream() {
    const QString text = selectText(m_source);
    if (m_side.withholds(text)) {
        m_error = QStringLiteral("Not run (script only)");
        return false;
    }
    m_readCounted = false;
    if (m_mode == Mode::ReadOnly) {
        m_reading = std::make_unique<SideConnection>(m_side.sideIndex());
        m_reading->setCommandTimeout(m_side.commandTimeout());
        // Cancel on the side reaches the read too: a read that stalls would otherwise hold the loop.
        m_side.addCancelFollower(m_reading.get());
        const ConnectOutcome connected = m_reading->open(m_side.connectionString(), m_side.loginTimeout());
        if (!connected.connected) {
            m_error = connected.errorDescription;
            countRead(false);
            dropReading();
            return false;
        }
    }
    StatementOutcome outcome = streamConnection().openStream(text);
    if (!outcome.succeeded) {
        m_error = outcome.errorDescription;
        countRead(false);
        dropReading();
        return false;
    }
    m_columns = outcome.resultSets.front().columns;
    m_open = true;
    return fetchChunk();
}

bool RecordReader::fetchChunk() {
    m_chunk.clear();
    m_position = 0;
    m_onRow = false;
    if (m_atEnd) {
        return true;
    }
    return m_mode == Mode::Updatable ? fetchCursorChunk() : fetchStreamChunk();
}

SideConnection& RecordReader::streamConnection() {
    return m_reading ? *m_reading : m_side;
}

bool RecordReader::fetchStreamChunk() {
    StatementOutcome outcome = streamConnection().fetchStream(m_chunkSize);
    m_atEnd = streamConnection().streamEnded();
    takeRows(outcome);
    if (outcome.succeeded) {
        if (m_atEnd) {
            countRead(true);
        }
        return true;
    }
    // The rows read before the failure are still walked; the loop learns of it from error().
    m_error = outcome.errorDescription;
    m_atEnd = true;
    countRead(false);
    return !m_chunk.empty();
}

// The read is one statement of the side's loop, though it runs on a connection of its own: it
// counts in the side's tally (and so in a batch run's exit status) once, when it ends, as failed
// when any part of it failed. Emitted as the side's own signal, which the tally listens to.
void RecordReader::countRead(bool succeeded) {
    if (!m_reading || m_readCounted) {
        return;
    }
    m_readCounted = true;
    Q_EMIT m_side.statementFinished(m_side.sideIndex(), succeeded);
}

bool RecordReader::fetchCursorChunk() {
    StatementOutcome outcome =
        m_fetchedAhead ? std::move(*m_fetchedAhead)
                       : m_side.execute(fetchText(m_cursor, m_chunkSize), ResultRetention::AllResultSets);
    m_fetchedAhead.reset();
    if (!outcome.succeeded) {
        m_error = outcome.errorDescription;
        m_atEnd = true;
        return false;
    }
    for (const auto& table : outcome.resultSets) {
        if (table.rows.empty()) {
            m_atEnd = true;
        }
    }
    if (outcome.resultSets.empty()) {
        m_atEnd = true;
    }
    takeRows(outcome);
    return true;
}

void RecordReader::takeRows(StatementOutcome& outcome) {
    for (auto& table : outcome.resultSets) {
        if (m_columns.empty()) {
            m_columns = table.columns;
        }
        for (auto& row : table.rows) {
            m_chunk.push_back(std::move(row));
        }
    }
}

bool RecordReader::next() {
    if (!m_open) {
        return false;
    }
    if (m_onRow) {
        ++m_position;
    }
    if (m_position >= m_chunk.size()) {
        if (m_atEnd || !fetchChunk() || m_chunk.empty()) {
            m_onRow = false;
            return false;
        }
    }
    m_onRow = true;
    ++m_rowsRead;
    return true;
}

int RecordReader::columnIndex(const QString& name) const {
    for (size_t index = 0; index < m_columns.size(); ++index) {
        if (m_columns[index].name.compare(name, Qt::CaseInsensitive) == 0) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

const std::vector<QVariant>& RecordReader::row() const {
    return m_onRow ? m_chunk[m_position] : noRow;
}

QVariant RecordReader::value(int index) const {
    const auto& current = row();
    if (index < 0 || static_cast<size_t>(index) >= current.size()) {
        return {};
    }
    return current[static_cast<size_t>(index)];
}

QVariant RecordReader::value(const QString& name) const {
    return value(columnIndex(name));
}

bool RecordReader::updateCurrentRow(const QStringList& columnNames, const std::vector<QVariant>& values,
                                    QString* error, AfterChange after) {
    auto fail = [error](const QString& reason) {
        if (error != nullptr) {
            *error = reason;
        }
        return false;
    };
    if (m_mode != Mode::Updatable || !m_onRow || m_updateTable.isEmpty()) {
        return fail(QStringLiteral("The record set cannot be updated here."));
    }
    if (columnNames.size() != static_cast<qsizetype>(values.size())) {
        return fail(QStringLiteral("Each column needs exactly one value."));
    }
    QStringList assignments;
    QStringList literals;
    // The literal text only matters to Script only; writing it out per row would cost every loop.
    const bool collecting = m_side.collectsChanges();
    std::vector<ColumnInfo> targets;
    for (qsizetype index = 0; index < columnNames.size(); ++index) {
        const int column = columnIndex(columnNames[index]);
        if (column < 0) {
            return fail(QStringLiteral(
                "Item cannot be found in the collection corresponding to the requested name or "
                "ordinal."));
        }
        targets.push_back(m_columns[static_cast<size_t>(column)]);
        // The server would store a changed value without a word (a '?' for a character its
        // code page lacks): such a value is refused here instead.
        const QString change = valueChangeIn(values[static_cast<size_t>(index)], targets.back());
        if (!change.isEmpty()) {
            return fail(QStringLiteral("The value ") + change);
        }
        assignments.append(quotedName(columnNames[index]) + QStringLiteral(" = ?"));
        if (collecting) {
            literals.append(quotedName(columnNames[index]) + QStringLiteral(" = ") +
                            sqlLiteral(values[static_cast<size_t>(index)], targets.back()));
        }
    }
    const QString where = QStringLiteral(" WHERE CURRENT OF ") + m_cursor;
    const QString head = QStringLiteral("UPDATE ") + m_updateTable + QStringLiteral(" SET ");
    if (collecting && m_side.withholds(head + literals.join(QStringLiteral(", ")) + where)) {
        return true;
    }
    const StatementOutcome outcome = change({head + assignments.join(QStringLiteral(", ")) + where,
                                             ResultRetention::AllResultSets, targets, values},
                                            after);
    if (!outcome.succeeded) {
        return fail(outcome.errorDescription);
    }
    for (qsizetype index = 0; index < columnNames.size(); ++index) {
        m_chunk[m_position][static_cast<size_t>(columnIndex(columnNames[index]))] =
            values[static_cast<size_t>(index)];
    }
    return true;
}

QString RecordReader::deleteText(const QString& table, const QString& cursor) {
    return QStringLiteral("DELETE FROM ") + table + QStringLiteral(" WHERE CURRENT OF ") + cursor;
}

bool RecordReader::deleteCurrentRow(QString* error, AfterChange after) {
    auto fail = [error](const QString& reason) {
        if (error != nullptr) {
            *error = reason;
        }
        return false;
    };
    if (m_mode != Mode::Updatable || !m_onRow || m_updateTable.isEmpty()) {
        return fail(QStringLiteral("The record set cannot be updated here."));
    }
    const QString text = deleteText(m_updateTable, m_cursor);
    if (m_side.withholds(text)) {
        return true;
    }
    const StatementOutcome outcome = change({text, ResultRetention::Nothing, {}, {}}, after);
    return outcome.succeeded ? true : fail(outcome.errorDescription);
}

// A change of the current row, with the next row's FETCH in the same job when the loop is done
// with this row; the fetch goes only when the change succeeded, so a loop that handles a failure
// (field by field) is still on its row.
StatementOutcome RecordReader::change(ChainedStatement statement, AfterChange after) {
    if (after == AfterChange::StayOnRow || m_atEnd) {
        return statement.values.empty()
                   ? m_side.execute(statement.sql, statement.retention)
                   : m_side.executeWithParameters(statement.sql, statement.targets, statement.values);
    }
    std::vector<StatementOutcome> outcomes = m_side.executeChain(
        {std::move(statement), {fetchText(m_cursor, m_chunkSize), ResultRetention::AllResultSets, {}, {}}});
    if (outcomes.size() > 1) {
        m_fetchedAhead = std::move(outcomes[1]);
    }
    return std::move(outcomes.front());
}

void RecordReader::dropReading() {
    if (!m_reading) {
        return;
    }
    m_side.removeCancelFollower(m_reading.get());
    m_reading.reset();
}

void RecordReader::close() {
    if (!m_open) {
        return;
    }
    m_open = false;
    m_onRow = false;
    m_chunk.clear();
    m_fetchedAhead.reset();
    if (m_mode == Mode::Updatable) {
        m_side.execute(closeText(m_cursor), ResultRetention::Nothing);
        return;
    }
    countRead(true); // left before its end: what was read, was read
    streamConnection().closeStream();
    if (m_reading) {
        m_reading->close();
        dropReading();
    }
}

} // namespace qormin::db
