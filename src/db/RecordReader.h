#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

namespace qormin::db {

class SideConnection;

// Walks a query or a whole table row by row in bounded memory, through a T-SQL cursor read
// in chunks on the side's own connection. Between chunks the connection is free, so other
// statements (and session settings such as SET IDENTITY_INSERT or USE) work on that side
// while the loop runs. An updatable reader fetches one row at a time and can change the
// current row in place.
class RecordReader {
public:
    enum class Mode { ReadOnly, Updatable };

    // source: a SELECT, or a bare table name (read as "SELECT * FROM " + name). updateTable:
    // the table that updateCurrentRow() changes; the source itself when that is a table name.
    RecordReader(SideConnection& side, const QString& source, Mode mode = Mode::ReadOnly, int chunkSize = 500,
                 const QString& updateTable = QString());
    ~RecordReader();
    RecordReader(const RecordReader&) = delete;
    RecordReader& operator=(const RecordReader&) = delete;

    // Declares and opens the cursor and reads the first chunk. False with error() on failure.
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

    // Writes the named columns of the current row (updatable readers only), each value bound
    // as its column's type. False with the server's reason on failure; the loop can go on.
    bool updateCurrentRow(const QStringList& columnNames, const std::vector<QVariant>& values,
                          QString* error = nullptr);

    void close();

    // The texts sent to the server (pure; also what the simulator answers).
    static QString selectText(const QString& source);
    static QString openText(const QString& cursor, const QString& select, Mode mode);
    static QString fetchText(const QString& cursor, int count);
    static QString closeText(const QString& cursor);

private:
    bool fetchChunk();

    SideConnection& m_side;
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
};

} // namespace qormin::db
