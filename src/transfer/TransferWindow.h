#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QTabWidget;

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::transfer {

class TransferDBTools;
struct TransferDBJob;

// What "Transfer DB" and "Transfer to History" have in common: the two grids, the age and row
// limits, the log, the purge page and the destination table's structure handlers. A window adds
// its own transfer page and says where a source table goes.
class TransferWindow : public QWidget {
    Q_OBJECT
public:
    ~TransferWindow() override;

    void cmdSelect_Click();
    void cmdDeleteData_Click();
    void cmdCreateTable_Click();
    void cmdDeleteDestTable_Click();
    void cmdCreateIndex_Click();
    void cmdSyncStructure_Click();

protected:
    TransferWindow(window::MainWindowContext& context, QWidget* parent);

    // Where the selected source table is moved to.
    virtual QString destinationTable(const QString& sourceTable) const = 0;
    // Names besides the table and its date column that reach the window's statements.
    virtual std::vector<std::pair<QString, QString>> extraNames() const { return {}; }
    // The tables that get the date column's index.
    virtual std::vector<QString> indexedTables() const = 0;

    // Grid1's current row into SourceTable, DestTable and DateColumn; false when a name there
    // may not go into a statement.
    bool SelectTransferTable();
    // Called once the window's own controls exist: the transfer page is built from them.
    void layOut(QWidget* transferPage, const QString& transferCaption, const QString& purgeCaption);
    void fillGrids(const QStringList& transferRows, const QStringList& purgeRows);
    QLineEdit* addTextBox(const QString& name);
    void addButton(QWidget* page, QBoxLayout* layout, const QString& name, const QString& caption,
                   std::function<void()> handler);
    // Create Table, Delete Dest Table, Create Index and Sync Structure, in that order.
    void addStructureButtons(QWidget* page, QBoxLayout* layout);
    void refuseYears();
    // Asks, when the operator wants it, before rows or tables of the left server are deleted.
    bool confirmed(const QString& action, const QStringList& tables);
    // A transfer that deletes its source rows asks first.
    bool transferConfirmed(const TransferDBJob& job);

    window::MainWindowContext& m_context;
    QTabWidget* m_tabs;
    controls::FlexGrid* m_transferGrid;
    controls::FlexGrid* m_purgeGrid;
    QLineEdit* m_years;
    QLineEdit* m_recordsAtATime;
    QPlainTextEdit* m_log;
    QCheckBox* m_delete;
    QCheckBox* m_allTables;
    QProgressBar* m_progress;
    QLabel* m_status;
    std::unique_ptr<TransferDBTools> m_tools;
    QString m_sourceTable;
    QString m_destTable;
    QString m_dateColumn;

private:
    QWidget* buildPurgePage();
};

} // namespace qormin::transfer
