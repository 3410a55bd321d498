#include "tablecopy/TableCopyTools.h"

#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/HeaderRowPass.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/RecordWriter.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "tablecopy/TableCopyStatements.h"
#include "window/DestructiveConfirmation.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace qormin::tablecopy {

namespace {

constexpr int leftSide = 0;
constexpr int tableNameColumn = 0;
constexpr int buttonsPerRow = 4;
constexpr qint32 progressInterval = 100;

using Statements = TableCopyStatements;

std::function<QString(const QString&)> sisterOf(const QString& database) {
    return [database](const QString& table) { return Statements::sisterTable(database, table); };
}

} // namespace

TableCopyTools::TableCopyTools(TableCopyControls controls, QWidget* parent)
    : QWidget(parent), m_controls(controls), m_allTables(new QCheckBox(QStringLiteral("All Tables"), this)),
      m_count(new QLabel(this)), m_working(new QLabel(this)) {
    setObjectName(QStringLiteral("TableCopyTools"));
    m_allTables->setObjectName(QStringLiteral("chkAllTables"));
    m_count->setObjectName(QStringLiteral("lblCnt"));
    m_working->setObjectName(QStringLiteral("lblWorking"));

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    addButton(QStringLiteral("cmdCopyTables"), QStringLiteral("Copy table by record"),
              &TableCopyTools::cmdCopyTables_Click);
    addButton(QStringLiteral("cmdCopyTablesDB2"), QStringLiteral("Copy Structure to DBname_2"),
              &TableCopyTools::cmdCopyTablesDB2_Click);
    addButton(QStringLiteral("cmdDropTableDB2"), QStringLiteral("Drop table DBname_2"),
              &TableCopyTools::cmdDropTableDB2_Click);
    addButton(QStringLiteral("cmdCloneTable"), QStringLiteral("Clone Table Records"),
              &TableCopyTools::cmdCloneTable_Click);
    addButton(QStringLiteral("cmdCopyInto"), QStringLiteral("Copy Into"), &TableCopyTools::cmdCopyInto_Click);
    addButton(QStringLiteral("cmdTruncate"), QStringLiteral("Truncate"), &TableCopyTools::cmdTruncate_Click);
    addButton(QStringLiteral("cmdCheckTables"), QStringLiteral("Check"),
              &TableCopyTools::cmdCheckTables_Click);
    addButton(QStringLiteral("cmdCopytoNEW"), QStringLiteral("Copy to _NEW2"),
              &TableCopyTools::cmdCopytoNEW_Click);

    const int statusRow = layout->rowCount();
    layout->addWidget(m_allTables, statusRow, 0);
    layout->addWidget(m_count, statusRow, 1);
    layout->addWidget(m_working, statusRow, 2);
}

void TableCopyTools::addButton(const QString& name, const QString& caption,
                               void (TableCopyTools::*handler)()) {
    auto* grid = static_cast<QGridLayout*>(layout());
    const int index = findChildren<QPushButton*>(Qt::FindDirectChildrenOnly).size();
    auto* button = new QPushButton(caption, this);
    button->setObjectName(name);
    grid->addWidget(button, index / buttonsPerRow, index % buttonsPerRow);
    connect(button, &QPushButton::clicked, this, handler);
}

void TableCopyTools::cmdCopyTables_Click() {
    if (!confirmed(QStringLiteral("Copy table by record (empties the copy first)"),
                   sisterOf(workingDatabase())))
        return;
    runForTables(
        true, [this](const QString& table) { CopyTableByRecord(table); }, QStringLiteral("Done copying"));
}

void TableCopyTools::cmdCopyTablesDB2_Click() {
    runForTables(
        true, [this](const QString& table) { CopyStructureToDB2(table); }, QStringLiteral("Done copying"));
}

void TableCopyTools::cmdDropTableDB2_Click() {
    if (!confirmed(QStringLiteral("Drop table DBname_2"), sisterOf(workingDatabase())))
        return;
    runForTables(
        false, [this](const QString& table) { DropTableDB2(table); }, QStringLiteral("Done Drop"));
}

