#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <map>
#include <vector>

namespace qormin::db {

class ServerAccess;
class SideConnection;

// What adding one row cost, counted the way the classic AddNew/field/Update loop counted.
struct RowWrite {
    bool added = false; // the row went in (with the fields that could be given)
    int errors = 0;     // one per field that could not be given, plus one for a refused row
    QString lastError;  // the last reason, the server's own text where it gave one
};

// Adds rows to a table the way AddNew/Update did, one field costing one field: learns the
// table's columns from "SELECT TOP 1 * FROM <table>" and decides once which can be given (not
// rowversion, not computed, identity only under IDENTITY_INSERT). Every other field is lost
// with one error and the row goes in with the rest. A value that does not fit its column's
// type or size is lost the same way before anything is sent; a row the server refuses because
// of one named column is sent again without that field. Values are bound as their target
// column's SQL type through an INSERT prepared once per column set.
class RecordWriter {
public:
    RecordWriter(SideConnection& side, const QString& table);
    ~RecordWriter();
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    bool open();
    QString error() const { return m_error; }
    const QString& table() const { return m_table; }
    // Script only: a target that does not exist yet takes the shape SELECT ... INTO would give
    // it from the source (computed columns become plain ones).
    void useShapeOf(const std::vector<ColumnInfo>& sourceColumns);
    // Instead of open(): the table's own description, from a query on it the caller has run
    // anyway (a look-up that found no row still describes every column), saving a round trip.
    void useDescription(const std::vector<ColumnInfo>& tableColumns);
    // Whether SET IDENTITY_INSERT is on for the table, which lets identity columns be given.
    void setIdentityInsert(bool on) { m_identityInsert = on; }
    const std::vector<ColumnInfo>& columns() const { return m_columns; }
    // Moves, not copies: a row goes in with every field or not at all. A field that cannot be
    // given or does not fit keeps the row from being sent, and a refused row is not sent again
    // without a field; either way the row is not added. Nor is one whose INSERT did not report
    // one row written.
    void setWholeRowsOnly(bool on) { m_wholeRowsOnly = on; }
    // Every value a row loses gets a line naming the table, the row's key, the column and the
    // reason: a value refused before sending is counted there as lost (ServerAccess::reportLoss);
    // a refusal by the server is logged only, its statement already counts as failed. A column
    // left out of every row (none at that position or of that name, identity without
    // IDENTITY_INSERT) is told once. Server-filled columns (rowversion, computed) are not.
    void reportLossesTo(ServerAccess& access) { m_losses = &access; }
    // The key the loss lines name for the rows that follow ("ID = 42"); empty: the row's first
    // field.
    void setRowKey(const QString& key) { m_rowKey = key; }

    // Value i goes to column i (as copies by position do).
    RowWrite addRow(const std::vector<QVariant>& values);
    // The same as addRow for each row, the rows sent several to a request; the errors are summed.
    RowWrite addRows(const std::vector<std::vector<QVariant>>& rows);
    // Values matched to columns by name; a name the table lacks costs its field.
    RowWrite addRowByName(const QStringList& names, const std::vector<QVariant>& values);

    // "INSERT INTO t ([a], [b]) VALUES (?, ?)"; the driver names the markers @P1, @P2.
    static QString insertText(const QString& table, const QStringList& columnNames);
    // The column a refusal names ("column 'x'", "The column "x""), empty when it names none.
    static QString refusedColumn(const QString& errorText);
    // The errors-box line for a lost value: "<what>: <table>, <key>, column <column>: <reason>".
    static QString lossLine(const QString& what, const QString& table, const QString& key,
                            const QString& column, const QString& reason);

private:
    // A row's fields after the table's decisions and the fit check, with what that cost so far.
    struct PlannedRow {
        std::vector<int> columns;
        std::vector<QVariant> values;
        RowWrite outcome;
        QString key;
    };
    struct Prepared {
        QString text;
        int id = 0; // 0: the driver could not prepare it; sent directly instead
    };

    void trustReadOnlyOnlyWhenTold();
    bool canGive(int column) const;
    bool serverFills(int column) const;
    QString rowKey(const QString& name, const std::vector<QVariant>& values) const;
    void leaveOut(PlannedRow& row, const QString& column, const QString& why);
    void reportServerRefusal(const PlannedRow& row, const QString& column, const QString& error);
    PlannedRow planByPosition(const std::vector<QVariant>& values);
    void checkFit(PlannedRow& row);
    static void dropField(PlannedRow& row, size_t field);
    RowWrite complete(PlannedRow& row, StatementOutcome sent);
    static bool wroteOneRow(const StatementOutcome& sent);
    RowWrite unconfirmed(PlannedRow& row);
    std::vector<StatementOutcome> sendMany(const std::vector<PlannedRow>& planned, size_t start, size_t end);
    StatementOutcome send(const std::vector<int>& columns, const std::vector<QVariant>& values);
    std::vector<ColumnInfo> targetsOf(const std::vector<int>& columns) const;
    const Prepared& preparedFor(const std::vector<int>& columns);
    void learnFromRefusal(int column, const QString& errorText);
    QString literalInsert(const std::vector<ColumnInfo>& targets, const std::vector<QVariant>& values) const;

    SideConnection& m_side;
    QString m_table;
    QString m_error;
    std::vector<ColumnInfo> m_columns;
    std::vector<bool> m_refusedByServer; // columns the server would never take in this table
    bool m_identityInsert = false;
    bool m_wholeRowsOnly = false;
    ServerAccess* m_losses = nullptr;
    QString m_rowKey;
    QStringList m_toldLeftOut;
    std::map<std::vector<int>, Prepared> m_prepared; // column set -> its INSERT
};

} // namespace qormin::db
