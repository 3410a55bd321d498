#include "transfer/TransferDBTools.h"

#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/RecordWriter.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "platform/MessageBoxService.h"
#include "transfer/TransferStatements.h"

#include <QDateTime>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace qormin::transfer {

namespace {

constexpr int leftSide = 0;
constexpr int tableColumn = 0;
constexpr int dateColumnIndex = 1;
constexpr int claimsFileColumn = 8;
// The window's log keeps the newest lines only: a line costs the text document about 2 kB, and
// a night of runs of a thousand rows would otherwise hold hundreds of megabytes.
constexpr int logLineLimit = 5000;
const QString lineEnd = QStringLiteral("\r\n");
const QString noSuchItem =
    QStringLiteral("Item cannot be found in the collection corresponding to the requested name or ordinal.");

using Statements = TransferStatements;

QString cellText(const QVariant& value) {
    if (value.typeId() == QMetaType::QDateTime) {
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    }
    return value.toString();
}

// The edit shows line feeds; the texts keep the classic "\r\n".
QString shown(QString text) {
    return text.replace(lineEnd, QStringLiteral("\n"));
}

} // namespace

TransferDBTools::TransferDBTools(TransferDBControls controls) : m_controls(controls) {}

TransferDBCount TransferDBTools::transfer(const TransferDBJob& job) {
    m_controls.progress.setMaximum(std::max(job.recordsAtATime, 0));
    m_controls.progress.setValue(0);
    db::EventLoopYield::processEvents();
    TransferDBCount count;
    db::ServerAccess& access = m_controls.access;
    access.EnsureConnected(leftSide);
    if (!access.IsConnected(leftSide)) {
        return count;
    }
    db::SideConnection& side = access.side(leftSide);
    db::RecordReader reader(side, job.query, db::RecordReader::Mode::Updatable, 1, job.sourceTable);
    db::RecordWriter writer(side, job.destinationTable);
    writer.setWholeRowsOnly(true);
    writer.reportLossesTo(access);
    bool going = openBoth(reader, writer);
    m_stopRequested = false;
    while (going && !(job.stoppable && m_stopRequested) && reader.next()) {
        going = moveRow(reader, writer, job, count);
    }
    if (going && !reader.error().isEmpty()) {
        showError(reader.error());
        going = false;
    }
    reader.close();
    finishRun(job, count);
    if (going && job.announceDone) {
        m_controls.messageBoxes.MsgBox(QStringLiteral("Done."));
    }
    return count;
}

bool TransferDBTools::openBoth(db::RecordReader& reader, db::RecordWriter& writer) {
    if (!reader.open()) {
        showError(reader.error());
        return false;
    }
    if (!writer.open()) {
        showError(writer.error());
        return false;
    }
    return true;
}

// One row: its log line, its copy, the claims document's new database, and only once the copy
// is in, the delete. Any failure ends the run, as the classic error branch did.
bool TransferDBTools::moveRow(db::RecordReader& reader, db::RecordWriter& writer, const TransferDBJob& job,
                              TransferDBCount& count) {
    ++count.read;
    prependLog(cellText(reader.value(job.dateColumn)) + QLatin1Char('\t') + cellText(reader.value(0)) +
               lineEnd);
    QStringList names;
    std::vector<QVariant> values;
    writer.setRowKey(QString());
    for (size_t index = 0; index < reader.columns().size(); ++index) {
        const QString& name = reader.columns()[index].name;
        if (job.skipIdColumn && name == QLatin1String("ID")) {
            // The destination numbers its own rows: the loss lines name the source's.
            writer.setRowKey(name + QStringLiteral(" = ") + cellText(reader.row()[index]));
            continue;
        }
        names.append(name);
        values.push_back(reader.row()[index]);
    }
    const db::RowWrite written = writer.addRowByName(names, values);
    if (!written.added) {
        ++count.failed;
        showError(written.lastError);
        return false;
    }
    // Under Script only nothing was written or deleted: the row counts as withheld, so the
    // closing line cannot read as a finished move.
    const bool withheld = m_controls.access.scriptOnly();
    ++(withheld ? count.withheld : count.written);
    if (job.updateClaimsDocuments) {
        if (reader.columns().size() <= claimsFileColumn) {
            ++count.failed;
            showError(noSuchItem);
            return false;
        }
        QString error;
        const QString fileName = Statements::fileNameStem(reader.value(claimsFileColumn).toString());
        if (!runOnConnection(Statements::claimsDocumentUpdate(job.toDatabase, fileName), error)) {
            ++count.failed;
            showError(error);
            return false;
        }
    }
    if (job.deleteAfterTransfer) {
        QString error;
        if (!reader.deleteCurrentRow(&error, db::RecordReader::AfterChange::FetchNext)) {
            ++count.failed;
            showError(error);
            return false;
        }
        count.deleted += withheld ? 0 : 1;
    }
    db::yieldToEventLoop();
    m_controls.progress.setValue(std::min(m_controls.progress.value() + 1, m_controls.progress.maximum()));
    return true;
}