void TableCopyTools::cmdCloneTable_Click() {
    if (!confirmed(QStringLiteral("Clone Table Records (empties the copy first)"),
                   sisterOf(workingDatabase())))
        return;
    runForTables(
        true, [this](const QString& table) { CloneTable(table); }, QString());
}

void TableCopyTools::cmdCopyInto_Click() {
    if (!confirmed(QStringLiteral("Copy Into (empties the copy first)"), sisterOf(workingDatabase())))
        return;
    runForTables(
        true, [this](const QString& table) { CopyInto(table); }, QStringLiteral("Done copying"));
}

void TableCopyTools::cmdTruncate_Click() {
    const QString db = workingDatabase();
    if (!confirmed(QStringLiteral("Truncate"),
                   [db](const QString& table) { return Statements::sourceTable(db, table); }))
        return;
    runForTables(
        true, [this](const QString& table) { TruncateTable(table); }, QString());
}

void TableCopyTools::cmdCheckTables_Click() {
    runForTables(
        true, [this](const QString& table) { execute(Statements::checkTable(table)); }, QString());
}

// The sister table lives in the working database itself, so only the current row is copied.
void TableCopyTools::cmdCopytoNEW_Click() {
    const QString table = currentTable();
    if (m_controls.confirmation != nullptr &&
        !m_controls.confirmation->confirm(
            {QStringLiteral("Copy to _NEW2 (drops the copy first)"),
             leftSide,
             {Statements::sourceTable(workingDatabase(), Statements::newTableName(table))},
             QStringLiteral("table")}))
        return;
    log(table);
    const QString db = workingDatabase();
    if (!db::NameGuard::admit(m_controls.access, db::NameGuard::Position::Unbracketed, {db, table})) {
        return;
    }
    const QString source = Statements::sourceTable(db, table);
    const QString newTable = Statements::newTableName(table);
    const QString destination = Statements::sourceTable(db, newTable);

    execute(Statements::useDatabase(db));
    executeOnConnection(Statements::connectionUseDatabase(db));
    if (userTableExists(newTable)) {
        execute(Statements::dropQualified(destination));
    }
    // The names are read as the tool always has, though the copy below matches by position.
    Statements::plainColumnList(firstRowFieldNames(source));
    execute(Statements::seedNewTable(destination, source));
    switchIdentityInsert(destination, true);
    execute(Statements::truncateNewTable(destination));
    CopyRecords(source, destination);
    switchIdentityInsert(destination, false);
}

void TableCopyTools::runForTables(bool useDatabaseFirst, const TableRoutine& routine,
                                  const QString& closingLine) {
    log(currentTable());
    if (!db::NameGuard::admit(m_controls.access, db::NameGuard::Position::Unbracketed, {workingDatabase()})) {
        return;
    }
    if (useDatabaseFirst) {
        execute(Statements::useDatabase(workingDatabase()));
    }
    if (!m_allTables->isChecked()) {
        if (db::NameGuard::admit(m_controls.access, db::NameGuard::Position::Unbracketed, {currentTable()})) {
            routine(currentTable());
        }
    } else {
        // Row 0 is the header row; it is walked like the others, as the tool always has.
        for (int row = 0; row < m_controls.grid.Rows(); ++row) {
            if (stopRequested()) {
                break;
            }
            const db::HeaderRowPass headerRow(m_controls.access, row == 0);
            m_controls.grid.setRow(row);
            const QString table = currentTable();
            log(table);
            if (db::NameGuard::admit(m_controls.access, db::NameGuard::Position::Unbracketed, {table})) {
                routine(table);
            }
            db::EventLoopYield::processEvents();
        }
    }
    if (!closingLine.isEmpty()) {
        log(closingLine);
    }
}

