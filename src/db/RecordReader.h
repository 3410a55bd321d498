#pragma once

#include "db/ResultTable.h"
#include "db/SideConnection.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <optional>
#include <vector>

namespace qormin::db {

// Walks a query or a whole table row by row in bounded memory while the side's own connection
// stays free for the loop's writes (which need its session: SET IDENTITY_INSERT, USE).
// A read-only reader opens a second connection to the same server with the side's connection
// string and reads the query there as one plain forward-only result, a chunk of rows per call;
// the source must therefore name its tables fully. An updatable reader keeps a positioned
// mechanism on the side's own connection: a T-SQL cursor fetched one row at a time, whose
// current row can be changed in place.
class RecordReader {
public:
    // ReadOnlyOnSide streams on the side's own connection, in the database that connection is
    // in, for loops that write elsewhere: nothing else may be sent on the side until close().
    enum class Mode { ReadOnly, Updatable, ReadOnlyOnSide };

    // source: a SELECT, or a bare table name (read as "SELECT * FROM " + name). updateTable:
    // the table that updateCurrentRow() changes; the source itself when that is a table name.
    RecordReader(SideConnection& side, const QString& source, Mode mode = Mode::ReadOnly, int chunkSize = 500,
                 const QString& updateTable = QString());
    ~RecordReader();
    RecordReader(const RecordReader&) = delete;
    RecordReader& operator=(const RecordReader&) = delete;

    // Starts the read and reads the first chunk. False with error() on failure.
    bool open();
    bool isOpen() const { return m_open; }
    QString error() const { return m_error; }

    // Moves to the next row; false past the last row or when a chunk fails (see error()).
    bool next();
    const std::vector<ColumnInfo>& columns() const { return m_columns; }
    int columnIndex(const QString& name) const;
    QVariant value(int index) const;
    QVariant value(const QString& name) const;
    const std::vector<QVariant>& row() const;
    qint64 rowsRead() const { return m_rowsRead; }
    // Rows held in memory now: at most one chunk.
    size_t bufferedRows() const { return m_chunk.size(); }

    // What the loop does after a change of the current row that succeeded. FetchNext: nothing
    // more with this row, so the change and the FETCH of the next row go to the side as one job
    // (one wait instead of two per row) and next() takes the row fetched. A loop that stops
    // right after such a change has had one row more fetched, and nothing done with it.
    enum class AfterChange { StayOnRow, FetchNext };

    // Writes the named columns of the current row (updatable readers only), each value bound
    // as its column's type. False with the server's reason on failure; the loop can go on.
    bool updateCurrentRow(const QStringList& columnNames, const std::vector<QVariant>& values,
                          QString* error = nullptr, AfterChange after = AfterChange::StayOnRow);

    // Deletes the current row (updatable readers only) through the cursor, so a table without
    // a key loses exactly that row. False with the server's reason on failure.
    bool deleteCurrentRow(QString* error = nullptr, AfterChange after = AfterChange::StayOnRow);

    void close();

    // The texts sent to the server (pure; also what the simulator answers).
    static QString selectText(const QString& source);
    static QString openText(const QString& cursor, const QString& select, Mode mode);
    static QString fetchText(const QString& cursor, int count);
    static QString closeText(const QString& cursor);
    static QString deleteText(const QString& table, const QString& cursor);

private:
    bool openCursor();
    bool openStream();
    void dropReading();
    bool fetchChunk();
    bool fetchCursorChunk();
    bool fetchStreamChunk();
    SideConnection& streamConnection();
    void takeRows(StatementOutcome& outcome);
    void countRead(bool succeeded);
    StatementOutcome change(ChainedStatement statement, AfterChange after);

    SideConnection& m_side;
    std::unique_ptr<SideConnection> m_reading; // read-only readers: the second connection
    QString m_source;
    Mode m_mode;
    int m_chunkSize;
    QString m_updateTable;
    QString m_cursor;
    bool m_open = false;
    bool m_atEnd = false;
    QString m_error;
    std::vector<ColumnInfo> m_columns;
    std::vector<std::vector<QVariant>> m_chunk;
    size_t m_position = 0;
    bool m_onRow = false;
    qint64 m_rowsRead = 0;
    bool m_readCounted = false;
    std::optional<StatementOutcome> m_fetchedAhead; // the next row's FETCH, sent with a change
};

} // namespace qormin::db