void TransferDBTools::finishRun(const TransferDBJob& job, const TransferDBCount& count) {
    const QString line = Statements::reconciliationLine(job.sourceTable, count.read, count.written,
                                                        count.deleted, count.failed, count.withheld);
    prependLog(line + lineEnd);
    m_controls.access.LogMessage(line);
}

void TransferDBTools::purge(bool allTables, const QString& years, const QDate& today) {
    const std::optional<QDate> olderThan = Statements::olderThan(today, years);
    controls::FlexGrid& grid = m_controls.purgeGrid;
    if (!allTables) {
        announceEmptied(grid.Row(), grid.Row());
        purgeRow(grid.Row(), olderThan);
    } else {
        announceEmptied(1, grid.Rows() - 1);
        for (int row = 1; row < grid.Rows(); ++row) {
            grid.setRow(row);
            purgeRow(row, olderThan);
            db::EventLoopYield::processEvents();
        }
    }
    m_controls.messageBoxes.MsgBox(QStringLiteral("done."));
}

// A purge that truncates empties whole tables; the window says which before it starts, without
// a question, so a batch run goes on as before.
void TransferDBTools::announceEmptied(int firstRow, int lastRow) {
    QStringList emptied;
    for (int row = std::max(firstRow, 1); row <= lastRow; ++row) {
        if (m_controls.purgeGrid.TextMatrix(row, dateColumnIndex).isEmpty()) {
            emptied.append(m_controls.purgeGrid.TextMatrix(row, tableColumn));
        }
    }
    if (emptied.isEmpty()) {
        m_controls.status.clear();
        return;
    }
    const QString text = QStringLiteral("Emptying every row of: ") + emptied.join(QStringLiteral(", "));
    m_controls.status.setText(text);
    prependLog(text + lineEnd);
    db::EventLoopYield::processEvents();
}

void TransferDBTools::purgeRow(int row, const std::optional<QDate>& olderThan) {
    const QString table = m_controls.purgeGrid.TextMatrix(row, tableColumn);
    const QString dateColumn = m_controls.purgeGrid.TextMatrix(row, dateColumnIndex);
    std::vector<std::pair<QString, QString>> names{{QStringLiteral("table"), table}};
    if (!dateColumn.isEmpty()) {
        names.emplace_back(QStringLiteral("date column"), dateColumn);
    }
    if (!admitNames(names)) {
        return;
    }
    if (!dateColumn.isEmpty() && !olderThan) {
        prependLog(QStringLiteral("Skipped ") + table +
                   QStringLiteral(": txtYears is not a number of years") + lineEnd);
        return;
    }
    m_controls.access.ExecuteSQL(leftSide,
                                 Statements::purgeStatement(table, dateColumn, olderThan.value_or(QDate())));
}

void TransferDBTools::preview(const QString& recordsAtATime) {
    controls::FlexGrid& grid = m_controls.purgeGrid;
    const QString table = grid.TextMatrix(grid.Row(), tableColumn);
    if (!admitNames({{QStringLiteral("table"), table}})) {
        return;
    }
    QString result;
    if (!m_controls.access.OpenRecordset(leftSide, Statements::previewQuery(recordsAtATime, table),
                                         QVariant(), result)) {
        prependLog(result + lineEnd);
        return;
    }
    db::Recordset& rows = m_controls.access.sharedRecordset();
    QStringList fields;
    for (int index = 0; index < rows.fieldCount(); ++index) {
        fields.append(rows.fieldName(index));
    }
    QString text = fields.join(QLatin1Char('\t')) + lineEnd;
    m_controls.progress.setMaximum(static_cast<int>(rows.RecordCount()));
    m_controls.progress.setValue(0);
    for (; !rows.eof(); rows.MoveNext()) {
        QStringList cells;
        for (int index = 0; index < rows.fieldCount(); ++index) {
            cells.append(cellText(rows.field(index)));
        }
        text += cells.join(QLatin1Char('\t')) + lineEnd;
        m_controls.progress.setValue(m_controls.progress.value() + 1);
    }
    appendLog(text);
}