void TableCopyTools::CopyInto(const QString& table) {
    const QString db = workingDatabase();
    const QString source = Statements::sourceTable(db, table);
    const QString destination = Statements::sisterTable(db, table);
    execute(Statements::useDatabase(db));
    const QString columns = Statements::bracketedColumnList(firstRowFieldNames(source));
    execute(Statements::truncateQualified(destination));
    execute(Statements::identityInsert(destination, true));
    executeOnConnection(Statements::connectionUseDatabase(db));
    if (userTableExists(table)) {
        const QString error = execute(Statements::copyIntoInsert(destination, columns, source));
        if (!error.isEmpty()) {
            m_controls.access.LogError(Statements::errorLine(error, source));
        }
    }
    execute(Statements::identityInsert(destination, false));
}

void TableCopyTools::CloneTable(const QString& table) {
    const QString db = workingDatabase();
    const QString source = Statements::sourceTable(db, table);
    const QString destination = Statements::sisterTable(db, table);
    execute(Statements::truncateQualified(destination));
    const QString columns = Statements::plainColumnList(firstRowFieldNames(source));
    execute(Statements::identityInsert(destination, true));
    execute(Statements::cloneInsert(destination, columns, source));
    execute(Statements::identityInsert(destination, false));
}

void TableCopyTools::CopyStructureToDB2(const QString& table) {
    const QString db = workingDatabase();
    const QString source = Statements::sourceTable(db, table);
    execute(Statements::useDatabase(db));
    executeOnConnection(Statements::connectionUseDatabase(db));
    if (!userTableExists(table)) {
        return;
    }
    const QString error = execute(Statements::copyStructure(Statements::sisterTable(db, table), source));
    if (!error.isEmpty()) {
        m_controls.access.LogError(Statements::errorLine(error, source));
    }
}

// The sister table goes only when the working database has a table of that name.
void TableCopyTools::DropTableDB2(const QString& table) {
    const QString db = workingDatabase();
    execute(Statements::useSisterDatabase(db));
    executeOnConnection(Statements::connectionUseDatabase(db));
    if (userTableExists(table)) {
        execute(Statements::dropQualified(Statements::sisterTable(db, table)));
    }
}

// Creates the sister table from one row when it is missing, then copies row by row; a table
// whose copy fails part way keeps the rows copied so far and counts the rest as errors.
void TableCopyTools::CopyTableByRecord(const QString& table) {
    const QString db = workingDatabase();
    const QString source = Statements::sourceTable(db, table);
    const QString destination = Statements::sisterTable(db, table);
    execute(Statements::seedSisterTable(destination, source));
    execute(Statements::truncateQualified(destination));
    m_count->clear();
    copyRecords(source, destination, true);
    switchIdentityInsert(destination, false);
}

void TableCopyTools::CopyRecords(const QString& source, const QString& destination) {
    copyRecords(source, destination, false);
}

// Source and target are opened first, then identity insert goes on (where the routine says
// so), so the writer knows which target columns it may give.
void TableCopyTools::copyRecords(const QString& source, const QString& destination,
                                 bool switchIdentityInsertOn) {
    m_controls.access.EnsureConnected(leftSide);
    db::SideConnection& side = m_controls.access.side(leftSide);
    qint32 copied = 0;
    qint32 errors = 0;
    db::RecordReader reader(side, source);
    db::RecordWriter writer(side, destination);
    writer.reportLossesTo(m_controls.access);
    const bool readerOpen = reader.open();
    bool writerOpen = writer.open();
    // Script only: the SELECT ... INTO that would create the target was collected, not run.
    if (!writerOpen && readerOpen && m_controls.access.scriptOnly()) {
        writer.useShapeOf(reader.columns());
        writerOpen = true;
    }
    if (switchIdentityInsertOn) {
        switchIdentityInsert(destination, true);
    }
    writer.setIdentityInsert(m_identityInsertTable == destination);
    errors += writerOpen ? 0 : 1;
    // Rows go to the writer a progress step at a time, so STOP, which is only seen when the
    // progress yields, still ends the copy right after the row it was ticked at.
    std::vector<std::vector<QVariant>> pending;
    while (readerOpen && writerOpen && !stopRequested() && reader.next()) {
        // "copied" counts every row walked, refused ones included, as the classic loop did.
        pending.push_back(reader.row());
        if (++copied % progressInterval == 0) {
            errors += writeRows(writer, pending);
            pending.clear();
            ShowCopyProgress(copied);
        }
    }
    errors += writeRows(writer, pending);
    // A source that could not be read, or a read connection lost on the way.
    if (!reader.error().isEmpty()) {
        ++errors;
        m_controls.access.LogError(Statements::errorLine(reader.error(), source));
    }
    log(Statements::copiedLine(copied));
    log(Statements::errorsLine(errors));
}

