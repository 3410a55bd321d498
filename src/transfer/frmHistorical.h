#pragma once

#include <QWidget>
#include <memory>

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

// "Transfer to History": moves rows older than a number of years from the log and journal
// tables into same-named tables of the HISTORY database, and purges old rows in place. Nothing
// of it is kept in the settings.
class frmHistorical : public QWidget {
    Q_OBJECT
public:
    explicit frmHistorical(window::MainWindowContext& context, QWidget* parent = nullptr);
    ~frmHistorical() override;

    void Form_Load();
    void cmdTransfer_Click();
    void cmdSelect_Click();
    void cmdDeleteData_Click();
    void cmdCreateTable_Click();
    void cmdDeleteDestTable_Click();
    void cmdCreateIndex_Click();
    void cmdSyncStructure_Click();

private:
    bool SelectTransferTable();
    QWidget* buildTransferPage();
    QWidget* buildPurgePage();
    void addButton(QWidget* parent, QBoxLayout* layout, const QString& name, const QString& caption,
                   void (frmHistorical::*handler)());

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
};

} // namespace qormin::transfer
