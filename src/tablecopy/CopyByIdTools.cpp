#include "tablecopy/CopyByIdTools.h"

#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/RecordWriter.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "tablecopy/CopyByIdStatements.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <memory>

namespace qormin::tablecopy {

namespace {

constexpr int leftSide = 0;
constexpr int rightSide = 1;
constexpr int nameColumn = 0;
const QString idColumn = QStringLiteral("IDNum");

using Statements = CopyByIdStatements;

} // namespace

CopyByIdTools::CopyByIdTools(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_start(new QLineEdit(QStringLiteral("106300"), this)),
      m_end(new QLineEdit(QStringLiteral("106310"), this)) {
    setObjectName(QStringLiteral("CopyByIdTools"));
    m_start->setObjectName(QStringLiteral("txtStartIDNum"));
    m_end->setObjectName(QStringLiteral("txtENDIDNum"));
    auto* button = new QPushButton(QStringLiteral("Copy records to database 1"), this);
    button->setObjectName(QStringLiteral("cmdCopybyRecID"));
    connect(button, &QPushButton::clicked, this, &CopyByIdTools::cmdCopybyRecID_Click);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(button);
    layout->addWidget(new QLabel(QStringLiteral("idnum from"), this));
    layout->addWidget(m_start);
    layout->addWidget(new QLabel(QStringLiteral("to"), this));
    layout->addWidget(m_end);
    layout->addStretch();
}

void CopyByIdTools::cmdCopybyRecID_Click() {
    const Range range{m_start->text(), m_end->text()};
    if (!idTextsAdmitted(range)) {
        return;
    }
    if (!m_context.chkALL()->isChecked()) {
        m_context.GridDB_DblClick(leftSide);
        copyDatabase(range);
        return;
    }
    // The left grid: its databases are the targets, and the table list comes from the left.
    controls::FlexGrid* databases = m_context.GridDB(leftSide);
    for (int row = 1; row < databases->Rows() && m_context.chkALL()->isChecked(); ++row) {
        databases->setRow(row);
        m_context.GridDB_Click(leftSide);
        m_context.GridDB_DblClick(leftSide);
        copyDatabase(range);
    }
}

// The bounds go into the range query inside quotes; a quote there would end the literal.
bool CopyByIdTools::idTextsAdmitted(const Range& range) {
    const std::pair<QString, QString> texts[] = {{QStringLiteral("txtStartIDNum"), range.start},
                                                 {QStringLiteral("txtENDIDNum"), range.end}};
    for (const auto& [control, text] : texts) {
        const QString reason = db::NameGuard::refusal(text, db::NameGuard::Position::Quoted);
        if (!reason.isEmpty()) {
            m_context.serverAccess().LogMessage(Statements::idTextRefusedLine(control, text, reason));
            return false;
        }
    }
    return true;
}

void CopyByIdTools::copyDatabase(const Range& range) {
    const QString database = m_context.txtDB()->text();
    if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Unbracketed, {database})) {
        return;
    }
    // Read as the tool always has; this operation always inserts.
    static_cast<void>(m_context.chkLogOnly()->isChecked());
    open(leftSide, Statements::defaultDatabase(database));
    // The idnum check names no database: the right side must be in this one for the first table.
    open(rightSide, Statements::useDatabase(database));
    controls::FlexGrid* tables = m_context.Grid2();
    for (int row = 1; row < tables->Rows(); ++row) {
        db::EventLoopYield::processEvents();
        if (m_context.stopRequested()) {
            break;
        }
        const QString table = tables->TextMatrix(row, nameColumn);
        if (db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Unbracketed, {table})) {
            copyTable(database, table, range);
        }
    }
}

void CopyByIdTools::copyTable(const QString& database, const QString& table, const Range& range) {
    QString objectId;
    if (!objectIdOnRight(table, objectId)) {
        m_context.serverAccess().LogMessage(Statements::tableNotFoundLine(table));
        return;
    }
    if (!open(rightSide, Statements::idnumColumnQuery(objectId)) || !openedRows()) {
        return;
    }
    open(rightSide, Statements::defaultDatabase(database));
    open(rightSide, Statements::useDatabase(database));
    open(rightSide, Statements::tableQuery(table));
    if (!openedRows()) {
        m_context.serverAccess().LogMessage(Statements::tableNotFoundLine(table));
        return;
    }
    copyMissingRecords(database, table, range);
}

// The table list comes from the left and carries no ids; the idnum check needs the right's.
bool CopyByIdTools::objectIdOnRight(const QString& table, QString& objectId) {
    if (!open(rightSide, Statements::objectIdQuery(table)) || !openedRows()) {
        return false;
    }
    objectId = m_context.serverAccess().sharedRecordset().field(0).toString();
    return true;
}

// The range streams from a second connection to the right server while each record is looked
// up on the left; a missing one goes in through the left connection, field by field by name.
void CopyByIdTools::copyMissingRecords(const QString& database, const QString& table, const Range& range) {
    db::ServerAccess& access = m_context.serverAccess();
    const QString rangeQuery = Statements::rangeQuery(database, table, range.start, range.end);
    db::RecordReader records(access.side(rightSide), rangeQuery);
    if (!records.open()) {
        access.LogError(records.error() + QLatin1Char(' ') + rangeQuery);
        return;
    }
    QStringList names;
    for (const db::ColumnInfo& column : records.columns()) {
        names.append(column.name);
    }
    const int idField = records.columnIndex(idColumn);
    std::unique_ptr<db::RecordWriter> writer;
    qint16 added = 0;
    qint16 existing = 0;
    while (records.next()) {
        const QString idnum = records.value(idField).toString();
        if (!db::NameGuard::admit(access, db::NameGuard::Position::Quoted, {idnum})) {
            continue;
        }
        if (!open(leftSide, Statements::lookup(database, table, idnum), true)) {
            return;
        }
        const bool present = openedRows();
        qint16& counter = present ? existing : added;
        if (counter == counterLimit) {
            access.LogError(Statements::overflowLine(table, !present));
            return;
        }
        ++counter;
        if (present) {
            continue;
        }
        if (!writer) {
            writer = std::make_unique<db::RecordWriter>(access.side(leftSide),
                                                        Statements::qualifiedTable(database, table));
            writer->reportLossesTo(access);
            const auto description = access.sharedRecordset().table();
            if (description) {
                writer->useDescription(description->columns);
            } else {
                writer->open();
            }
        }
        // A field the left table lacks or cannot take is left out; the record still counts.
        const db::RowWrite written = writer->addRowByName(names, records.row());
        // A lost link is no refused field: the record did not go in, nor would the rest, so the
        // table's copy ends there, as when a look-up fails, without a count that claims it.
        if (!access.IsConnected(leftSide)) {
            access.LogError(written.lastError + QLatin1Char(' ') +
                            Statements::qualifiedTable(database, table));
            return;
        }
    }
    if (!records.error().isEmpty()) {
        access.LogError(records.error() + QLatin1Char(' ') + rangeQuery);
        return;
    }
    access.LogMessage(Statements::closingLine(table, added, existing));
}

bool CopyByIdTools::open(int side, const QString& sql, bool reportFailure) {
    QString result;
    const bool opened = m_context.serverAccess().OpenRecordset(side, sql, QVariant(), result);
    if (!opened && reportFailure) {
        m_context.serverAccess().LogError(result);
    }
    return opened;
}

bool CopyByIdTools::openedRows() const {
    const db::Recordset& records = m_context.serverAccess().sharedRecordset();
    return records.isOpen() && !records.eof();
}

} // namespace qormin::tablecopy