int TableCopyTools::writeRows(db::RecordWriter& writer, const std::vector<std::vector<QVariant>>& rows) {
    return writer.addRows(rows).errors;
}

void TableCopyTools::switchIdentityInsert(const QString& qualifiedTable, bool on) {
    const bool switched = execute(Statements::identityInsert(qualifiedTable, on)).isEmpty();
    if (on) {
        m_identityInsertTable = switched ? qualifiedTable : QString();
    } else if (m_identityInsertTable == qualifiedTable) {
        m_identityInsertTable.clear();
    }
}

void TableCopyTools::TruncateTable(const QString& table) {
    execute(Statements::truncateTable(table));
}

void TableCopyTools::ShowCopyProgress(qint32 copied) {
    m_count->setText(QString::number(copied));
    m_working->setText(m_working->text() == QStringLiteral("working") ? QStringLiteral("working.")
                                                                      : QStringLiteral("working"));
    Q_EMIT copyProgress(copied);
    db::EventLoopYield::processEvents();
}

bool TableCopyTools::confirmed(const QString& action, const std::function<QString(const QString&)>& target) {
    if (m_controls.confirmation == nullptr)
        return true;
    QStringList tables;
    if (!m_allTables->isChecked())
        tables.append(target(currentTable()));
    // Row 0 is the header row: the pass walks it, but it names no table.
    for (int row = 1; m_allTables->isChecked() && row < m_controls.grid.Rows(); ++row)
        tables.append(target(m_controls.grid.TextMatrix(row, tableNameColumn)));
    return m_controls.confirmation->confirm({action, leftSide, tables, QStringLiteral("table")});
}

QString TableCopyTools::currentTable() const {
    return m_controls.grid.TextMatrix(m_controls.grid.Row(), tableNameColumn);
}

QString TableCopyTools::workingDatabase() const {
    return m_controls.database.text();
}

QString TableCopyTools::execute(const QString& statement) {
    QString result;
    m_controls.access.OpenRecordset(leftSide, statement, QVariant(), result);
    return result;
}

// The connection's own execute: no log line, and failures are not reported.
void TableCopyTools::executeOnConnection(const QString& statement) {
    m_controls.access.EnsureConnected(leftSide);
    if (!m_controls.access.IsConnected(leftSide)) {
        return;
    }
    m_controls.access.side(leftSide).execute(statement, db::ResultRetention::Nothing);
}

bool TableCopyTools::userTableExists(const QString& table) {
    execute(Statements::userTableExistsQuery(table));
    return !m_controls.access.sharedRecordset().eof();
}

QStringList TableCopyTools::firstRowFieldNames(const QString& qualifiedTable) {
    execute(Statements::firstRowQuery(qualifiedTable));
    const db::Recordset& fields = m_controls.access.sharedRecordset();
    QStringList names;
    for (int index = 0; index < fields.fieldCount(); ++index) {
        names.append(fields.fieldName(index));
    }
    return names;
}

void TableCopyTools::log(const QString& text) {
    m_controls.access.LogMessage(text);
}

bool TableCopyTools::stopRequested() const {
    return m_controls.stop.isChecked();
}

} // namespace qormin::tablecopy