void TransferDBTools::createTable(const QString& source, const QString& destination) {
    m_controls.access.ExecuteSQL(leftSide, Statements::createTable(destination, source));
}

void TransferDBTools::dropTable(const QString& destination) {
    m_controls.access.ExecuteSQL(leftSide, Statements::dropTable(destination));
}

void TransferDBTools::createIndex(const QString& dateColumn, const std::vector<QString>& tables) {
    for (const QString& table : tables) {
        m_controls.access.ExecuteSQL(leftSide, Statements::createIndex(dateColumn, table));
    }
}

// Every source column the destination lacks (by name, in any case, as field lookup was) is
// added with the source column's type; nothing is written to either table.
void TransferDBTools::syncStructure(const QString& source, const QString& destination) {
    db::ServerAccess& access = m_controls.access;
    access.EnsureConnected(leftSide);
    if (!access.IsConnected(leftSide)) {
        return;
    }
    db::SideConnection& side = access.side(leftSide);
    const db::StatementOutcome from =
        side.execute(Statements::firstRowQuery(source), db::ResultRetention::FirstResultSet);
    const db::StatementOutcome to =
        side.execute(Statements::firstRowQuery(destination), db::ResultRetention::FirstResultSet);
    if (!from.succeeded || !to.succeeded || from.resultSets.empty() || to.resultSets.empty()) {
        showError(from.succeeded ? to.errorDescription : from.errorDescription);
        return;
    }
    const db::ResultTable& sourceRow = from.resultSets.front();
    if (!sourceRow.rows.empty()) {
        for (const db::ColumnInfo& column : sourceRow.columns) {
            if (to.resultSets.front().columnIndex(column.name) >= 0) {
                continue;
            }
            const int code = Statements::typeCodeOf(column.sqlType, column.typeName);
            const QString script = Statements::addColumnScript(destination, column.name, code, column.size);
            access.ExecuteSQL(leftSide, script);
            appendLog(Statements::missingColumnLine(column.name, code, script));
        }
    }
    m_controls.messageBoxes.MsgBox(QStringLiteral("OK"));
}

bool TransferDBTools::admitNames(const std::vector<std::pair<QString, QString>>& names) {
    for (const auto& [what, name] : names) {
        if (!db::NameGuard::admit(m_controls.access, db::NameGuard::Position::Unbracketed, {name})) {
            prependLog(db::NameGuard::refusedLine(
                           name, db::NameGuard::refusal(name, db::NameGuard::Position::Unbracketed)) +
                       lineEnd);
            return false;
        }
        if (!Statements::isPlainName(name)) {
            const QString line = Statements::refusedNameLine(what, name);
            m_controls.access.LogMessage(line);
            prependLog(line + lineEnd);
            return false;
        }
    }
    return true;
}

// Statements the classic loop sent through the connection's own execute: no log line; the
// connection withholds them under Script only.
bool TransferDBTools::runOnConnection(const QString& statement, QString& error) {
    const db::StatementOutcome outcome =
        m_controls.access.side(leftSide).execute(statement, db::ResultRetention::Nothing);
    error = outcome.errorDescription;
    return outcome.succeeded;
}

void TransferDBTools::prependLog(const QString& line) {
    QTextCursor cursor(m_controls.log.document());
    cursor.movePosition(QTextCursor::Start);
    cursor.insertText(shown(line));
    QTextDocument& document = *m_controls.log.document();
    if (document.blockCount() > logLineLimit) {
        QTextCursor oldest(document.findBlockByNumber(logLineLimit - 1));
        oldest.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        oldest.removeSelectedText();
    }
}

void TransferDBTools::appendLog(const QString& text) {
    QTextCursor cursor(m_controls.log.document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(shown(text));
}

void TransferDBTools::refuseInput(const QString& text) {
    prependLog(text + lineEnd);
    m_controls.messageBoxes.MsgBox(text);
}

void TransferDBTools::showError(const QString& error) {
    m_controls.messageBoxes.MsgBox(Statements::errorBranchMessage(error));
}

} // namespace qormin::transfer
