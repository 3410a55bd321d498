#include "transfer/frmHistorical.h"

#include "controls/FlexGrid.h"
#include "transfer/TransferDBTools.h"
#include "transfer/TransferStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>

namespace qormin::transfer {

namespace {

const char* const transferRows[] = {
    "Station..tbNurseLogBook\tRequestDate",    "Station..tbNurseCommunicationFile\tRequestDate",
    "Station..tbstationlogs\tTransDate",       "inventory..tbInvStockCard\tTransDate",
    "inventory..tbInvProfile\tTransDate",      "billing..tbBillDailyBill\tTransDate",
    "billing..tbBillOPDailyOut\tTransDate",    "billing..tbCashAssessment\tTransDate",
    "Billing..tbBilling_UserLogin\tLogInDate", "laboratory..tbLABLogBook\tTransDate",
    "laboratory..tbLABLogBook2\tTransDate",    "laboratory..tbLABMaster\tTransDate",
};

// The Medicare work tables have no date column: a purge empties them.
const char* const purgeRows[] = {
    "Station..tbstationlogs\tTransDate",  "Billing..tbBilling_UserLogin\tLogInDate",
    "Medicare..Medic_ORLogBook\t",        "Medicare..Medic_LogBook\t",
    "Medicare..Medic_LabLogBook\t",       "Medicare..Medic_XrayLogBook\t",
    "Medicare..medic_DumpAVGDays\t",      "Medicare..Medic_DumpDiscount\t",
    "Medicare..Medic_DumpTable_Actual\t", "Medicare..Medic_DumpTable_Form3And4\t",
};

template <size_t count> void fillGrid(controls::FlexGrid& grid, const char* const (&lines)[count]) {
    grid.setCols(2);
    grid.setRows(1);
    grid.setTextMatrix(0, 0, QStringLiteral("Table"));
    grid.setTextMatrix(0, 1, QStringLiteral("Date Column"));
    for (const char* line : lines) {
        grid.AddItem(QString::fromLatin1(line));
    }
    grid.setColWidth(0, 3000);
    grid.setColWidth(1, 2000);
}

QLineEdit* textBox(QWidget* parent, const QString& name) {
    auto* box = new QLineEdit(parent);
    box->setObjectName(name);
    return box;
}

} // namespace

frmHistorical::frmHistorical(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_tabs(new QTabWidget(this)),
      m_transferGrid(new controls::FlexGrid(this)), m_purgeGrid(new controls::FlexGrid(this)),
      m_years(textBox(this, QStringLiteral("txtYears"))),
      m_recordsAtATime(textBox(this, QStringLiteral("txtRecsAtATime"))), m_log(new QPlainTextEdit(this)),
      m_delete(new QCheckBox(QStringLiteral("Delete after transfer"), this)),
      m_allTables(new QCheckBox(QStringLiteral("All Tables"), this)), m_progress(new QProgressBar(this)),
      m_status(new QLabel(this)) {
    setWindowTitle(QStringLiteral("Transfer to History"));
    m_tabs->setObjectName(QStringLiteral("SSTab1"));
    m_transferGrid->setObjectName(QStringLiteral("Grid1"));
    m_purgeGrid->setObjectName(QStringLiteral("Grid2"));
    m_log->setObjectName(QStringLiteral("txtLog"));
    m_log->setReadOnly(true);
    m_delete->setObjectName(QStringLiteral("chkDelete"));
    m_allTables->setObjectName(QStringLiteral("chkAllTables"));
    m_progress->setObjectName(QStringLiteral("ProgressBar1"));
    m_status->setObjectName(QStringLiteral("lblStatus"));
    m_status->setWordWrap(true);
    m_recordsAtATime->setText(QStringLiteral("1000"));

    m_tabs->addTab(buildTransferPage(), QStringLiteral("Transfer"));
    m_tabs->addTab(buildPurgePage(), QStringLiteral("Delete old data"));
    auto* limits = new QHBoxLayout;
    limits->addWidget(new QLabel(QStringLiteral("Over Years old"), this));
    limits->addWidget(m_years);
    limits->addWidget(new QLabel(QStringLiteral("Records at a time"), this));
    limits->addWidget(m_recordsAtATime);
    limits->addWidget(m_progress, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 2);
    layout->addLayout(limits);
    layout->addWidget(m_status);
    layout->addWidget(m_log, 1);
    resize(900, 640);

    m_tools = std::make_unique<TransferDBTools>(TransferDBControls{
        context.serverAccess(), context.messageBoxes(), *m_log, *m_progress, *m_status, *m_purgeGrid});
    Form_Load();
}

frmHistorical::~frmHistorical() = default;

QWidget* frmHistorical::buildTransferPage() {
    auto* page = new QWidget(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_delete);
    addButton(page, buttons, QStringLiteral("cmdTransfer"), QStringLiteral("Transfer Data"),
              &frmHistorical::cmdTransfer_Click);
    addButton(page, buttons, QStringLiteral("cmdCreateTable"), QStringLiteral("Create Table"),
              &frmHistorical::cmdCreateTable_Click);
    addButton(page, buttons, QStringLiteral("cmdDeleteDestTable"), QStringLiteral("Delete Dest Table"),
              &frmHistorical::cmdDeleteDestTable_Click);
    addButton(page, buttons, QStringLiteral("cmdCreateIndex"), QStringLiteral("Create Index"),
              &frmHistorical::cmdCreateIndex_Click);
    addButton(page, buttons, QStringLiteral("cmdSyncStructure"), QStringLiteral("Sync Structure"),
              &frmHistorical::cmdSyncStructure_Click);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_transferGrid, 1);
    layout->addLayout(buttons);
    return page;
}

QWidget* frmHistorical::buildPurgePage() {
    auto* page = new QWidget(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_allTables);
    addButton(page, buttons, QStringLiteral("cmdSelect"), QStringLiteral("Query"),
              &frmHistorical::cmdSelect_Click);
    addButton(page, buttons, QStringLiteral("cmdDeleteData"), QStringLiteral("Delete Data"),
              &frmHistorical::cmdDeleteData_Click);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_purgeGrid, 1);
    layout->addLayout(buttons);
    return page;
}

