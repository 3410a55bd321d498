#pragma once

#include <QWidget>
#include <memory>
#include <vector>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QTabWidget;
class QTimer;

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::transfer {

class TransferDBTools;

// "Transfer DB": moves old rows of one table into the same-named table of another database on
// the left server (the scanned claim documents into a yearly database by default) and purges
// old rows of a list of tables in place. Its text boxes are kept in the settings section the
// main window uses.
class frmTransferDB : public QWidget {
    Q_OBJECT
public:
    explicit frmTransferDB(window::MainWindowContext& context, QWidget* parent = nullptr);
    ~frmTransferDB() override;

    void Form_Load();
    void Form_Unload();
    void cmdDefault_Click();
    void cmdTransfer_Click();
    void cmdStop_Click();
    void cmdSelect_Click();
    void cmdDeleteData_Click();
    void cmdCreateTable_Click();
    void cmdDeleteDestTable_Click();
    void cmdCreateIndex_Click();
    void cmdSyncStructure_Click();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // Grid1's current row into SourceTable, DestTable and DateColumn; false when a name there
    // (or the destination database) may not go into a statement.
    bool SelectTransferTable();
    QWidget* buildTransferPage();
    QWidget* buildPurgePage();
    QLineEdit* addTextBox(const QString& name);
    std::vector<QLineEdit*> textBoxes() const;
    void addButton(QWidget* parent, QBoxLayout* layout, const QString& name, const QString& caption,
                   void (frmTransferDB::*handler)());

    window::MainWindowContext& m_context;
    QTabWidget* m_tabs;
    controls::FlexGrid* m_transferGrid;
    controls::FlexGrid* m_purgeGrid;
    QLineEdit* m_startDate;
    QLineEdit* m_endDate;
    QLineEdit* m_years;
    QLineEdit* m_recordsAtATime;
    QLineEdit* m_toDatabase;
    QLineEdit* m_where;
    QPlainTextEdit* m_log;
    QCheckBox* m_delete;
    QCheckBox* m_allTables;
    QProgressBar* m_progress;
    QLabel* m_status;
    QTimer* m_timer;
    std::unique_ptr<TransferDBTools> m_tools;
    QString m_sourceTable;
    QString m_destTable;
    QString m_dateColumn;
};

} // namespace qormin::transfer
