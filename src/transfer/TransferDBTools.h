#pragma once

#include "transfer/TransferFwd.h"

#include <QDate>
#include <QString>
#include <optional>
#include <utility>
#include <vector>

class QLabel;
class QPlainTextEdit;
class QProgressBar;

namespace qormin::transfer {

// The controls of a transfer window that the shared handlers read and write.
struct TransferDBControls {
    db::ServerAccess& access;
    platform::MessageBoxService& messageBoxes;
    QPlainTextEdit& log;           // the window's own txtLog
    QProgressBar& progress;        // ProgressBar1
    QLabel& status;                // what a purge is about to empty
    controls::FlexGrid& purgeGrid; // Grid2
};

// What one window's transfer run does; the two windows differ only here.
struct TransferDBJob {
    QString query;
    QString sourceTable;
    QString destinationTable;
    QString dateColumn;
    QString toDatabase; // written into the claims documents' DatabaseName
    int recordsAtATime = 0;
    bool skipIdColumn = false; // "ID" exactly, as a binary comparison sees it
    bool updateClaimsDocuments = false;
    bool deleteAfterTransfer = false;
    bool stoppable = false;
    bool announceDone = false;
};

// Rows of one run, for the closing reconciliation line.
struct TransferDBCount {
    qint64 read = 0;
    qint64 written = 0;
    qint64 deleted = 0;
    qint64 failed = 0;
    qint64 withheld = 0; // rows whose copy (and delete) Script only withheld
};

// The handlers both transfer windows are built from: the row-by-row move, the purge, the
// preview and the destination table's structure. Everything runs on the left server's
// connection; the main window must have connected it.
class TransferDBTools {
public:
    explicit TransferDBTools(TransferDBControls controls);

    // Reads at most job.recordsAtATime rows oldest first through a positioned cursor, writes
    // each into the destination whole, and deletes a source row only after its copy went in.
    // The first failure shows the error message and ends the run.
    TransferDBCount transfer(const TransferDBJob& job);
    void requestStop() { m_stopRequested = true; }

    void purge(bool allTables, const QString& years, const QDate& today);
    void preview(const QString& recordsAtATime);
    void createTable(const QString& source, const QString& destination);
    void dropTable(const QString& destination);
    void createIndex(const QString& dateColumn, const std::vector<QString>& tables);
    void syncStructure(const QString& source, const QString& destination);

    // Names (what, name) that may go into a statement: each passes the shared name guard and
    // is a plain or bracketed name; the first that is not is logged and nothing is sent.
    bool admitNames(const std::vector<std::pair<QString, QString>>& names);
    void prependLog(const QString& line);
    void appendLog(const QString& text);
    void showError(const QString& error);
    // A value typed into the window that cannot be used: said in the log and a message box.
    void refuseInput(const QString& text);

private:
    bool openBoth(db::RecordReader& reader, db::RecordWriter& writer);
    bool moveRow(db::RecordReader& reader, db::RecordWriter& writer, const TransferDBJob& job,
                 TransferDBCount& count);
    void purgeRow(int row, const std::optional<QDate>& olderThan);
    void announceEmptied(int firstRow, int lastRow);
    bool runOnConnection(const QString& statement, QString& error);
    void finishRun(const TransferDBJob& job, const TransferDBCount& count);

    TransferDBControls m_controls;
    bool m_stopRequested = false;
};

} // namespace qormin::transfer