void frmHistorical::addButton(QWidget* parent, QBoxLayout* layout, const QString& name,
                              const QString& caption, void (frmHistorical::*handler)()) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    layout->addWidget(button);
    connect(button, &QPushButton::clicked, this, handler);
}

void frmHistorical::Form_Load() {
    fillGrid(*m_transferGrid, transferRows);
    fillGrid(*m_purgeGrid, purgeRows);
}

bool frmHistorical::SelectTransferTable() {
    const int row = m_transferGrid->Row();
    m_sourceTable = m_transferGrid->TextMatrix(row, 0);
    m_destTable = TransferStatements::historyDestinationTable(m_sourceTable);
    m_dateColumn = m_transferGrid->TextMatrix(row, 1);
    return m_tools->admitNames(
        {{QStringLiteral("table"), m_sourceTable}, {QStringLiteral("date column"), m_dateColumn}});
}

void frmHistorical::cmdTransfer_Click() {
    if (!SelectTransferTable()) {
        return;
    }
    const auto olderThan = TransferStatements::olderThan(QDate::currentDate(), m_years->text());
    if (!olderThan) {
        m_tools->refuseInput(QStringLiteral("\"") + m_years->text() +
                             QStringLiteral("\" is not a number of years."));
        return;
    }
    TransferDBJob job;
    job.query =
        TransferStatements::historyQuery(m_recordsAtATime->text(), m_sourceTable, m_dateColumn, *olderThan);
    job.sourceTable = m_sourceTable;
    job.destinationTable = m_destTable;
    job.dateColumn = m_dateColumn;
    job.recordsAtATime = m_recordsAtATime->text().toInt();
    job.deleteAfterTransfer = m_delete->isChecked();
    m_tools->transfer(job);
}

void frmHistorical::cmdSelect_Click() {
    m_tools->preview(m_recordsAtATime->text());
}

void frmHistorical::cmdDeleteData_Click() {
    m_tools->purge(m_allTables->isChecked(), m_years->text(), QDate::currentDate());
}

void frmHistorical::cmdCreateTable_Click() {
    if (SelectTransferTable()) {
        m_tools->createTable(m_sourceTable, m_destTable);
    }
}

void frmHistorical::cmdDeleteDestTable_Click() {
    if (SelectTransferTable()) {
        m_tools->dropTable(m_destTable);
    }
}

void frmHistorical::cmdCreateIndex_Click() {
    if (SelectTransferTable()) {
        m_tools->createIndex(m_dateColumn, {m_sourceTable});
    }
}

void frmHistorical::cmdSyncStructure_Click() {
    if (SelectTransferTable()) {
        m_tools->syncStructure(m_sourceTable, m_destTable);
    }
}

} // namespace qormin::transfer
