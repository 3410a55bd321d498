#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QWidget>
#include <functional>
#include <vector>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace qormin::db {
class RecordWriter;
class ServerAccess;
} // namespace qormin::db

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::window {
class DestructiveConfirmation;
}

namespace qormin::tablecopy {

// The shared controls of the main window the table tools read.
struct TableCopyControls {
    db::ServerAccess& access;
    controls::FlexGrid& grid; // Grid2, column 0 holds the table name
    QLineEdit& database;      // txtDB
    QCheckBox& stop;          // chkStop
    // Asked before the buttons that empty, overwrite or drop tables; none: nothing is asked.
    window::DestructiveConfirmation* confirmation = nullptr;
};

// The "Copy" page: copies, clones, empties, checks or drops tables of the working database on
// the left server, into its sister database (name + "2") or a sister table (name + "_NEW2").
class TableCopyTools : public QWidget {
    Q_OBJECT
public:
    explicit TableCopyTools(TableCopyControls controls, QWidget* parent = nullptr);

    void cmdCopyTables_Click();
    void cmdCopyTablesDB2_Click();
    void cmdDropTableDB2_Click();
    void cmdCloneTable_Click();
    void cmdCopyInto_Click();
    void cmdTruncate_Click();
    void cmdCheckTables_Click();
    void cmdCopytoNEW_Click();

    void CopyInto(const QString& table);
    void CloneTable(const QString& table);
    void CopyStructureToDB2(const QString& table);
    void DropTableDB2(const QString& table);
    void CopyTableByRecord(const QString& table);
    void TruncateTable(const QString& table);
    // Copies every row of source into destination by field position; a field the destination
    // cannot take costs one error and the row goes in without it; a refused row costs one.
    // Streams, so a table of any size needs the same memory.
    void CopyRecords(const QString& source, const QString& destination);
    void ShowCopyProgress(qint32 copied);

    QCheckBox* chkAllTables() const { return m_allTables; }
    QLabel* lblCnt() const { return m_count; }
    QLabel* lblWorking() const { return m_working; }

Q_SIGNALS:
    // Emitted by ShowCopyProgress, after the label shows the count.
    void copyProgress(qint32 copied);

private:
    using TableRoutine = std::function<void(const QString& table)>;

    void addButton(const QString& name, const QString& caption, void (TableCopyTools::*handler)());
    void runForTables(bool useDatabaseFirst, const TableRoutine& routine, const QString& closingLine);
    // False when the operator answered No: the click ends before its first statement.
    bool confirmed(const QString& action, const std::function<QString(const QString&)>& target);
    QString currentTable() const;
    QString workingDatabase() const;
    QString execute(const QString& statement);
    void executeOnConnection(const QString& statement);
    bool userTableExists(const QString& table);
    QStringList firstRowFieldNames(const QString& qualifiedTable);
    void copyRecords(const QString& source, const QString& destination, bool switchIdentityInsertOn);
    int writeRows(db::RecordWriter& writer, const std::vector<std::vector<QVariant>>& rows);
    void switchIdentityInsert(const QString& qualifiedTable, bool on);
    void log(const QString& text);
    bool stopRequested() const;

    TableCopyControls m_controls;
    QCheckBox* m_allTables;
    QLabel* m_count;
    QLabel* m_working;
    QString m_identityInsertTable; // the table SET IDENTITY_INSERT ... ON last succeeded for
};

} // namespace qormin::tablecopy
